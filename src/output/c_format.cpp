// SPDX-License-Identifier: MIT
// Cuts, counts and rewrites printf-style formats. Printing by them is in c_format_print.cpp.
#include "output/c_format.h"

#include <algorithm>
#include <array>

#include "output/c_format_piece.h"
#include "output/report_records.h"

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
const char *nextConversion(const char *text) {
    for (; *text != '\0'; ++text) {
        if (*text != '%') continue;
        if (text[1] != '%') break;
        ++text;
    }
    return text;
}

// A text being built in a buffer, with a byte kept for the NUL.
struct Copy {
    char *to;
    std::size_t room;
};

void append(Copy *copy, std::string_view text) {
    const std::size_t length = std::min(text.size(), copy->room);
    text.copy(copy->to, length);
    copy->to += length;
    copy->room -= length;
}

}  // namespace

std::int32_t countCFormatFields(const char *format) {
    std::int32_t count = 0;
    for (const char *at = nextConversion(format); *at != '\0'; at = nextConversion(at + 1)) ++count;
    return count;
}

std::string_view takeCFormatPiece(const char **cursor) {
    const char *start = *cursor;
    const char *end = nextConversion(start);
    if (*end != '\0') end = nextConversion(end + 1);
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

std::size_t changeCFormatDataType(char *out, std::size_t outSize, std::string_view format,
                                  std::string_view newType) {
    Copy copy{out, outSize - 1};
    const auto length = format.size();
    std::size_t at = 0;
    while (at < length && copy.room > 0) {
        std::size_t end = at;
        if (format[at] != '%') {
            while (end < length && format[end] != '%') ++end;
            append(&copy, format.substr(at, end - at));
        } else if (at + 1 < length && format[at + 1] == '%') {
            while (end < length && format[end] == '%') ++end;
            append(&copy, format.substr(at, end - at));
        } else {
            while (end < length && !isDataTypeLetter(format[end])) ++end;
            append(&copy, format.substr(at, end - at));
            append(&copy, newType);
            while (end < length && isDataTypeLetter(format[end])) ++end;
        }
        at = end;
    }
    *copy.to = '\0';
    return static_cast<std::size_t>(copy.to - out);
}

bool isTextPiece(std::string_view text, const CFormatPiece *piece) {
    // The letter stands alone, and the longer format would not be cut.
    return piece->conversion.letter == 's' && piece->conversion.size == SIZE_32 &&
           (piece->after.empty() || !isDataTypeLetter(piece->after.front())) &&
           text.size() + 1 < CFORMAT_SIZE;
}
