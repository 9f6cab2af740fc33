// SPDX-License-Identifier: MIT
// Numbers from text. None overflows, and none looks at the locale.
#pragma once

#include <cstdint>
#include <string_view>

// These three want a number that fills the whole text. One with `0x` in front is hexadecimal. What
// is no number, or is out of range, leaves `value` as it was.
enum NumberResult { NUMBER_OK, NUMBER_BROKEN, NUMBER_OUT_OF_RANGE };

// Decimal digits, or hexadecimal ones.
NumberResult parseUnsigned(std::string_view text, std::uint64_t max, std::uint64_t *value);

// The same, with a '-' in front if need be.
NumberResult parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
                         std::int64_t *value);

// As C writes a number: parseUnsigned, but octal behind a leading 0.
NumberResult parseCNumber(std::string_view text, std::uint32_t *value);

// The number at the start of a text as atoi reads it (blanks, sign, digits), 0 without one; a
// number beyond 32 bits gives the nearest one.
std::int32_t toInt32(std::string_view text);
