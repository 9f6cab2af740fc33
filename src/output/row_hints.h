// SPDX-License-Identifier: MIT
// What a check of a template looks for in rows. For sinks that want hints.
#pragma once

#include <string_view>

#include "output/report_records.h"
#include "output/row_format.h"
#include "pdf/pdf_document.h"

// Tells of conversions that do not fit their value, and of texts that are cut.
void hintRow(const ReportRow *row, const RowFormat *format);

// Tells of a line that leaves the page. Fonts of one pitch only.
void hintPdfLine(const PdfDocument *doc, std::string_view line);
