// SPDX-License-Identifier: MIT
// Pages of a PDF document and the content streams that they show. Failures stay with the document:
// the operations return what it then has.
#pragma once

#include <cstdint>
#include <string_view>

#include "pdf/pdf_document.h"

// Begins a content stream. Returns its object number, PDF_STREAM_OPEN when one is open, or another
// failure of the document. Called by pdfBeginPage.
std::int32_t pdfBeginStream(PdfDocument *doc);

// Ends the open stream and writes its length. Returns its object number, 0 when none is open, or a
// failure of the document. Called by pdfEndPage.
std::int32_t pdfEndStream(PdfDocument *doc);

// Ends the open page and begins the next. PDF_OK or a failure of the document.
int pdfBeginPage(PdfDocument *doc);

// Ends the page, if one is open, with its number at the foot. PDF_OK or a failure.
int pdfEndPage(PdfDocument *doc);

// Writes the object of a page that shows the content stream `content`. Called by pdfEndPage.
void pdfWritePageObject(PdfDocument *doc, std::int32_t content);

// Makes sure that a line of this height fits, on a new page when the open one is full. Returns the
// baseline of the last line. Called by pdfAddTextLine.
std::int32_t pdfRequestPageArea(PdfDocument *doc, std::int32_t height);

// Takes the heights asked for off the page, and moves the cursor to the new line. Called by
// pdfAddTextLine.
void pdfCommitPageArea(PdfDocument *doc);

// Adds a line below the last one, on a new page when the open one is full. PDF_OK or a failure.
int pdfAddTextLine(PdfDocument *doc, std::string_view text);
