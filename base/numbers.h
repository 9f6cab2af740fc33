// SPDX-License-Identifier: MIT
// Numbers from text. None overflows, and none looks at the locale.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <string_view>

// These want a number that fills the whole text. One with `0x` in front is hexadecimal. What
// is no number, or is out of range, leaves `value` as it was.
enum NumberResult { NUMBER_OK, NUMBER_BROKEN, NUMBER_OUT_OF_RANGE };

// Decimal digits alone, without a prefix.
NumberResult parseDecimal(std::string_view text, std::uint64_t max, std::uint64_t *value);

// Decimal digits, or hexadecimal ones.
NumberResult parseUnsigned(std::string_view text, std::uint64_t max, std::uint64_t *value);

// The same, with a '-' in front if need be.
NumberResult parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
                         std::int64_t *value);

// As C writes a number: parseUnsigned, but octal behind a leading 0.
NumberResult parseCNumber(std::string_view text, std::uint32_t *value);

// A decimal or hexadecimal fraction, with a '-' in front if need be; not the words for infinity and
// for no number. One of more than 1,100 characters is out of range.
NumberResult parseReal(std::string_view text, float *value);
NumberResult parseReal(std::string_view text, double *value);

// The one for the type, within its limits; a minus sign only where it is signed.
template <class Number>
NumberResult parseNumber(std::string_view text, Number *value) {
    using Limits = std::numeric_limits<Number>;
    if constexpr (std::floating_point<Number>) {
        return parseReal(text, value);
    } else if constexpr (std::signed_integral<Number>) {
        std::int64_t number = 0;
        const NumberResult result = parseSigned(text, Limits::min(), Limits::max(), &number);
        if (result == NUMBER_OK) *value = static_cast<Number>(number);
        return result;
    } else {
        std::uint64_t number = 0;
        const NumberResult result = parseUnsigned(text, Limits::max(), &number);
        if (result == NUMBER_OK) *value = static_cast<Number>(number);
        return result;
    }
}

// The number at the start of a text, as the C library's functions read it: blanks, a sign, digits;
// 0 without any. What follows it does not count.

// As atoi; a number beyond 32 bits gives the nearest one.
std::int32_t toInt32(std::string_view text);

// As strtoul in base 0 where an unsigned long has 32 bits: too large gives all bits, and a minus
// negates.
std::uint32_t toUint32(std::string_view text);

// As strtod, which knows words too: too large gives infinity, too small 0. Only 1,100 characters
// count.
double toDouble(std::string_view text);
