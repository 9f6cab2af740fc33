// SPDX-License-Identifier: MIT
// The service's own readers say what is wrong in a file, through the log, which is caught here.
// What they accept but what will not work is then looked for in what they have read.
#include "vornctl_check.h"

#include <climits>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <utility>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/config_file.h"
#include "core/config_lines.h"
#include "core/options.h"
#include "core/subscription_files.h"
#include "dmon/dmon.h"
#include "storage/files.h"
#include "storage/persistent.h"
#include "storage/quota.h"
#include "util/guards.h"
#include "util/root_path.h"

namespace {

constexpr int QUOTAS_FOR_SUBSCRIPTIONS = QUOTA_SLOTS - 1;  // the report quota takes one
constexpr std::size_t PATH_LENGTH = OPTION_PATH_SIZE - 1;
constexpr std::size_t APP_NAME_LENGTH = 8;  // the application manager is asked for no more
constexpr std::size_t STAMP_LENGTH = 27;    // of a log line: time, level and blanks
constexpr std::size_t TIME_NAME_LENGTH = std::string_view("2026-05-01-101500.res").size();
constexpr std::size_t NUMBER_NAME_LENGTH = std::string_view("00001.res").size();

struct Findings {
    std::vector<std::string> lines;

    void add(const std::string &place, const std::string &text) {
        lines.push_back(place + ": " + text);
    }
};

std::string fixedPath(const char *path) {
    char out[PATH_MAX];
    withRoot(out, sizeof out, path);
    return out;
}

// What an operation logs at level 1, a line a message, without the time.
std::vector<std::string> catchLog(const std::function<void()> &operation) {
    const DescriptorGuard file(memfd_create("log", MFD_CLOEXEC));
    const DescriptorGuard saved(dup(STDERR_FILENO));
    dup2(file.get(), STDERR_FILENO);
    dmon_set_level(1);
    operation();
    dup2(saved.get(), STDERR_FILENO);
    std::string text(static_cast<std::size_t>(lseek(file.get(), 0, SEEK_END)), '\0');
    if (pread(file.get(), text.data(), text.size(), 0) < 0) text.clear();
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.size() > STAMP_LENGTH) lines.push_back(line.substr(STAMP_LENGTH));
    }
    return lines;
}

// "path:number" of the last line of a file that is wanted, else "path".
std::string placeOf(const std::string &path,
                    const std::function<bool(const ConfigLine &line)> &wanted) {
    std::string place = path;
    const FileGuard file = openForReading(path.c_str());
    ConfigLine line{};
    while (file && readConfigLine(file.get(), &line)) {
        if (wanted(line)) place = path + ":" + std::to_string(line.number);
    }
    return place;
}

