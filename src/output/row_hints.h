// SPDX-License-Identifier: MIT
// What a check of a template looks for in rows. For sinks that want hints.
#pragma once

#include <string_view>

#include "output/report_records.h"
#include "output/row_format.h"
#include "pdf/pdf_document.h"

// Tells of conversions that do not fit their value.
void hintConversions(const ReportRow *row, const RowFormat *format);

// Tells of a value that a text report cuts: the text of a string, or what was printed of it with
// the text around it, by one character more than fit at most.
void hintCutValue(std::int32_t index, const ItemValue *value, std::string_view printed);

// The same for a line of a PDF report, and of one that leaves the page.
//   line  by one character more than fit at most
//   room  characters of a line that fit
void hintPdfLine(const PdfDocument *doc, std::string_view line, std::size_t room);
