// SPDX-License-Identifier: MIT
// The PDF report: each row a line of text, its columns set by the widths in its cstyle. A width
// counts characters; characters that the fonts do not have show as "?".
#pragma once

#include <cstdio>

#include "output/report_records.h"

// Begins the document. `state` gets it; the stream stays the caller's, open until dumpPDFFree.
// DUMP_OK, or DUMP_NO_DOCUMENT after a message: then nothing is held.
int dumpPDFInit(void **state, std::FILE *stream);

// Ends the document, frees it, and says in the log how many characters show as "?". DUMP_OK, or
// DUMP_NO_DOCUMENT after a message: the stream then holds no whole document.
int dumpPDFFree(void *state);

// Writes one line of at most 254 characters. DUMP_OK, DUMP_ROW_MISMATCH when values and cstyle do
// not match (nothing is written) or DUMP_WRITE_FAILED, both after a message.
int dumpPDFRow(void *state, const ReportRow *row);

// Add the section's blank lines when it is enabled (exactly 1). DUMP_OK always: a failed write
// shows at the next row, or at the end.
int dumpPDFSectionHeader(void *state, const TemplateSection *section);
int dumpPDFSectionFooter(void *state, const TemplateSection *section);

// Sets font and size of the rows that follow. DUMP_OK always; a fifteenth font changes nothing.
int dumpPDFOutputStyle(void *state, const OutputStyle *style);
