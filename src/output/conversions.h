// SPDX-License-Identifier: MIT
// The value clause and its conversions: dates, durations, bit texts, units, addresses.
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

enum ValueSource : std::uint8_t {
    SOURCE_TEXT = 0,    // literal text of the template
    SOURCE_LINK = 1,    // a register of the results
    SOURCE_GLOBAL = 2,  // a time of an application
    SOURCE_VAR = 3,     // a user variable
    SOURCE_PLUGIN = 4,  // a plug-in function
};

enum : std::uint8_t { VALUE_USE_DICT = 1 };  // ValueClause.flags: translate texts

// One value clause of a template.
struct ValueClause {
    std::uint8_t convType;  // ConversionKind
    char convArg[64];       // argument of "bitmap" and "units"
    std::uint8_t source;    // ValueSource
    std::uint8_t flags;     // VALUE_USE_DICT
    char sourceText[256];   // link, global variable, user variable name or plug-in call
};

enum ConversionResult : int {
    CONV_OK = 0,
    CONV_BAD_TYPE = -15,  // the value's type does not fit the conversion, or a bad argument
};

// Applies the clause's conversion to the value in place; CONV_OK also when there is nothing to do.
// On CONV_BAD_TYPE, which has been logged, the value is as before.
//   place  template location for messages, "file:line"
//   dict   translates the texts of "bitmap" when the clause asks for it; may be null
int convertValue(const char *place, DictResolver *dict, const ValueClause *clause,
                 ItemValue *value);
