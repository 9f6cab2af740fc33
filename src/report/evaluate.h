// SPDX-License-Identifier: MIT
// Conditions of sections and bounds of loops: an item, a plug-in call or a number.
#pragma once

#include <cstdint>

#include "report/template_context.h"

// Evaluates a condition: [!]item (does it hold a value?), [!]plug-in call or [!]number. MERGE_OK
// and 1 or 0, or a negative code after a message.
int evalTemplateBool(TemplateContext *ctx, const char *text, std::uint8_t *flag);

// The number that a bound names: an item's value, a plug-in call's or a number. MERGE_OK, or a
// negative code after a message; the number is then as before.
int evalTemplateInt(TemplateContext *ctx, const char *text, std::int32_t *number);
