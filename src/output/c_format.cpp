// SPDX-License-Identifier: MIT
// Cuts, counts and rewrites printf-style formats. Printing by them is in c_format_print.cpp.
#include "output/c_format.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// The letters that changeCFormatDataType replaces: conversions, and the length modifier l.
constexpr std::string_view DATA_TYPE_LETTERS = "diouxXeEfFgGaAcCsSPnl";

constexpr std::array<bool, 256> dataTypeLetters = [] {
    std::array<bool, 256> isLetter{};
    for (const char c : DATA_TYPE_LETTERS) isLetter[static_cast<unsigned char>(c)] = true;
    return isLetter;
}();

bool isDataTypeLetter(char c) {
    return dataTypeLetters[static_cast<unsigned char>(c)];
}

// The next % that begins a conversion, or the end; steps over pairs.
const char *findConversion(const char *text) {
    while ((text = strchrnul(text, '%'))[0] != '\0' && text[1] == '%') text += 2;
    return text;
}

// A text being built in a buffer, with a byte kept for the NUL.
struct Copy {
    char *to;
    std::size_t room;
};

void append(Copy *copy, std::string_view text) {
    const std::size_t length = std::min(text.size(), copy->room);
    std::memcpy(copy->to, text.data(), length);
    copy->to += length;
    copy->room -= length;
}

}  // namespace

std::int32_t countCFormatFields(const char *format) {
    std::int32_t count = 0;
    for (const char *at = findConversion(format); *at != '\0'; at = findConversion(at + 1)) ++count;
    return count;
}

std::string_view takeCFormatPiece(const char **cursor) {
    const char *start = *cursor;
    const char *end = findConversion(start);
    if (*end != '\0') end = findConversion(end + 1);
    *cursor = end;
    return {start, static_cast<std::size_t>(end - start)};
}

const char *getNextCFormat(char *out, std::size_t outSize, const char *cursor) {
    const std::string_view piece = takeCFormatPiece(&cursor);
    Copy copy{out, outSize - 1};
    append(&copy, piece);
    *copy.to = '\0';
    return cursor;
}

void changeCFormatDataType(char *out, std::size_t outSize, const char *format,
                           const char *newType) {
    Copy copy{out, outSize - 1};
    const char *at = format;
    while (*at != '\0' && copy.room > 0) {
        const char *end = at;
        if (*at != '%') {
            end = strchrnul(at, '%');
            append(&copy, {at, end});
        } else if (at[1] == '%') {
            while (*end == '%') ++end;
            append(&copy, {at, end});
        } else {
            while (*end != '\0' && !isDataTypeLetter(*end)) ++end;
            append(&copy, {at, end});
            append(&copy, newType);
            while (isDataTypeLetter(*end)) ++end;
        }
        at = end;
    }
    *copy.to = '\0';
}
