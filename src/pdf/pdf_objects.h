// SPDX-License-Identifier: MIT
// The object table of a PDF document: which number, type and offset each object has, and the
// cross-reference table made from it. Appending an object takes constant time.
#pragma once

#include <cstdint>

#include "pdf/pdf_document.h"

// Enters an object that begins at the current offset.
//   wanted  the object gets the lowest free number that is not below it
// Returns the number, or a failure that the document keeps: PDF_NO_MEMORY, PDF_TOO_MANY_OBJECTS.
std::int32_t pdfAllocObjectByID(PdfDocument *doc, PdfObjectType type, std::int32_t wanted);

// The same with 1 for the wanted number.
std::int32_t pdfAllocObject(PdfDocument *doc, PdfObjectType type);

// Enters an object and writes its first line. Returns as pdfAllocObject.
std::int32_t pdfBeginObject(PdfDocument *doc, PdfObjectType type);
void pdfEndObject(PdfDocument *doc);

// Says that an object begins at the current offset. PDF_OK or PDF_NOT_FOUND.
int pdfMarkObjectOffs(PdfDocument *doc, std::int32_t number);

// The lowest number of an object of this type, PDF_NOT_FOUND when there is none; the second form
// looks only at numbers above `after`.
std::int32_t pdfGetObjectByType(const PdfDocument *doc, PdfObjectType type);
std::int32_t pdfGetNextObjectByType(const PdfDocument *doc, PdfObjectType type, std::int32_t after);

// Writes the cross-reference table of all objects and notes its offset.
void pdfWriteXrefTable(PdfDocument *doc);

// Frees the table.
void pdfFreeObjects(PdfDocument *doc);
