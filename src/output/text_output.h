// SPDX-License-Identifier: MIT
// The text report: UTF-8 with a byte-order mark, a line a row, every line ended by CR LF. Its state
// is the report stream, which stays the caller's.
#pragma once

#include <cstddef>
#include <cstdio>

#include "output/report_records.h"

// Room for a value's text in a report: its characters, or bytes, and a NUL.
constexpr std::size_t VALUE_TEXT_SIZE = 128;

// The operations of the back-end; `stream` is the state. Each returns DUMP_OK, or
// DUMP_WRITE_FAILED when a write failed or fell short: what was written before stays.

// Writes the byte-order mark.
int dumpTextInit(void **state, std::FILE *stream);

// Does nothing.
int dumpTextOutputStyle(void *stream, const OutputStyle *style);
int dumpTextFree(void *stream);

// Write the section's blank lines when it is enabled (exactly 1).
int dumpTextSectionHeader(void *stream, const TemplateSection *section);
int dumpTextSectionFooter(void *stream, const TemplateSection *section);

// Writes one line, each value by its conversion of `cstyle`; without values only the line end.
// DUMP_ROW_MISMATCH, logged, when the counts differ: then nothing is written.
int dumpTextRow(void *stream, const ReportRow *row);

// Formats one value by one piece of a cstyle, as swprintf would: widths, precisions and outSize
// count characters. The text is UTF-8. Strings print at most 63 characters.
//   out  has CFORMAT_MAX_BYTES * outSize bytes; the text is cut to outSize - 1 characters
// Always DUMP_OK. dumpTextRow prints the same without it, by pieces taken apart once; it is for who
// wants a value's text outside a row.
int dumpTextWFormatVal(char *out, std::size_t outSize, const char *piece, const ItemValue *value);

// The same as snprintf would: all counts are bytes, and strings print unchanged. dumpPDFRow calls
// it.
int dumpTextFormatVal(char *out, std::size_t outSize, const char *piece, const ItemValue *value);
