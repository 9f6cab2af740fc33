// SPDX-License-Identifier: MIT
// A small PDF writer: lines of text in the standard Type 1 fonts, a page number at the foot of each
// page. One thread uses a document.
//
// Every operation returns PDF_OK or a failure (PdfResult in pdf/pdf_sink.h). After a failed write,
// or when the document has become too large, nothing more is written, and the operations that write
// return the first failure from then on: what the stream holds is no document.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "pdf/pdf_document.h"

// Starts a document and its first page, in Courier of 10 points.
//   doc     the caller's memory; gets a copy of info
//   stream  the caller's, at the start of an empty file; open until pdf_end
// After a failure nothing is held.
int pdf_begin(PdfDocument *doc, const PdfDocInfo *info, std::FILE *stream);

// Makes a font current for the lines that follow. The name becomes the font's /BaseFont; it keeps
// its first 31 characters. PDF_OK or PDF_TOO_MANY_FONTS.
int pdf_set_font_type(PdfDocument *doc, std::string_view name);

// Makes a size current, in points, 1 or more: of the letters and from line to line.
int pdf_set_font_size(PdfDocument *doc, std::int32_t size);

// Adds a line. The text is in the fonts' encoding, Windows code page 1252.
int pdf_add_text_line(PdfDocument *doc, std::string_view text);

// Begins a new page. Reports do not: theirs end when they are full. It is for other documents.
int pdf_page_break(PdfDocument *doc);

// Ends the last page, writes the closing objects and flushes the stream. Whatever it returns, the
// document must not be used again; stream and document stay the caller's.
int pdf_end(PdfDocument *doc);
