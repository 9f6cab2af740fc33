// SPDX-License-Identifier: MIT
// The service's own readers say what is wrong in a file. What they accept but what will not work is
// then looked for in what they have read.
#include "vornctl_check.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/root_path.h"
#include "core/config_file.h"
#include "core/options.h"
#include "core/subscription_files.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/state_file.h"
#include "storage/strings.h"

namespace {

constexpr int QUOTAS_FOR_SUBSCRIPTIONS = QUOTA_SLOTS - 1;  // the report quota takes one
constexpr std::size_t PATH_LENGTH = OPTION_PATH_SIZE - 1;
constexpr std::size_t APP_NAME_LENGTH = 8;  // the application manager is asked for no more
constexpr std::size_t TIME_NAME_LENGTH = std::string_view("2026-05-01-101500.res").size();
constexpr std::size_t NUMBER_NAME_LENGTH = std::string_view("00001.res").size();

struct Findings {
    std::vector<std::string> lines;
    std::string lastPlace;                    // of the readers' latest finding
    std::map<std::string, std::string> keys;  // the line that a key was last set by
    std::vector<std::string> subscriptions;   // the line of each entry of opt_subs

    void add(const std::string &place, const std::string &text) {
        lines.push_back(place + ": " + text);
    }
    // Where a key of the configuration file stands, else the file.
    [[nodiscard]] std::string placeOf(const std::string &key) const {
        const auto found = keys.find(key);
        return found == keys.end() ? opt_cfgfile : found->second;
    }
};

// Takes what the readers find. Of several findings about one line, or about a file that has some on
// lines, the first says what is wrong.
void collect(void *user, const Finding &finding) {
    auto *findings = static_cast<Findings *>(user);
    const std::string path = finding.place.path;
    const std::string line = std::to_string(finding.place.line);
    const std::string place = finding.place.line == 0 ? path : path + ":" + line;
    if (finding.severity == LINE_APPLIED) {
        if (path == opt_cfgfile)
            findings->keys[finding.text] = place;
        else
            findings->subscriptions.push_back(place);
        return;
    }
    if (findings->lastPlace != place && findings->lastPlace.rfind(place + ":", 0) != 0)
        findings->add(place, finding.text);
    findings->lastPlace = place;
}

std::string fixedPath(const char *path) {
    char out[PATH_MAX];
    withRoot(out, sizeof out, path);
    return out;
}

// ---- what the readers accept ----

enum Use { USE_READ, USE_WRITE };

// What keeps a directory from being used, as the end of a sentence about it; empty for nothing.
std::string faultOfDirectory(const std::string &path, Use use) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return "does not exist";
    if (!S_ISDIR(status.st_mode)) return "is no directory";
    if (access(path.c_str(), (use == USE_WRITE ? W_OK : R_OK) | X_OK) == 0) return "";
    return use == USE_WRITE ? "is not writable" : "is not readable";
}

// Where a directory is set: the line of its key, or the directory itself when it has its default.
std::string placeOfDirectory(const Findings &findings, const std::string &key,
                             const std::string &path) {
    const auto found = findings.keys.find(key);
    return found == findings.keys.end() ? path : found->second;
}

void checkDirectory(Findings *findings, const std::string &key, const std::string &path, Use use) {
    const std::string fault = faultOfDirectory(path, use);
    if (fault.empty()) return;
    const std::string place = placeOfDirectory(*findings, key, path);
    findings->add(place, (place == path ? "the directory " : "'" + path + "' ") + fault);
}

void checkDirectories(Findings *findings) {
    checkDirectory(findings, "results-dir", opt_resdir, USE_WRITE);
    checkDirectory(findings, "reports-dir", opt_rptdir, USE_WRITE);
    checkDirectory(findings, "configs-dir", opt_cfgdir, USE_WRITE);
    checkDirectory(findings, "templates-dir", opt_tpldir, USE_READ);
    if (opt_dictdir[0] != '\0') checkDirectory(findings, "dict-dir", opt_dictdir, USE_READ);
}

// The file has one maximum and one full action for results and reports.
void checkQuota(Findings *findings) {
    const std::string place = findings->placeOf("max-files");
    const int kept = static_cast<std::uint16_t>(opt_max_res);
    if (kept == 0 && opt_fullact_res == FULL_PURGE) {
        findings->add(place, "purging with a maximum of 0 deletes every file as it is made");
    }
}

// The longest name of a results file, and of a report made from it.
std::size_t longestFileName() {
    const std::size_t byNumber =
        std::string_view(opt_refname.get().text).size() + NUMBER_NAME_LENGTH;
    return opt_autoname == NAME_BY_SEQUENCE ? byNumber : TIME_NAME_LENGTH;
}

