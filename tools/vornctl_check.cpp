// SPDX-License-Identifier: MIT
// The service's own readers say what is wrong in a file. What they accept but what will not work is
// then looked for in what they have read.
#include "vornctl_check.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <map>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/root_path.h"
#include "base/words.h"
#include "core/config_file.h"
#include "core/options.h"
#include "core/subscription_files.h"
#include "listener/commands.h"
#include "listener/result_names.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/state_file.h"

namespace {

constexpr int QUOTAS_FOR_SUBSCRIPTIONS = QUOTA_SLOTS - 1;  // the report quota takes one
constexpr std::size_t PATH_LENGTH = OPTION_PATH_SIZE - 1;
constexpr std::size_t APP_NAME_LENGTH = APP_KEY_SIZE - 1;  // the manager is asked for no more
constexpr std::size_t DICTIONARY_ENDING = std::string_view("/_eng.lxc").size();

enum Kind { HINT, ERROR };

// Where something stands: a line of a file, or with line 0 the file or folder itself.
struct At {
    std::string file;
    int line;
};

struct Findings {
    std::vector<CheckFinding> list;
    std::map<std::string, At> keys;  // where a key was last set
    std::vector<At> subscriptions;   // where each entry of opt_subs stands

    void add(Kind kind, const At &at, std::string text) {
        if (text.ends_with('.')) text.pop_back();
        list.push_back({kind == ERROR, at.file, at.line, std::move(text)});
    }
    // Where a key of the configuration file stands, else the file or folder that is meant.
    [[nodiscard]] At placeOf(const std::string &key, const std::string &otherwise) const {
        const auto found = keys.find(key);
        return found == keys.end() ? At{otherwise, 0} : found->second;
    }
};

// Takes what the readers find. Of several errors about one line, or about a file that has some on
// lines, the first says what is wrong.
void collect(void *user, const Finding &finding) {
    auto *findings = static_cast<Findings *>(user);
    const At at = {finding.place.path, finding.place.line};
    if (finding.severity == SEVERITY_APPLIED) {
        if (at.file == opt_cfgfile)
            findings->keys[finding.text] = at;
        else
            findings->subscriptions.push_back(at);
        return;
    }
    const bool error = finding.severity == SEVERITY_ERROR;
    for (const CheckFinding &known : findings->list)
        if (error && known.error && known.file == at.file &&
            (known.line == at.line || at.line == 0))
            return;
    findings->add(error ? ERROR : HINT, at, finding.text);
}

std::string fixedPath(const char *path) {
    char out[ROOTED_PATH_SIZE];
    rootedPath(out, "%s", path);
    return out;
}

std::string withoutSlashes(std::string_view path) {
    const std::size_t last = path.find_last_not_of('/');
    return std::string(path.substr(0, last == std::string_view::npos ? 1 : last + 1));
}

// The folder that a path's file or folder stands in.
std::string parentOf(const std::string &path) {
    const std::string given = withoutSlashes(path);
    const std::string_view folder = folderOf(given);
    return folder.empty() ? "." : withoutSlashes(folder);
}

// ---- what the readers accept ----

enum Use { USE_READ, USE_WRITE };

// What keeps a directory from being used, as the end of a sentence about it; empty for nothing.
std::string faultOfDirectory(const std::string &path, Use use) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return "does not exist";
    if (!S_ISDIR(status.st_mode)) return "is no directory";
    if (access(path.c_str(), (use == USE_WRITE ? W_OK : R_OK) | X_OK) == 0) return "";
    return std::string("is not ") + (use == USE_WRITE ? "writable" : "readable") + " for this user";
}

void checkDirectory(Findings *findings, Kind kind, const std::string &key, const std::string &path,
                    Use use) {
    const std::string fault = faultOfDirectory(path, use);
    if (!fault.empty())
        findings->add(kind, findings->placeOf(key, path), "'" + path + "' " + fault);
}

// One that the service makes at its start, when it can.
void checkMadeDirectory(Findings *findings, Kind kind, const std::string &key,
                        const std::string &path) {
    if (access(path.c_str(), F_OK) == 0) {
        checkDirectory(findings, kind, key, path, USE_WRITE);
        return;
    }
    const std::string parent = parentOf(path);
    const std::string fault = faultOfDirectory(parent, USE_WRITE);
    if (!fault.empty())
        findings->add(kind, findings->placeOf(key, path),
                      "'" + path + "' cannot be made: '" + parent + "' " + fault);
}

