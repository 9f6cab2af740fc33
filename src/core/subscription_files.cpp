// SPDX-License-Identifier: MIT
#include "core/subscription_files.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/root_path.h"
#include "core/config_lines.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

constexpr char SUBSCRIPTION_DIRECTORY[] = "/etc/tarix/vorn";

// Between name, applications and template; empty pieces do not count.
constexpr std::string_view PIECE_SEPARATORS = " :";
constexpr std::string_view APP_SEPARATOR = ",";

void hintCutName(const FindingSink &sink, const Place &at, const char (&field)[NAME_SIZE],
                 std::string_view name) {
    if (name.size() >= sizeof field)
        tellText(sink, SEVERITY_HINT, at, "name '%s' was cut at %zu characters.", field,
                 sizeof field - 1);
}

void addApp(Subscription *record, std::string_view name) {
    SubscriptionApp *app = &record->apps[record->numApps++];
    copyPiece(app->appName, name);
    copyPiece(app->appLabel, name);
}

// Adds the applications of a list; SUBSCRIPTION_FAILED after a message when they are too many.
int parseApps(std::string_view list, Subscription *record, const FindingSink &sink,
              const Place &at) {
    for (;;) {
        const std::string_view name = takeWord(&list, APP_SEPARATOR);
        if (name.empty()) return SUBSCRIPTION_OK;
        if (record->numApps == MAX_SUBSCRIPTION_APPS) {
            tellPlain(sink, SEVERITY_ERROR, at, "too many applications per subscription.");
            return SUBSCRIPTION_FAILED;
        }
        addApp(record, name);
        hintCutName(sink, at, record->apps[record->numApps - 1].appName, name);
    }
}

// Applies a line of a file; SUBSCRIPTION_FAILED after an error.
int applyLine(const FindingSink &sink, const Place &at, const ConfigLine &line) {
    if (std::string_view(line.key) != "subscribe") {
        tellText(sink, SEVERITY_WARNING, at, "unknown variable '%s' in subscription file.",
                 line.key);
        return SUBSCRIPTION_OK;
    }
    if (opt_num_subs == MAX_INITIAL_SUBSCRIPTIONS) {
        tellText(sink, SEVERITY_ERROR, at, "too many initial subscriptions.");
        return SUBSCRIPTION_FAILED;
    }
    if (parseSubscription(line.value, &opt_subs[opt_num_subs], sink, at) != SUBSCRIPTION_OK) {
        tellText(sink, SEVERITY_ERROR, at, "Could not load subscription.");
        return SUBSCRIPTION_FAILED;
    }
    ++opt_num_subs;
    tell(sink, {SEVERITY_APPLIED, at, line.key, nullptr});
    tellIgnored(sink, at, line);
    return SUBSCRIPTION_OK;
}

// A missing directory is a service without such files; any other trouble with it is told.
void tellUnreadable(const FindingSink &sink, const char *directory, int error) {
    if (error == 0 || error == ENOENT) return;
    char logged[PATH_MAX + 100];
    std::snprintf(logged, sizeof logged, "Error reading subscription folder '%s': %s", directory,
                  std::strerror(error));
    tell(sink, {SEVERITY_ERROR, {directory, 0}, std::strerror(error), logged});
}

void tellFailed(const FindingSink &sink, const char *path) {
    char logged[OPTION_PATH_SIZE + 100];
    std::snprintf(logged, sizeof logged, "Error: could not load subscriptions file '%s'.", path);
    tell(sink, {SEVERITY_ERROR, {path, 0}, "the file cannot be read", logged});
}

}  // namespace

int loadSubscriptionFiles(const FindingSink &sink) {
    char directory[ROOTED_PATH_SIZE];
    rootedPath(directory, "%s", SUBSCRIPTION_DIRECTORY);
    const DirListing files(directory, isSubsFile, nullptr);
    tellUnreadable(sink, directory, files.error());
    int result = SUBSCRIPTION_OK;
    for (int i = 0; i < files.count(); ++i) {
        char whole[ROOTED_PATH_SIZE + NAME_MAX + 2];
        std::snprintf(whole, sizeof whole, "%s/%s", directory, files.name(i));
        char path[OPTION_PATH_SIZE];
        takePath(sink, {whole, 0}, path, sizeof path, whole);
        if (loadSubscriptionFile(path, sink) == SUBSCRIPTION_OK) {
            dmon_log(2, "Loaded subscription file '%s'.\n", path);
        } else {
            tellFailed(sink, path);
            result = SUBSCRIPTION_FAILED;
        }
    }
    return result;
}

int loadSubscriptionFile(const char *path, const FindingSink &sink) {
    const FileGuard file = openForReading(path);
    if (!file) return SUBSCRIPTION_FAILED;
    ConfigLine line{};
    int result = SUBSCRIPTION_OK;
    while (readConfigLine(file.get(), &line)) {
        if (applyLine(sink, {path, line.number}, line) == SUBSCRIPTION_OK) continue;
        result = SUBSCRIPTION_FAILED;
        if (sink.after == STOP_AT_ERROR) return result;
    }
    return std::ferror(file.get()) != 0 ? SUBSCRIPTION_FAILED : result;
}

int parseSubscription(const char *text, Subscription *record, const FindingSink &sink,
                      const Place &at) {
    *record = Subscription{};
    std::string_view rest = text == nullptr ? "" : text;
    const std::string_view name = takeWord(&rest, PIECE_SEPARATORS);
    if (name.empty()) {
        tellPlain(sink, SEVERITY_ERROR, at, "missing subscription name.");
        return SUBSCRIPTION_FAILED;
    }
    copyPiece(record->name, name);
    hintCutName(sink, at, record->name, name);
    if (parseApps(takeWord(&rest, PIECE_SEPARATORS), record, sink, at) != SUBSCRIPTION_OK)
        return SUBSCRIPTION_FAILED;
    if (record->numApps == 0) addApp(record, record->name);
    char path[CONFIG_LINE_SIZE];
    copyPiece(path, takeWord(&rest, PIECE_SEPARATORS));
    takePath(sink, at, record->templateName, sizeof record->templateName, path);
    if (const std::string_view more = takeWord(&rest, PIECE_SEPARATORS); !more.empty())
        tellText(sink, SEVERITY_HINT, at, "'%.*s' behind the template is ignored.",
                 static_cast<int>(more.size()), more.data());
    return SUBSCRIPTION_OK;
}
