// SPDX-License-Identifier: MIT
// The value clause: names the source of a row's value, and what becomes of it.
#pragma once

#include <cstdint>

#include "output/conversions.h"
#include "report/template_context.h"

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
    std::uint8_t convType;             // of findConversion
    char convArg[CONV_ARGUMENT_SIZE];  // its argument
    std::uint8_t source;               // ValueSource
    std::uint8_t flags;                // VALUE_USE_DICT
    char sourceText[256];              // link, global variable, user variable name or plug-in call
};

// Reads a value clause, which is cleared first. MERGE_OK, or MERGE_TEMPLATE_ERROR after a message.
int parseValueClause(TemplateContext *ctx, const TemplateTag *tag, ValueClause *clause);
