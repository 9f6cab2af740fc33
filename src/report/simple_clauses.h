// SPDX-License-Identifier: MIT
// The clauses that only read their arguments: report, css, row.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Pushes the dictionaries of the whole report. MERGE_OK or a negative code after a message.
int parseReportClause(TemplateContext *ctx, std::string_view args);

// Reads a css clause into a style, which is cleared first. MERGE_OK, or MERGE_TEMPLATE_ERROR after
// a message.
int parseCssClause(TemplateContext *ctx, std::string_view args, OutputStyle *style);

// Reads "property: value; ..." into a style. MERGE_OK, or MERGE_TEMPLATE_ERROR after a message.
int parseCssStyle(TemplateContext *ctx, std::string_view text, OutputStyle *style);

// Reads a row clause into a row, which is cleared first. MERGE_OK, or MERGE_TEMPLATE_ERROR after a
// message.
int parseRowClause(TemplateContext *ctx, const TemplateTag *tag, ReportRow *row);
