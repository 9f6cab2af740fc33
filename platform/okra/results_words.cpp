// SPDX-License-Identifier: MIT
#include "okra/results_words.h"

#include <array>

#include "base/words.h"

namespace {

// What ends a bare word, looked up once a character: most of a file's bytes pass here.
enum EndOfWord : std::uint8_t { END_BLANK = 1, END_QUOTE = 2, END_EQUALS = 4 };
constexpr auto wordEnds = [] {
    std::array<std::uint8_t, 256> ends{};
    ends[' '] = ends['\t'] = END_BLANK;
    ends['"'] = END_QUOTE;
    ends['='] = END_EQUALS;
    return ends;
}();

void skipBlanks(std::string_view *rest) {
    std::size_t blanks = 0;
    while (blanks < rest->size() && isBlank((*rest)[blanks])) ++blanks;
    rest->remove_prefix(blanks);
}

// Takes what stands between quotes; `rest` begins with the first one.
WordResult takeQuoted(std::string_view *rest, ResultsText *text, const char **reason) {
    *text = {{}, true, false};
    std::size_t at = 1;
    for (; at < rest->size() && (*rest)[at] != '"'; ++at) {
        if ((*rest)[at] != '\\') continue;
        text->escaped = true;
        ++at;
        if (at == rest->size() || ((*rest)[at] != '"' && (*rest)[at] != '\\')) {
            *reason = "a backslash before something else than a quote or a backslash";
            return WORD_BROKEN;
        }
    }
    if (at >= rest->size()) {
        *reason = "a quote that is not closed";
        return WORD_BROKEN;
    }
    text->raw = rest->substr(1, at - 1);
    rest->remove_prefix(at + 1);
    if (!rest->empty() && !isBlank(rest->front())) {
        *reason = "no blank after a closing quote";
        return WORD_BROKEN;
    }
    return WORD_FOUND;
}

// Takes the characters up to the next blank, or '=' when `ends` holds END_EQUALS.
WordResult takeBare(std::string_view *rest, unsigned ends, std::string_view *word,
                    const char **reason) {
    std::size_t length = 0;
    while (length < rest->size() &&
           (wordEnds[static_cast<unsigned char>((*rest)[length])] & ends) == 0)
        ++length;
    if (length < rest->size() && (*rest)[length] == '"') {
        *reason = "a quote inside a word";
        return WORD_BROKEN;
    }
    *word = rest->substr(0, length);
    rest->remove_prefix(length);
    return WORD_FOUND;
}

}  // namespace

WordResult takeText(std::string_view *rest, ResultsText *text, const char **reason) {
    skipBlanks(rest);
    if (rest->empty()) return WORD_NONE;
    if (rest->front() == '"') return takeQuoted(rest, text, reason);
    *text = {{}, false, false};
    return takeBare(rest, END_BLANK | END_QUOTE, &text->raw, reason);
}

WordResult takeAttribute(std::string_view *rest, std::string_view *name, bool *hasValue,
                         ResultsText *value, const char **reason) {
    skipBlanks(rest);
    if (rest->empty()) return WORD_NONE;
    if (takeBare(rest, END_BLANK | END_QUOTE | END_EQUALS, name, reason) == WORD_BROKEN)
        return WORD_BROKEN;
    *hasValue = !rest->empty() && rest->front() == '=';
    if (!*hasValue) return WORD_FOUND;
    rest->remove_prefix(1);
    if (!rest->empty() && rest->front() == '"') return takeQuoted(rest, value, reason);
    *value = {{}, false, false};
    return takeBare(rest, END_BLANK | END_QUOTE, &value->raw, reason);
}

std::size_t copyText(const ResultsText &text, char *out) {
    if (!text.escaped) {
        text.raw.copy(out, text.raw.size());
        return text.raw.size();
    }
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.raw.size(); ++at) {
        if (text.raw[at] == '\\') ++at;
        out[length++] = text.raw[at];
    }
    return length;
}
