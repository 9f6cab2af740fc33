// SPDX-License-Identifier: MIT
// The pieces of a line: blanks, words and numbers.
#pragma once

#include <cstdint>
#include <string_view>

namespace host {

constexpr std::string_view BLANKS = " \t";

// The text without the blanks and tabs at both ends.
std::string_view trimBlanks(std::string_view text);

// Numbers fill the whole text or are none. A number with `0x` in front is hexadecimal. What is no
// number, or is out of range, leaves `value` as it was.
enum NumberResult { NUMBER_OK, NUMBER_BROKEN, NUMBER_OUT_OF_RANGE };

// Decimal digits, or hexadecimal ones.
NumberResult parseUnsigned(std::string_view text, std::uint64_t max, std::uint64_t *value);

// The same, with a '-' in front if need be.
NumberResult parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
                         std::int64_t *value);

// As C writes a number: parseUnsigned, but octal behind a leading 0.
NumberResult parseCNumber(std::string_view text, std::uint32_t *value);

}  // namespace host
