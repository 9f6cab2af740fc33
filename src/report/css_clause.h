// SPDX-License-Identifier: MIT
// The css clause: changes font and size of what follows.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Reads a css clause into a style, which is cleared first. MERGE_OK, or MERGE_TEMPLATE_ERROR after
// a message.
int parseCssClause(TemplateContext *ctx, std::string_view args, OutputStyle *style);

// Reads "property: value; ..." into a style. MERGE_OK, or MERGE_TEMPLATE_ERROR after a message.
// parseCssClause calls it for each `style` argument.
int parseCssStyle(TemplateContext *ctx, std::string_view text, OutputStyle *style);
