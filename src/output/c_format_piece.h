// SPDX-License-Identifier: MIT
// A piece of a printf-style format taken apart: what c_format_print.cpp prints by.
#pragma once

#include <cstdint>
#include <string_view>

enum CFormatFlag : std::uint8_t {
    FLAG_LEFT = 1,           // -
    FLAG_PLUS = 2,           // +
    FLAG_BLANK = 4,          // blank
    FLAG_ALTERNATE = 8,      // #
    FLAG_ZERO = 16,          // 0
    FLAG_GROUP = 32,         // '
    FLAG_LOCAL_DIGITS = 64,  // I; no locale here has any
};

// The size that a length modifier gives an integer.
enum CFormatSize : std::uint8_t {
    SIZE_32,       // no modifier
    SIZE_8,        // hh
    SIZE_16,       // h
    SIZE_64,       // ll, q, j, L
    SIZE_MACHINE,  // l, z, t: the size that an integer has here
    SIZE_OTHER,
};

constexpr std::int32_t NOT_GIVEN = -1;

// One conversion, from behind the % to its letter.
struct Conversion {
    std::uint8_t flags;  // CFormatFlag
    CFormatSize size;
    char letter;             // 0: none stands there
    std::int32_t width;      // 0: none
    std::int32_t precision;  // or NOT_GIVEN

    [[nodiscard]] bool has(unsigned flag) const { return (flags & flag) != 0; }

    // Whether it prints a 32-bit integer as a character, and if so whether all of it is the code
    // point, not the low byte.
    [[nodiscard]] bool printsCharacter() const {
        return (letter == 'c' || letter == 'C') && (size == SIZE_32 || size == SIZE_MACHINE);
    }
    [[nodiscard]] bool isWide() const { return size == SIZE_MACHINE || letter == 'C'; }
};

// A piece; `before` and `after` are literal text of it, with pairs "%%" as they stand.
struct CFormatPiece {
    std::string_view before;
    bool hasConversion;
    Conversion conversion;
    std::string_view after;
};

// Takes a text apart at its first conversion. Any text will do: "*", widths and precisions above
// CFORMAT_MAX_WIDTH count as not given, a letter that is no conversion counts as one, and where
// none stands the conversion has no letter.
CFormatPiece readCFormatPiece(std::string_view text);
