// SPDX-License-Identifier: MIT
// Dictionary files:
//
//     # a comment
//     [GROUP] or [GROUP:SUBGROUP]
//     key = text
//     " key " = " text whose blanks count "
#include "lexica/lexica.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/open_file.h"
#include "base/words.h"
#include "dmon/dmon.h"
#include "lexica/dictionary.h"

namespace {

using lexica::Dictionary;

static_assert(sizeof(Dictionary) <= sizeof(LexicaDict::opaque));
static_assert(alignof(Dictionary) <= alignof(LexicaDict));

constexpr int FAILED = -1;

Dictionary *recordOf(LexicaDict *dict) {
    return std::launder(reinterpret_cast<Dictionary *>(dict->opaque));
}

// The group that the entries of the next lines go to.
struct Section {
    bool begun;
    std::uint32_t group;
    std::uint32_t subgroup;
};

// All parsers below return null, or the reason why the line breaks a rule.
using Reason = const char *;

bool readNumber(std::string_view text, std::uint32_t *number) {
    return parseCNumber(trim(text), number) == NUMBER_OK;
}

Reason parseGroupLine(std::string_view line, Section *section) {
    if (!line.ends_with(']')) return "nothing but a ']' may end a group's line";
    line = line.substr(1, line.size() - 2);
    const std::size_t colon = line.find(':');
    *section = {true, 0, 0};
    if (!readNumber(line.substr(0, colon), &section->group))
        return "the group is no number from 0 to 4294967295";
    if (colon != std::string_view::npos && !readNumber(line.substr(colon + 1), &section->subgroup))
        return "the subgroup is no number from 0 to 4294967295";
    return nullptr;
}

// Takes the blanks off a key or text, then its quotes.
Reason unquote(std::string_view *part) {
    *part = trim(*part);
    if (!part->starts_with('"')) return nullptr;
    const std::size_t end = part->find('"', 1);
    if (end == std::string_view::npos) return "a quote is not closed";
    if (end + 1 != part->size()) return "something follows a closing quote";
    *part = part->substr(1, part->size() - 2);
    return nullptr;
}

Reason splitEntry(std::string_view line, std::string_view *key, std::string_view *text) {
    bool quoted = false;
    std::size_t equals = 0;
    for (; equals < line.size() && (quoted || line[equals] != '='); ++equals)
        if (line[equals] == '"') quoted = !quoted;
    if (equals == line.size()) return quoted ? "a quote is not closed" : "there is no '='";
    *key = line.substr(0, equals);
    *text = line.substr(equals + 1);
    if (const Reason reason = unquote(key); reason != nullptr) return reason;
    if (key->empty()) return "the key is empty";
    return unquote(text);
}

Reason parseLine(std::string_view line, Section *section, Dictionary *dictionary) {
    line = trim(line);
    if (line.empty() || line.starts_with('#')) return nullptr;
    if (line.starts_with('[')) return parseGroupLine(line, section);
    std::string_view key;
    std::string_view text;
    if (const Reason reason = splitEntry(line, &key, &text); reason != nullptr) return reason;
    if (!section->begun) return "the entry stands before the first group";
    if (!lexica::addEntry(dictionary, section->group, section->subgroup, key, text))
        return "no memory";
    return nullptr;
}

void logFault(const char *text) {
    dmon_log(1, "%s\n", text);
}

// Tells why a file is none that can be used.
[[gnu::format(printf, 2, 3)]] int fail(LexicaTellFn tell, const char *format, ...) {
    char text[PATH_MAX + 200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    tell(text);
    return FAILED;
}

// 0, or FAILED after a message.
int loadDictionary(int file, const char *path, Dictionary *dictionary, LexicaTellFn tell) {
    LineReader reader(file);
    Section section{};
    for (;;) {
        std::string_view line;
        const LineResult result = reader.nextText(&line);
        if (result == LINE_END) return 0;
        const Reason reason =
            result == LINE_READ ? parseLine(line, &section, dictionary) : lineFailure(result);
        if (reason == nullptr) continue;
        return fail(tell, "Error in [%s:%u]: %s.", path, reader.number(), reason);
    }
}

}  // namespace

int lexica_open(LexicaDict *dict, const char *path) {
    return lexica_open_telling(dict, path, logFault);
}

int lexica_open_telling(LexicaDict *dict, const char *path, LexicaTellFn tell) {
    auto *dictionary = new (dict->opaque) Dictionary{};
    const DescriptorGuard file = openRegular(path);
    if (file.get() < 0)
        return fail(tell, "Error opening dictionary '%s': %s", path, std::strerror(errno));
    lexica::seedDictionary(dictionary);
    const int result = loadDictionary(file.get(), path, dictionary, tell);
    if (result != 0) lexica::clearDictionary(dictionary);
    return result;
}

int lexica_locate_entry(LexicaDict *dict, std::uint32_t *group, std::uint32_t subgroup,
                        const char *key) {
    Dictionary *dictionary = recordOf(dict);
    const lexica::Entry *entry = lexica::findEntry(*dictionary, *group, subgroup, key);
    if (entry == nullptr) return FAILED;
    dictionary->located = static_cast<std::uint32_t>(entry - dictionary->entries) + 1;
    return 0;
}

const char *lexica_get_value(LexicaDict *dict) {
    const Dictionary *dictionary = recordOf(dict);
    if (dictionary->located == 0) return "";
    return dictionary->texts + dictionary->entries[dictionary->located - 1].text;
}

void lexica_close(LexicaDict *dict) {
    lexica::clearDictionary(recordOf(dict));
}
