// SPDX-License-Identifier: MIT
#include "core/settings.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/root_path.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "storage/quota.h"
#include "storage/strings.h"

namespace {

// ---- the kinds of settings ----

template <char (&option)[OPTION_PATH_SIZE]>
bool setPath(const FindingSink &sink, const Place &at, const char *word) {
    takePath(sink, at, option, sizeof option, word);
    return true;
}

void hintWhenCut(const FindingSink &sink, const Place &at, const char *word, std::size_t size) {
    if (std::strlen(word) >= size)
        tellText(sink, SEVERITY_HINT, at, "'%s' was cut at %zu characters.", word, size - 1);
}

template <auto &option>
bool setText(const FindingSink &sink, const Place &at, const char *word) {
    hintWhenCut(sink, at, word, sizeof option.get().text);
    option.set(word);
    return true;
}

template <char (&option)[4]>
bool setLanguage(const FindingSink &sink, const Place &at, const char *word) {
    hintWhenCut(sink, at, word, sizeof option);
    copyPiece(option, word);
    return true;
}

void hintWhenNoNumber(const FindingSink &sink, const Place &at, const char *word) {
    std::int64_t number = 0;
    if (parseSigned(word, INT32_MIN, INT32_MAX, &number) != NUMBER_OK)
        tellText(sink, SEVERITY_HINT, at, "'%s' is no number and counts as %d.", word,
                 int{toInt32(word)});
}

template <std::int32_t &option>
bool setNumber(const FindingSink &sink, const Place &at, const char *word) {
    hintWhenNoNumber(sink, at, word);
    option = toInt32(word);
    return true;
}

bool isYes(const char *word) {
    return *word == 'y' || *word == 'Y' || *word == '1';
}

// Words that look like a yes, or like a slip, are a no.
void hintWhenNoIsMeant(const FindingSink &sink, const Place &at, const char *word) {
    constexpr std::string_view noWords[] = {"no", "No", "NO", "n", "N", "0", "off", "false"};
    if (isYes(word) || std::find(std::begin(noWords), std::end(noWords), word) != std::end(noWords))
        return;
    tellText(sink, SEVERITY_HINT, at, "'%s' means no: yes begins with y, Y or 1.", word);
}

template <auto &option>
bool setSwitch(const FindingSink &sink, const Place &at, const char *word) {
    hintWhenNoIsMeant(sink, at, word);
    option = isYes(word) ? 1 : 0;
    return true;
}

// The place of a word in a list, or -1.
template <std::size_t N>
std::int32_t findWord(const char *const (&words)[N], std::string_view word) {
    const char *const *found = std::find(words, words + N, word);
    return found == words + N ? -1 : static_cast<std::int32_t>(found - words);
}

// ---- settings of a kind of their own ----

bool setMaxFiles(const FindingSink &sink, const Place &at, const char *word) {
    const std::int32_t files = toInt32(word);
    if (files < 1 || files > QUOTA_MAX_FILES)
        tellText(sink, SEVERITY_WARNING, at, "number of files '%s' is not in 1 to %d.", word,
                 QUOTA_MAX_FILES);
    else
        hintWhenNoNumber(sink, at, word);
    opt_max_res = files;
    opt_max_rpt = files;
    return true;
}

void setBothActions(std::int32_t action) {
    opt_fullact_res = action;
    opt_fullact_rpt = action;
}

bool setPurge(const FindingSink &sink, const Place &at, const char *word) {
    hintWhenNoIsMeant(sink, at, word);
    setBothActions(isYes(word) ? FULL_PURGE : FULL_STOP);
    return true;
}

bool setFullAction(const FindingSink & /*sink*/, const Place & /*at*/, const char *word) {
    const std::int32_t action = findWord(fullActionWords, word);
    if (action >= 0) setBothActions(action);
    return action >= 0;
}

// "none" keeps the format.
bool setAutoreport(const FindingSink & /*sink*/, const Place & /*at*/, const char *word) {
    const std::int32_t format = findWord(reportFormatWords, word);
    if (format < 0 && std::string_view(word) != "none") return false;
    opt_autorpt = format >= 0 ? 1 : 0;
    if (format >= 0) opt_auto_fmt = format;
    return true;
}

constexpr const char *nameWords[] = {"time", "refseq"};  // by NameFormat
static_assert(std::size(nameWords) == NAME_BY_SEQUENCE + 1);

bool setAutoname(const FindingSink & /*sink*/, const Place & /*at*/, const char *word) {
    const std::int32_t format = findWord(nameWords, word);
    if (format >= 0) opt_autoname = static_cast<std::int16_t>(format);
    return format >= 0;
}

}  // namespace

const Setting settings[] = {
    {"results-dir", setPath<opt_resdir>, "/tarix/data/results", "missing path.", ""},
    {"templates-dir", setPath<opt_tpldir>, "/tarix/data/templates", "missing path.", ""},
    {"reports-dir", setPath<opt_rptdir>, "/tarix/data/reports", "missing path.", ""},
    {"configs-dir", setPath<opt_cfgdir>, "/tarix/data/configs", "missing path.", ""},
    {"dict-dir", setPath<opt_dictdir>, "", "missing dictionary path.", ""},
    {"max-files", setMaxFiles, "50", "missing number of files.", ""},
    {"full-action", setFullAction, "stop", "missing full-quota action.", "incorrect value"},
    {"purge", setPurge, nullptr, nullptr, ""},
    {"block-error", setNumber<opt_fullerr>, "-1", "missing error code.", ""},
    {"autosave", setSwitch<opt_autosave>, "no", nullptr, ""},
    {"autoreport", setAutoreport, "none", "missing report format.", "unknown report format"},
    {"autoname", setAutoname, "time", "missing report name format.", "unknown report name format"},
    {"reference", setText<opt_refname>, "", nullptr, ""},
    {"lang-id", setText<opt_lang_id>, "en", "missing language ID.", ""},
    {"def-lang-id", setLanguage<opt_dflt_lang_id>, "en", "missing language ID.", ""},
};
const std::size_t settingsCount = std::size(settings);

const Setting *findSetting(std::string_view key) {
    const Setting *found = std::find_if(std::begin(settings), std::end(settings),
                                        [key](const Setting &row) { return row.key == key; });
    return found == std::end(settings) ? nullptr : found;
}

void presetSettings() {
    for (const Setting &row : settings) {
        if (row.preset == nullptr) continue;
        char path[ROOTED_PATH_SIZE];
        const bool fixed = row.preset[0] == '/';
        if (fixed) rootedPath(path, "%s", row.preset);
        row.set(logFindings, {"", 0}, fixed ? path : row.preset);
    }
}
