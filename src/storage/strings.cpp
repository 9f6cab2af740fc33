// SPDX-License-Identifier: MIT
#include "storage/strings.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

// ASCII only, whatever the locale: isalnum would let other letters into file names.
constexpr std::string_view FILE_NAME_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_ ";
constexpr std::string_view BLANKS = " ";
constexpr std::string_view SPACE_OF_ATOI = " \t\n\v\f\r";

}  // namespace

// Cutting is what these two are for, and the byte after strncpy ends the text: where a caller's
// array is known, the compiler would warn of the very cut.
#pragma GCC diagnostic push
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wstringop-truncation"
#endif

char *safe_strncpy(char *destination, const char *source, std::size_t size) {
    std::strncpy(destination, source, size);
    destination[size - 1] = '\0';
    return destination;
}

char *safe_strncat(char *destination, const char *source, std::size_t size) {
    const std::size_t length = std::strlen(destination);
    std::strncpy(destination + length, source, size - length);
    destination[size - 1] = '\0';
    return destination;
}

#pragma GCC diagnostic pop

int safe_strncat_size(char **cursor, std::size_t *room, const char *source, std::size_t length) {
    const std::size_t copied = std::min(length, *room - 1);
    std::memcpy(*cursor, source, copied);
    *cursor += copied;
    **cursor = '\0';
    *room -= copied;
    return copied == length ? 0 : -1;
}

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    return text.substr(0, text.find_last_not_of(BLANKS) + 1);
}

std::string_view takeWord(std::string_view *rest, std::string_view separators) {
    rest->remove_prefix(std::min(rest->find_first_not_of(separators), rest->size()));
    const std::size_t length = std::min(rest->find_first_of(separators), rest->size());
    const std::string_view word = rest->substr(0, length);
    rest->remove_prefix(length);
    return word;
}

char *unquote_str(char *s) {
    const char quote = *s;
    if (quote != '\'' && quote != '"') return s;
    char *end = std::strchr(s + 1, quote);
    if (end != nullptr) *end = '\0';
    return s + 1;
}

char *unclose_str(char *s, char open, char close) {
    char *start = std::strchr(s, open);
    if (start == nullptr) return s + std::strlen(s);
    *start++ = '\0';
    char *end = std::strchr(start, close);
    if (end != nullptr) *end = '\0';
    return start;
}

void trimcpy(char *destination, const char *source, std::size_t size) {
    // Trimmed again after the cut, which may have fallen behind a blank inside.
    const std::string_view text = withoutBlanks(source == nullptr ? "" : source);
    const std::string_view kept = withoutBlanks(text.substr(0, size - 1));
    std::memmove(destination, kept.data(), kept.size());
    destination[kept.size()] = '\0';
}

std::int32_t toInt32(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    text.remove_prefix(std::min(text.find_first_not_of(SPACE_OF_ATOI), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        // One step past the range is enough to know the sign's limit; no further, so no overflow.
        if (value <= Limits::max()) value = value * 10 + (c - '0');
    }
    if (negative) value = -value;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

void make_filename(char *s) {
    for (; *s != '\0'; ++s)
        if (FILE_NAME_CHARACTERS.find(*s) == std::string_view::npos) *s = '_';
}
