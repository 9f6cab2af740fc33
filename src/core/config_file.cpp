// SPDX-License-Identifier: MIT
#include "core/config_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "core/config_lines.h"
#include "core/settings.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

// Applies a line; false after an error.
bool applyLine(const FindingSink &sink, const Place &at, const ConfigLine &line) {
    const Setting *setting = findSetting(line.key);
    if (setting == nullptr) {
        tellText(sink, SEVERITY_WARNING, at, "unknown variable '%s' in config file.", line.key);
        return true;
    }
    if (line.value == nullptr && setting->missing != nullptr) {
        tellText(sink, SEVERITY_ERROR, at, "%s", setting->missing);
        return false;
    }
    if (line.value == nullptr) tellText(sink, SEVERITY_HINT, at, "'%s' has no value.", line.key);
    const char *word = line.value == nullptr ? "" : unquote_str(line.value);
    if (!setting->set(sink, at, word)) {
        tellText(sink, SEVERITY_ERROR, at, "%s '%s'.", setting->unknown, word);
        return false;
    }
    tell(sink, {SEVERITY_APPLIED, at, line.key, nullptr});
    tellIgnored(sink, at, line);
    return true;
}

int failToRead(const FindingSink &sink, const char *path) {
    const char *reason = std::strerror(errno);
    char logged[PATH_MAX + 100];
    std::snprintf(logged, sizeof logged, "Error loading config from %s: %s", path, reason);
    tell(sink, {SEVERITY_ERROR, {path, 0}, reason, logged});
    return CONFIG_FAILED;
}

}  // namespace

int loadConfigFile(const char *path, const FindingSink &sink) {
    const FileGuard file = openForReading(path);
    if (!file) return failToRead(sink, path);
    ConfigLine line{};
    int result = CONFIG_OK;
    while (readConfigLine(file.get(), &line)) {
        if (applyLine(sink, {path, line.number}, line)) continue;
        result = CONFIG_FAILED;
        if (sink.after == STOP_AT_ERROR) return result;
    }
    return std::ferror(file.get()) != 0 ? failToRead(sink, path) : result;
}
