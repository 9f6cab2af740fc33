// SPDX-License-Identifier: MIT
// Where the merge reads: the place that every message names.
#pragma once

#include "report/template_context.h"

// "file:line" of the current file, "<unknown>" when none is open; valid until the next call.
const char *getTemplateLine(TemplateContext *ctx);

// The same as a record, for messages that come later.
TemplatePlace currentPlace(const TemplateContext *ctx);