// With no path at all, files are looked for and made as "/NAME".
std::string folderOfFiles(const char *option) {
    return option[0] == '\0' ? "/" : option;
}

void checkDirectories(Findings *findings) {
    checkMadeDirectory(findings, ERROR, "results-dir", folderOfFiles(opt_resdir));
    checkMadeDirectory(findings, ERROR, "reports-dir", folderOfFiles(opt_rptdir));
    checkMadeDirectory(findings, HINT, "configs-dir", folderOfFiles(opt_cfgdir));
    checkDirectory(findings, HINT, "templates-dir", folderOfFiles(opt_tpldir), USE_READ);
    if (opt_dictdir[0] != '\0') checkDirectory(findings, HINT, "dict-dir", opt_dictdir, USE_READ);
}

int isDictionary(const struct dirent *entry) {
    return isFileEndingIn(entry, ".lxc") ? 1 : 0;
}

void checkLanguage(Findings *findings, const std::string &key, const std::string &language) {
    const bool letters =
        language.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos;
    if (!letters || language.size() < 2)
        findings->add(HINT, findings->placeOf(key, opt_cfgfile),
                      "'" + language + "' is no language: two or three small letters");
    if (opt_dictdir[0] == '\0' && language != "en")
        findings->add(HINT, findings->placeOf(key, opt_cfgfile),
                      "there is no dictionary of language '" + language + "' without dict-dir");
    const DirListing files(opt_dictdir, isDictionary, nullptr);
    for (int i = 0; i < files.count(); ++i)
        if (std::string(files.name(i)).ends_with("_" + language + ".lxc")) return;
    if (opt_dictdir[0] != '\0' && files.error() == 0)
        findings->add(
            HINT, findings->placeOf(key, opt_cfgfile),
            "'" + std::string(opt_dictdir) + "' has no dictionary of language '" + language + "'");
}

// The file has one maximum and one full action for results and reports.
void checkQuota(Findings *findings) {
    const int kept = static_cast<std::uint16_t>(opt_max_res);
    if (kept == 0 && opt_fullact_res == FULL_PURGE)
        findings->add(HINT, findings->placeOf("max-files", opt_cfgfile),
                      "purging with a maximum of 0 deletes every file as it is made");
}

// The name of the next results file, when its measurement begins now. That of a report made from it
// is as long.
std::string nextFileName() {
    char base[BASE_NAME_SIZE];
    char name[RESULT_NAME_SIZE];
    makeBaseName(base, opt_autoname, static_cast<std::int32_t>(std::time(nullptr)),
                 opt_refname.get().text, opt_autoseq);
    makeResultsName(name, base);
    return name;
}

void checkLength(Findings *findings, const At &place, const std::string &what, std::size_t length) {
    if (length <= PATH_LENGTH) return;
    findings->add(HINT, place,
                  what + " needs " + std::to_string(length) + " characters and will be cut at " +
                      std::to_string(PATH_LENGTH));
}

void checkTemplate(Findings *findings, const At &place, const Subscription &subs) {
    const std::string name = subs.templateName;
    if (name.empty()) {
        if (opt_autorpt == 0) return;
        findings->add(HINT, place,
                      "automatic reports are on, but subscription '" + std::string(subs.name) +
                          "' has no template: nothing is saved");
        return;
    }
    const std::string path = name[0] == '/' ? name : opt_tpldir + ("/" + name);
    checkLength(findings, place, "the template's path", path.size());
    if (!openForReading(path.c_str())) {
        findings->add(HINT, place, "template '" + path + "' cannot be read");
    }
}

// Purging goes by name.
void checkOrder(Findings *findings, const Subscription &subs) {
    if (opt_fullact_res != FULL_PURGE) return;
    const std::string folder = opt_resdir + ("/" + std::string(subs.name));
    const DirListing files(folder.c_str(), isResultsFile, misc_alphasort);
    const std::string next = nextFileName();
    const std::string last = files.count() == 0 ? "" : files.name(files.count() - 1);
    if (next >= last) return;
    findings->add(HINT, findings->placeOf("reference", opt_cfgfile),
                  "the next results file of subscription '" + std::string(subs.name) + "', '" +
                      next + "', sorts before '" + last + "': purging deletes it first");
}

