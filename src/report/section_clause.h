// SPDX-License-Identifier: MIT
// The section clause and the section stack: entering and leaving sections, the dictionaries they
// bring.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Enters a section: reads its arguments, unless the enclosing one is disabled, and writes its
// header. MERGE_OK, MERGE_TEMPLATE_ERROR after a message, or the back-end's code.
int pushSection(TemplateContext *ctx, std::string_view args);

// Reads a section clause into an entry. MERGE_OK or a negative code after a message. Called by
// pushSection.
int parseSectionClause(TemplateContext *ctx, std::string_view args, TemplateSection *section);

// Leaves the current section: writes its footer and drops its dictionaries. MERGE_OK,
// MERGE_TEMPLATE_ERROR when none is open, or the back-end's code.
int popSection(TemplateContext *ctx);
