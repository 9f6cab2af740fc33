// SPDX-License-Identifier: MIT
#include "core/config_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>

#include "core/config_lines.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "output/dump_backend.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/strings.h"

namespace {

// Where a line stands, for messages.
struct Place {
    const char *path;
    int line;
};

// A key: what applies its value (null when the line has none) to the options, false after an error
// message.
struct ConfigKey {
    std::string_view name;
    bool (*apply)(const ConfigKey &key, const Place &at, const char *value);
    char *target = nullptr;  // of applyPath: an option of OPTION_PATH_SIZE bytes
};

// A word of the file and the number that it stands for.
struct NamedNumber {
    std::string_view name;
    std::int32_t number;
};

constexpr NamedNumber FULL_ACTIONS[] = {
    {"stop", FULL_STOP}, {"block", FULL_BLOCK}, {"purge", FULL_PURGE}};
constexpr NamedNumber REPORT_FORMATS[] = {{"txt", RPT_FMT_TXT}, {"pdf", RPT_FMT_PDF}};
constexpr NamedNumber NAME_FORMATS[] = {{"time", NAME_BY_TIME}, {"refseq", NAME_BY_SEQUENCE}};

constexpr std::int32_t MAX_FILES_LIMIT = 65535;  // quotas keep 16 bits

template <std::size_t N>
const NamedNumber *findName(const NamedNumber (&names)[N], std::string_view name) {
    const NamedNumber *found = std::find_if(
        names, names + N, [name](const NamedNumber &entry) { return entry.name == name; });
    return found == names + N ? nullptr : found;
}

bool isYes(const char *value) {
    return value != nullptr && (*value == 'y' || *value == 'Y' || *value == '1');
}

void setFullAction(std::int32_t action) {
    opt_fullact_res = action;
    opt_fullact_rpt = action;
}

bool applyPath(const ConfigKey &key, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing path.\n", at.path, at.line);
        return false;
    }
    copyPath(key.target, OPTION_PATH_SIZE, value);
    return true;
}

bool applyMaxFiles(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing number of files.\n", at.path, at.line);
        return false;
    }
    const std::int32_t files = toInt32(value);
    if (files < 1 || files > MAX_FILES_LIMIT)
        dmon_log(1, "Warning in [%s:%d]: number of files '%s' is not in 1 to %d.\n", at.path,
                 at.line, value, MAX_FILES_LIMIT);
    opt_max_res = files;
    opt_max_rpt = files;
    return true;
}

bool applyAutosave(const ConfigKey &, const Place &, const char *value) {
    opt_autosave = isYes(value) ? 1 : 0;
    return true;
}

bool applyPurge(const ConfigKey &, const Place &, const char *value) {
    setFullAction(isYes(value) ? FULL_PURGE : FULL_STOP);
    return true;
}

bool applyFullAction(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing full-quota action.\n", at.path, at.line);
        return false;
    }
    const NamedNumber *action = findName(FULL_ACTIONS, value);
    if (action == nullptr) {
        dmon_log(1, "Error in [%s:%d]: incorrect value '%s'.\n", at.path, at.line, value);
        return false;
    }
    setFullAction(action->number);
    return true;
}

bool applyBlockError(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing error code.\n", at.path, at.line);
        return false;
    }
    opt_fullerr = toInt32(value);
    return true;
}

bool hasLanguage(const Place &at, const char *value) {
    if (value == nullptr) dmon_log(1, "Error in [%s:%d]: missing language ID.\n", at.path, at.line);
    return value != nullptr;
}

bool applyLanguage(const ConfigKey &, const Place &at, const char *value) {
    if (!hasLanguage(at, value)) return false;
    opt_lang_id.set(value);
    return true;
}

bool applyDefaultLanguage(const ConfigKey &, const Place &at, const char *value) {
    if (!hasLanguage(at, value)) return false;
    copyPiece(opt_dflt_lang_id, value);
    return true;
}

bool applyDictionaryPath(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing dictionary path.\n", at.path, at.line);
        return false;
    }
    copyPath(opt_dictdir, sizeof opt_dictdir, value);
    return true;
}

bool applyAutoreport(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing report format.\n", at.path, at.line);
        return false;
    }
    const NamedNumber *format = findName(REPORT_FORMATS, value);
    const bool off = std::strcmp(value, "none") == 0;  // keeps the format
    if (format == nullptr && !off) {
        dmon_log(1, "Error in [%s:%d]: unknown report format '%s'.\n", at.path, at.line, value);
        return false;
    }
    opt_autorpt = off ? 0 : 1;
    if (format != nullptr) opt_auto_fmt = format->number;
    return true;
}

bool applyAutoname(const ConfigKey &, const Place &at, const char *value) {
    if (value == nullptr) {
        dmon_log(1, "Error in [%s:%d]: missing report name format.\n", at.path, at.line);
        return false;
    }
    const NamedNumber *format = findName(NAME_FORMATS, value);
    if (format == nullptr) {
        dmon_log(1, "Error in [%s:%d]: unknown report name format '%s'.\n", at.path, at.line,
                 value);
        return false;
    }
    opt_autoname = static_cast<std::int16_t>(format->number);
    return true;
}

bool applyReference(const ConfigKey &, const Place &, const char *value) {
    opt_refname.set(value == nullptr ? "" : value);
    return true;
}

constexpr ConfigKey KEYS[] = {
    {"results-dir", applyPath, opt_resdir},
    {"templates-dir", applyPath, opt_tpldir},
    {"reports-dir", applyPath, opt_rptdir},
    {"configs-dir", applyPath, opt_cfgdir},
    {"max-files", applyMaxFiles},
    {"autosave", applyAutosave},
    {"purge", applyPurge},
    {"full-action", applyFullAction},
    {"block-error", applyBlockError},
    {"lang-id", applyLanguage},
    {"def-lang-id", applyDefaultLanguage},
    {"dict-dir", applyDictionaryPath},
    {"autoreport", applyAutoreport},
    {"autoname", applyAutoname},
    {"reference", applyReference},
};

// Applies a line; false after an error message.
bool applyLine(const char *path, const ConfigLine &line) {
    const Place at = {path, line.number};
    const ConfigKey *key =
        std::find_if(std::begin(KEYS), std::end(KEYS),
                     [&line](const ConfigKey &candidate) { return candidate.name == line.key; });
    if (key == std::end(KEYS)) {
        dmon_log(1, "Warning in [%s:%d]: unknown variable '%s' in config file.\n", at.path, at.line,
                 line.key);
        return true;
    }
    return key->apply(*key, at, line.value == nullptr ? nullptr : unquote_str(line.value));
}

int failToRead(const char *path) {
    dmon_log(1, "Error loading config from %s: %s\n", path, std::strerror(errno));
    return CONFIG_FAILED;
}

}  // namespace

int loadConfigFile(const char *path, AfterError after) {
    const FileGuard file = openForReading(path);
    if (!file) return failToRead(path);
    ConfigLine line{};
    int result = CONFIG_OK;
    while (readConfigLine(file.get(), &line)) {
        if (applyLine(path, line)) continue;
        result = CONFIG_FAILED;
        if (after == STOP_AT_ERROR) return result;
    }
    return std::ferror(file.get()) != 0 ? failToRead(path) : result;
}