// The applications of a subscription, and who else saves them.
void checkApps(Findings *findings, const At &place, const Subscription &subs,
               std::map<std::string, std::string> *savers) {
    std::set<std::string> own;
    for (int app = 0; app < subs.numApps; ++app) {
        const std::string name = subs.apps[app].appName;
        if (!own.insert(name).second) {  // the second of the two is never synchronised
            findings->add(HINT, place,
                          "application '" + name +
                              "' is named twice: while it runs, the subscription saves nothing");
            continue;
        }
        if (name.size() > APP_NAME_LENGTH)
            findings->add(HINT, place,
                          "application '" + name + "' has more than " +
                              std::to_string(APP_NAME_LENGTH) + " characters and never matches");
        const auto [saver, first] = savers->emplace(name, subs.name);
        if (!first)
            findings->add(HINT, place,
                          "application '" + name + "' is in subscription '" + saver->second +
                              "' too: both save it");
    }
}

void checkSubscriptions(Findings *findings) {
    int slots = 0;
    std::set<std::string> names;
    std::map<std::string, std::string> savers;
    for (int i = 0; i < opt_num_subs; ++i) {
        const Subscription &subs = opt_subs[i];
        const At &place = findings->subscriptions.at(static_cast<std::size_t>(i));
        const std::string name = subs.name;
        if (!names.insert(name).second) {
            findings->add(HINT, place,
                          "a second subscription '" + name + "' will not be installed");
            continue;
        }
        if (++slots > QUOTAS_FOR_SUBSCRIPTIONS) {
            findings->add(
                HINT, place,
                "no quota slot is left for subscription '" + name + "': it saves without limit");
        }
        checkApps(findings, place, subs, &savers);
        checkLength(findings, place, "a results file's path",
                    std::string_view(opt_resdir).size() + name.size() + 2 + nextFileName().size());
        if (opt_dictdir[0] != '\0')
            checkLength(findings, place, "a dictionary's path",
                        std::string_view(opt_dictdir).size() + name.size() + DICTIONARY_ENDING);
        checkTemplate(findings, place, subs);
        checkOrder(findings, subs);
    }
}

// A missing file is no fault.
void checkState(Findings *findings) {
    const std::string path = fixedPath(STATE_FILE);
    const FileGuard file = openForReading(path.c_str());
    const bool foreign =
        file ? readPersistentData(file.get()) != STATE_OK : errno == EISDIR || errno == ENOTSUP;
    if (foreign)
        findings->add(ERROR, {path, 0}, "this is no state file; the service will not start");
    checkMadeDirectory(findings, ERROR, "", parentOf(path));
}

}  // namespace

std::vector<CheckFinding> checkConfig(const std::string &root, const std::string &configFile) {
    setenv("VORN_ROOT", root.c_str(), 1);
    Findings findings;
    if (setDefaults() != 0) {
        findings.add(ERROR, {root, 0}, "the directory in front of all paths is too long");
        return findings.list;
    }
    const FindingSink sink = {collect, &findings, GO_ON_AFTER_ERRORS};
    if (!configFile.empty())
        takePath(sink, {configFile.c_str(), 0}, opt_cfgfile, sizeof opt_cfgfile,
                 configFile.c_str());
    loadConfigFile(opt_cfgfile, sink);
    checkState(&findings);
    loadSubscriptionFiles(sink);
    checkDirectories(&findings);
    checkLanguage(&findings, "lang-id", opt_lang_id.get().text);
    if (std::string_view(opt_dflt_lang_id) != opt_lang_id.get().text)
        checkLanguage(&findings, "def-lang-id", opt_dflt_lang_id);
    checkQuota(&findings);
    checkLength(&findings, findings.placeOf("reports-dir", opt_rptdir), "a report's path",
                std::string_view(opt_rptdir).size() + 1 + nextFileName().size());
    checkSubscriptions(&findings);
    return std::move(findings.list);
}
