// SPDX-License-Identifier: MIT
// The conversions of values: dates, durations, bit texts, units, addresses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vorn/plugin.h"

constexpr std::uint8_t CONV_NONE = 0;

// Room for a conversion's argument.
constexpr std::size_t CONV_ARGUMENT_SIZE = 64;

enum ConversionResult : int {
    CONV_OK = 0,
    CONV_BAD_TYPE = -15,  // the value's type does not fit the conversion, or a bad argument
};

// The kind of the conversion that a value clause names, CONV_NONE when there is none of that name.
//   argument  set to the text in the parentheses, empty for a conversion without one
std::uint8_t findConversion(std::string_view text, std::string_view *argument);

// The name of a kind, as clauses write it. Kinds follow CONV_NONE one by one; empty for a
// number that is none.
std::string_view conversionName(std::uint8_t kind);

// A value that the conversion takes, for a look at it without results; the bytes are ours. None for
// CONV_NONE.
ItemValue sampleValue(std::uint8_t kind);

// What convertValue returns when it is that, and no fault of the template.
inline constexpr char CONVERSION_NO_MEMORY[] = "no memory for a converted value.";

// Converts a value in place. Returns null, also when there is nothing to do, or why the value,
// which is as before, cannot be converted: a constant text, of which a second line tells more.
//   kind      of findConversion
//   argument  of CONV_ARGUMENT_SIZE bytes at most
//   dict      translates the texts of "bitmap"; null: they stay as they are
const char *convertValue(std::uint8_t kind, const char *argument, DictResolver *dict,
                         ItemValue *value);
