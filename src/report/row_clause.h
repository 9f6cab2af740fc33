// SPDX-License-Identifier: MIT
// The row clause: begins a row with the format of its values.
#pragma once

#include "report/template_context.h"

// Reads a row clause into a row, which is cleared first. MERGE_OK, or MERGE_TEMPLATE_ERROR after a
// message.
int parseRowClause(TemplateContext *ctx, const TemplateTag *tag, ReportRow *row);
