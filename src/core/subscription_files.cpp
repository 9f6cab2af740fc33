// SPDX-License-Identifier: MIT
#include "core/subscription_files.h"

#include <climits>
#include <string_view>

#include "core/config_lines.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "storage/files.h"
#include "storage/strings.h"
#include "util/root_path.h"

namespace {

// Between name, applications and template; empty pieces do not count.
constexpr std::string_view PIECE_SEPARATORS = " :";
constexpr std::string_view APP_SEPARATOR = ",";

void addApp(Subscription *record, std::string_view name) {
    SubscriptionApp *app = &record->apps[record->numApps++];
    copyPiece(app->appName, name);
    copyPiece(app->appLabel, name);
}

// Adds the applications of a list; SUBSCRIPTION_FAILED after a message when they are too many.
int parseApps(std::string_view list, Subscription *record) {
    for (;;) {
        const std::string_view name = takeWord(&list, APP_SEPARATOR);
        if (name.empty()) return SUBSCRIPTION_OK;
        if (record->numApps == MAX_SUBSCRIPTION_APPS) {
            dmon_log(1, "Error: too many applications per subscription.\n");
            return SUBSCRIPTION_FAILED;
        }
        addApp(record, name);
    }
}

// Applies a line of a file; SUBSCRIPTION_FAILED after a message.
int applyLine(const char *path, const ConfigLine &line) {
    if (std::string_view(line.key) != "subscribe") {
        dmon_log(1, "Warning in [%s:%d]: unknown variable '%s' in subscription file.\n", path,
                 line.number, line.key);
        return SUBSCRIPTION_OK;
    }
    if (opt_num_subs == MAX_INITIAL_SUBSCRIPTIONS) {
        dmon_log(1, "Error in [%s:%d]: too many initial subscriptions.\n", path, line.number);
        return SUBSCRIPTION_FAILED;
    }
    if (parseSubscription(line.value, &opt_subs[opt_num_subs]) != SUBSCRIPTION_OK) {
        dmon_log(1, "Error in [%s:%d]: Could not load subscription.\n", path, line.number);
        return SUBSCRIPTION_FAILED;
    }
    ++opt_num_subs;
    return SUBSCRIPTION_OK;
}

}  // namespace

int loadSubscriptionFiles() {
    char directory[PATH_MAX];
    withRoot(directory, sizeof directory, SUBSCRIPTION_DIRECTORY);
    const DirListing files(directory, isSubsFile, nullptr);
    int result = SUBSCRIPTION_OK;
    for (int i = 0; i < files.count(); ++i) {
        char path[OPTION_PATH_SIZE];
        joinPath(path, sizeof path, directory, files.name(i));
        if (loadSubscriptionFile(path) == SUBSCRIPTION_OK) {
            dmon_log(2, "Loaded subscription file '%s'.\n", path);
        } else {
            dmon_log(1, "Error: could not load subscriptions file '%s'.\n", path);
            result = SUBSCRIPTION_FAILED;
        }
    }
    return result;
}

int loadSubscriptionFile(const char *path, AfterError after) {
    const FileGuard file = openForReading(path);
    if (!file) return SUBSCRIPTION_FAILED;
    ConfigLine line{};
    int result = SUBSCRIPTION_OK;
    while (readConfigLine(file.get(), &line)) {
        if (applyLine(path, line) == SUBSCRIPTION_OK) continue;
        result = SUBSCRIPTION_FAILED;
        if (after == STOP_AT_ERROR) return result;
    }
    return std::ferror(file.get()) != 0 ? SUBSCRIPTION_FAILED : result;
}

int parseSubscription(const char *text, Subscription *record) {
    *record = Subscription{};
    std::string_view rest = text == nullptr ? "" : text;
    const std::string_view name = takeWord(&rest, PIECE_SEPARATORS);
    if (name.empty()) {
        dmon_log(1, "Error: missing subscription name.\n");
        return SUBSCRIPTION_FAILED;
    }
    copyPiece(record->name, name);
    if (parseApps(takeWord(&rest, PIECE_SEPARATORS), record) != SUBSCRIPTION_OK)
        return SUBSCRIPTION_FAILED;
    if (record->numApps == 0) addApp(record, record->name);
    char path[CONFIG_LINE_SIZE];
    copyPiece(path, takeWord(&rest, PIECE_SEPARATORS));
    copyPath(record->templateName, sizeof record->templateName, path);
    return SUBSCRIPTION_OK;
}
