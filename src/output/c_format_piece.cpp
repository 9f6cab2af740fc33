// SPDX-License-Identifier: MIT
// Reads conversions: flags, width, precision, length modifier, letter.
#include "output/c_format_piece.h"

#include "output/c_format.h"

namespace {

// The rest of a piece; at its end it reads as NULs.
struct Reader {
    const char *at;
    const char *end;

    [[nodiscard]] char peek() const { return at < end ? *at : '\0'; }
    bool skip(char c) {
        if (peek() != c) return false;
        ++at;
        return true;
    }
};

constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr unsigned flagOf(char c) {
    switch (c) {
        case '-':
            return FLAG_LEFT;
        case '+':
            return FLAG_PLUS;
        case ' ':
            return FLAG_BLANK;
        case '#':
            return FLAG_ALTERNATE;
        case '0':
            return FLAG_ZERO;
        case '\'':
            return FLAG_GROUP;
        case 'I':
            return FLAG_LOCAL_DIGITS;
        default:
            return 0;
    }
}

void readFlags(Reader *reader, Conversion *conversion) {
    while (const unsigned flag = flagOf(reader->peek())) {
        conversion->flags = static_cast<std::uint8_t>(conversion->flags | flag);
        ++reader->at;
    }
}

// Digits as a number; `absent` without digits, for "*" and for an absurd number.
std::int32_t readNumber(Reader *reader, std::int32_t absent) {
    const bool star = reader->skip('*');
    std::int32_t number = isDigit(reader->peek()) && !star ? 0 : absent;
    bool absurd = star;
    for (; isDigit(reader->peek()); ++reader->at) {
        if (absurd) continue;
        number = number * 10 + (reader->peek() - '0');
        absurd = number > CFORMAT_MAX_WIDTH;
    }
    if (star) reader->skip('$');
    return absurd ? absent : number;
}

constexpr bool isModifier(char c) {
    return c == 'l' || c == 'h' || c == 'L' || c == 'q' || c == 'j' || c == 'z' || c == 't';
}

CFormatSize readModifier(Reader *reader) {
    const char *start = reader->at;
    while (isModifier(reader->peek())) ++reader->at;
    if (reader->at == start) return SIZE_32;
    const std::string_view modifier(start, static_cast<std::size_t>(reader->at - start));
    if (modifier == "ll") return SIZE_64;
    if (modifier == "hh") return SIZE_8;
    if (modifier == "h") return SIZE_16;
    if (modifier.size() > 1) return SIZE_OTHER;
    return modifier == "l" || modifier == "z" || modifier == "t" ? SIZE_MACHINE : SIZE_64;
}

// Reads what follows the %.
Conversion readConversion(Reader *reader) {
    Conversion conversion{};
    readFlags(reader, &conversion);
    conversion.width = readNumber(reader, 0);
    if (reader->skip('$')) {  // "1$": the number of the argument, and there is but one
        readFlags(reader, &conversion);
        conversion.width = readNumber(reader, 0);
    }
    conversion.precision = NOT_GIVEN;
    if (reader->skip('.')) {
        const char next = reader->peek();
        conversion.precision = isDigit(next) || next == '*' ? readNumber(reader, NOT_GIVEN) : 0;
    }
    conversion.size = readModifier(reader);
    if (isLetter(reader->peek())) conversion.letter = *reader->at++;
    return conversion;
}

}  // namespace

CFormatPiece readCFormatPiece(std::string_view text) {
    CFormatPiece piece{};
    std::size_t percent = 0;
    for (; percent < text.size(); ++percent) {
        if (text[percent] != '%') continue;
        if (percent + 1 == text.size() || text[percent + 1] != '%') break;
        ++percent;  // a pair
    }
    piece.before = text.substr(0, percent);
    piece.hasConversion = percent < text.size();
    if (!piece.hasConversion) return piece;
    Reader reader{text.data() + percent + 1, text.data() + text.size()};
    piece.conversion = readConversion(&reader);
    piece.after = {reader.at, static_cast<std::size_t>(reader.end - reader.at)};
    return piece;
}
