// SPDX-License-Identifier: MIT
// The conversions of values: dates, durations, bit texts, units, addresses.
#pragma once

#include <cstdint>

#include "vorn/plugin.h"

enum ConversionKind : std::uint8_t {
    CONV_NONE = 0,
    CONV_DATE_TIME = 1,
    CONV_TIME = 2,
    CONV_BITMAP = 3,
    CONV_ARRAY_FLOAT = 4,
    CONV_MAC_ADDR = 5,
    CONV_IPV4_ADDR = 6,
    CONV_UNITS = 7,
};

enum ConversionResult : int {
    CONV_OK = 0,
    CONV_BAD_TYPE = -15,  // the value's type does not fit the conversion, or a bad argument
};

// Converts a value in place. Returns null, also when there is nothing to do, or why the value,
// which is as before, cannot be converted: a constant text, of which a second line tells more.
//   kind      ConversionKind
//   argument  of "bitmap" and "units"; at most 63 characters count
//   dict      translates the texts of "bitmap"; null: they stay as they are
const char *convertValue(std::uint8_t kind, const char *argument, DictResolver *dict,
                         ItemValue *value);
