// SPDX-License-Identifier: MIT
// Text objects and fonts of a PDF document. The coordinates are points from the page's lower left
// corner.
#pragma once

#include <cstdint>
#include <string_view>

#include "pdf/pdf_document.h"

// Begins a text object at the cursor unless one is open, and sets the font when it has changed.
void pdfEnterTextMode(PdfDocument *doc);
void pdfLeaveTextMode(PdfDocument *doc);

// Moves the cursor; an open text object moves along.
void pdfMoveTextCursor(PdfDocument *doc, std::int32_t x, std::int32_t y);

// Shows a text on the open page, in the current font.
void pdfAddTextAt(PdfDocument *doc, std::int32_t x, std::int32_t y, std::string_view text);

// Makes a font current and adds it to the table when it is new there. A name keeps its first 31
// characters. PDF_OK or PDF_TOO_MANY_FONTS.
int pdfSetFontType(PdfDocument *doc, std::string_view name);

// Makes a size current, in points. PDF_OK.
int pdfSetFontSize(PdfDocument *doc, std::int32_t size);

void pdfGetCurrentFont(const PdfDocument *doc, std::int32_t *index, std::int32_t *size);

// Sets font and size again without a change in the page's content. PDF_OK, or PDF_NOT_FOUND for an
// index outside the table.
int pdfSetCurrentFont(PdfDocument *doc, std::int32_t index, std::int32_t size);

// Writes the encoding and an object for each font.
void pdfWriteFontObjects(PdfDocument *doc);

// Writes the entries of the page tree's font resources.
void pdfWriteFontRefs(PdfDocument *doc);
