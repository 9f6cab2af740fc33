// SPDX-License-Identifier: MIT
// Where the merge reads: the place that every message names.
#pragma once

#include "report/template_context.h"

// What goes before the path of a template file to open or to name it: the merge's folder, or an
// empty text.
const char *templateFolder(const TemplateContext *ctx, const char *path);

// "file:line" of the current file, "<unknown>" when none is open; valid until the next call. At
// most 47 characters when the merge has no folder.
const char *getTemplateLine(TemplateContext *ctx);

// The same as a record, for messages that come later.
TemplatePlace currentPlace(const TemplateContext *ctx);