void checkLength(Findings *findings, const std::string &place, const std::string &what,
                 std::size_t length) {
    if (length <= PATH_LENGTH) return;
    findings->add(place, what + " needs " + std::to_string(length) +
                             " characters and will be cut at " + std::to_string(PATH_LENGTH));
}

void checkTemplate(Findings *findings, const std::string &place, const Subscription &subs) {
    const std::string name = subs.templateName;
    if (name.empty()) {
        if (opt_autorpt == 0) return;
        findings->add(place, "automatic reports are on, but subscription '" +
                                 std::string(subs.name) + "' has no template: nothing is saved");
        return;
    }
    const std::string path = name[0] == '/' ? name : opt_tpldir + ("/" + name);
    checkLength(findings, place, "the template's path", path.size());
    if (!openForReading(path.c_str())) {
        findings->add(place, "template '" + path + "' cannot be read");
    }
}

int isResults(const struct dirent *entry) {
    return isFileEndingIn(entry, ".res") ? 1 : 0;
}

// The name of the next results file, when its measurement begins now.
std::string nextFileName() {
    char name[64];
    if (opt_autoname == NAME_BY_SEQUENCE) {
        std::snprintf(name, sizeof name, "%s%05d.res", opt_refname.get().text, opt_autoseq.load());
        make_filename(name);
    } else {
        const std::time_t now = std::time(nullptr);
        std::tm parts{};
        std::strftime(name, sizeof name, "%Y-%m-%d-%H%M%S.res", gmtime_r(&now, &parts));
    }
    return name;
}

// Purging goes by name.
void checkOrder(Findings *findings, const Subscription &subs) {
    if (opt_fullact_res != FULL_PURGE) return;
    const std::string folder = opt_resdir + ("/" + std::string(subs.name));
    const DirListing files(folder.c_str(), isResults, misc_alphasort);
    const std::string next = nextFileName();
    const std::string last = files.count() == 0 ? "" : files.name(files.count() - 1);
    if (next >= last) return;
    findings->add(findings->placeOf("reference"),
                  "the next results file of subscription '" + std::string(subs.name) + "', '" +
                      next + "', sorts before '" + last + "': purging deletes it first");
}

void checkSubscriptions(Findings *findings) {
    int slots = 0;
    std::set<std::string> names;
    for (int i = 0; i < opt_num_subs; ++i) {
        const Subscription &subs = opt_subs[i];
        const std::string &place = findings->subscriptions.at(static_cast<std::size_t>(i));
        const std::string name = subs.name;
        if (!names.insert(name).second) {
            findings->add(place, "a second subscription '" + name + "' will not be installed");
            continue;
        }
        if (++slots > QUOTAS_FOR_SUBSCRIPTIONS) {
            findings->add(place, "no quota slot is left for subscription '" + name +
                                     "': it saves without limit");
        }
        for (int app = 0; app < subs.numApps; ++app) {
            const std::string appName = subs.apps[app].appName;
            if (appName.size() <= APP_NAME_LENGTH) continue;
            findings->add(place, "application '" + appName +
                                     "' has more than 8 characters and never matches");
        }
        checkLength(findings, place, "a results file's path",
                    std::string_view(opt_resdir).size() + name.size() + 2 + longestFileName());
        checkTemplate(findings, place, subs);
        checkOrder(findings, subs);
    }
}

// A missing file is no fault.
void checkState(Findings *findings) {
    const std::string path = fixedPath(PERSISTENT_FILE);
    const FileGuard file = openForReading(path.c_str());
    const bool foreign = file ? readPersistentData(file.get()) != PERSISTENT_OK
                              : errno == EISDIR || errno == ENOTSUP;
    if (foreign) findings->add(path, "this is no state file; the service will not start");
    const std::string directory = path.substr(0, path.rfind('/'));
    if (access(directory.c_str(), F_OK) == 0) checkDirectory(findings, "", directory, USE_WRITE);
}

}  // namespace

std::vector<std::string> checkConfig(const std::string &root) {
    setenv("VORN_ROOT", root.c_str(), 1);
    setDefaults();
    Findings findings;
    const FindingSink sink = {collect, &findings, GO_ON_AFTER_ERRORS};
    loadConfigFile(opt_cfgfile, sink);
    checkState(&findings);
    loadSubscriptionFiles(sink);
    checkDirectories(&findings);
    checkQuota(&findings);
    checkLength(&findings, placeOfDirectory(findings, "reports-dir", opt_rptdir), "a report's path",
                std::string_view(opt_rptdir).size() + 1 + longestFileName());
    checkSubscriptions(&findings);
    return findings.lines;
}