// Turns the messages of a reader of `path` into findings. A message without a place belongs to the
// next one that has one, or to the file.
void addMessages(Findings *findings, const std::string &path,
                 const std::vector<std::string> &messages) {
    std::string pending;
    for (const std::string &message : messages) {
        const std::size_t colon = message.find(": ");
        const std::string text = colon == std::string::npos ? message : message.substr(colon + 2);
        const std::size_t open = message.find(" in [");
        if (open < colon) {
            findings->add(message.substr(open + 5, colon - open - 6),
                          pending.empty() ? text : std::exchange(pending, ""));
        } else if (message.rfind("Warning: path '", 0) == 0) {
            const std::string cut = message.substr(15, message.rfind('\'') - 15);
            findings->add(placeOf(path,
                                  [&cut](const ConfigLine &line) {
                                      return line.value != nullptr &&
                                             std::string_view(line.value).find(cut) !=
                                                 std::string_view::npos;
                                  }),
                          text);
        } else {
            pending = text;
        }
    }
    if (!pending.empty()) findings->add(path, pending);
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
std::string placeOfDirectory(const std::string &key, const std::string &path) {
    const std::string place = placeOf(opt_cfgfile, [&key](const ConfigLine &line) {
        return line.key == key && line.value != nullptr;
    });
    return place == opt_cfgfile ? path : place;
}

void checkDirectory(Findings *findings, const std::string &key, const std::string &path, Use use) {
    const std::string fault = faultOfDirectory(path, use);
    if (fault.empty()) return;
    const std::string place = placeOfDirectory(key, path);
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
    const std::string place = placeOf(opt_cfgfile, [](const ConfigLine &line) {
        return std::string_view(line.key) == "max-files";
    });
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

// A subscription and where it stands.
struct Placed {
    const Subscription *subscription;
    std::string place;
};

void checkSubscriptions(Findings *findings, const std::vector<Placed> &all) {
    int slots = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Subscription &subs = *all[i].subscription;
        const std::string &place = all[i].place;
        const std::string name = subs.name;
        bool again = false;
        for (std::size_t j = 0; j < i; ++j) again = again || name == all[j].subscription->name;
        if (again) {
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
    }
}

// Where the subscriptions stand that the reader took from a file.
std::vector<std::string> subscriptionPlaces(const std::string &path) {
    std::vector<std::string> places;
    Subscription record;
    static_cast<void>(placeOf(path, [&](const ConfigLine &line) {
        if (std::string_view(line.key) == "subscribe" &&
            parseSubscription(line.value, &record) == SUBSCRIPTION_OK) {
            places.push_back(path + ":" + std::to_string(line.number));
        }
        return false;
    }));
    return places;
}

// Reads the subscription files one by one, in the service's order.
std::vector<Placed> readSubscriptions(Findings *findings) {
    std::vector<Placed> all;
    const std::string directory = fixedPath(SUBSCRIPTION_DIRECTORY);
    const DirListing files(directory.c_str(), isSubsFile, nullptr);
    for (int i = 0; i < files.count(); ++i) {
        const std::string path = directory + "/" + files.name(i);
        const int before = opt_num_subs;
        int result = SUBSCRIPTION_OK;
        const std::vector<std::string> messages =
            catchLog([&] { result = loadSubscriptionFile(path.c_str(), GO_ON_AFTER_ERRORS); });
        addMessages(findings, path, messages);
        if (result != SUBSCRIPTION_OK && messages.empty()) {
            findings->add(path, "the file cannot be read");
        }
        checkLength(findings, path, "this path", path.size());
        std::vector<std::string> places;
        catchLog([&] { places = subscriptionPlaces(path); });
        for (std::size_t n = 0; before + static_cast<int>(n) < opt_num_subs; ++n) {
            all.push_back({&opt_subs[before + static_cast<int>(n)], places.at(n)});
        }
    }
    return all;
}

void checkState(Findings *findings) {
    const std::string path = fixedPath(PERSISTENT_FILE);
    int result = 0;
    catchLog([&] { result = loadPersistentData(); });  // a missing file is no fault
    if (result != 0) findings->add(path, "this is no state file; the service will not start");
    const std::string directory = path.substr(0, path.rfind('/'));
    if (access(directory.c_str(), F_OK) == 0) checkDirectory(findings, "", directory, USE_WRITE);
}

}  // namespace

std::vector<std::string> checkConfig(const std::string &root) {
    setenv("VORN_ROOT", root.c_str(), 1);
    setDefaults();
    Findings findings;
    addMessages(&findings, opt_cfgfile,
                catchLog([] { loadConfigFile(opt_cfgfile, GO_ON_AFTER_ERRORS); }));
    checkState(&findings);
    const std::vector<Placed> subscriptions = readSubscriptions(&findings);
    checkDirectories(&findings);
    checkQuota(&findings);
    checkLength(&findings, placeOfDirectory("reports-dir", opt_rptdir), "a report's path",
                std::string_view(opt_rptdir).size() + 1 + longestFileName());
    checkSubscriptions(&findings, subscriptions);
    return findings.lines;
}
