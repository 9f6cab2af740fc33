// SPDX-License-Identifier: MIT
// The section stack: entering and leaving sections, their conditions, the dictionaries they bring.
#pragma once

#include <cstdint>
#include <string_view>

#include "report/template_context.h"

// Enters a section: reads its arguments, unless the enclosing one is disabled, and writes its
// header. MERGE_OK, MERGE_TEMPLATE_ERROR after a message, or the back-end's code.
int pushSection(TemplateContext *ctx, std::string_view args);

// Reads a section clause into an entry. MERGE_OK or a negative code after a message.
int parseSectionClause(TemplateContext *ctx, std::string_view args, TemplateSection *section);

// Leaves the current section: writes its footer and drops its dictionaries. MERGE_OK,
// MERGE_TEMPLATE_ERROR when none is open, or the back-end's code.
int popSection(TemplateContext *ctx);

// Pushes the dictionaries of name[entry;entry;...], each entry group or group:subgroup. Returns the
// dictionary level before the first push, -1 when nothing was pushed, or another negative code
// after a message: MERGE_TEMPLATE_ERROR or DictResult.
int parseDictSpec(TemplateContext *ctx, std::string_view text);

// Evaluates a condition: [!]item (does it hold a value?), [!]plug-in call or [!]number. MERGE_OK
// and 1 or 0, or a negative code after a message.
int evalTemplateBool(TemplateContext *ctx, const char *text, std::uint8_t *flag);
