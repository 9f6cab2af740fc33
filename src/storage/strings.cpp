// SPDX-License-Identifier: MIT
#include "storage/strings.h"

#include <algorithm>
#include <cstring>

namespace {

// ASCII only, whatever the locale: isalnum would let other letters into file names.
constexpr std::string_view FILE_NAME_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_ ";

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

void make_filename(char *s) {
    for (; *s != '\0'; ++s)
        if (FILE_NAME_CHARACTERS.find(*s) == std::string_view::npos) *s = '_';
}
