// SPDX-License-Identifier: MIT
// Pages, content streams and the area that lines take on a page.
#include "pdf/pdf_pages.h"

#include <charconv>

#include "pdf/pdf_objects.h"
#include "pdf/pdf_text.h"

namespace {

constexpr std::int32_t LOWEST_LINE = 18;  // points; below is the page number's place
constexpr std::int32_t PAGE_NUMBER_Y = 5;
constexpr std::int32_t PAGE_NUMBER_SIZE = 8;
constexpr std::size_t PAGE_NUMBER_DIGITS = 4;

void addPageNumber(PdfDocument *doc) {
    std::int32_t font = 0;
    std::int32_t size = 0;
    pdfGetCurrentFont(doc, &font, &size);
    pdfSetFontType(doc, "Courier");
    pdfSetFontSize(doc, PAGE_NUMBER_SIZE);

    char digits[16];
    const char *end = std::to_chars(digits, digits + sizeof digits, doc->pageCount).ptr;
    const std::string_view number(digits, static_cast<std::size_t>(end - digits));
    pdfAddTextAt(doc, doc->info.pageWidth / 2 - 5, PAGE_NUMBER_Y,
                 number.substr(0, PAGE_NUMBER_DIGITS));
    pdfSetCurrentFont(doc, font, size);
}

}  // namespace

std::int32_t pdfBeginStream(PdfDocument *doc) {
    if (doc->streamObject != 0) return pdfFail(&doc->out, PDF_STREAM_OPEN);
    const std::int32_t number = pdfBeginObject(doc, PDF_CONTENT);
    if (number < 0) return number;
    // The length is not known before the end: it gets an object of its own, the next one.
    pdfPrint(&doc->out, "<</Length %d 0 R>>\n", number + 1);
    pdfPut(&doc->out, "stream\n");
    doc->streamObject = number;
    doc->streamStart = pdfOffset(&doc->out);
    return number;
}

std::int32_t pdfEndStream(PdfDocument *doc) {
    const std::int32_t number = doc->streamObject;
    if (number == 0) return 0;
    pdfLeaveTextMode(doc);
    const auto length = static_cast<unsigned>(pdfOffset(&doc->out) - doc->streamStart);
    pdfPut(&doc->out, "endstream\n");
    pdfEndObject(doc);
    pdfBeginObject(doc, PDF_LENGTH);
    pdfPrint(&doc->out, "%u\n", length);
    pdfEndObject(doc);
    doc->streamObject = 0;
    return doc->out.error == PDF_OK ? number : doc->out.error;
}

int pdfBeginPage(PdfDocument *doc) {
    if (pdfEndPage(doc) != PDF_OK || pdfBeginStream(doc) < 0) return doc->out.error;
    doc->lineY = doc->info.pageHeight - doc->info.marginTop;
    doc->cursorX = doc->info.marginLeft;
    doc->cursorY = doc->lineY;
    ++doc->pageCount;
    doc->flags |= PDF_PAGE_OPEN | PDF_FONT_CHANGED;
    return doc->out.error;
}

int pdfEndPage(PdfDocument *doc) {
    if (doc->out.error != PDF_OK || (doc->flags & PDF_PAGE_OPEN) == 0) return doc->out.error;
    addPageNumber(doc);
    const std::int32_t content = pdfEndStream(doc);
    if (content > 0) pdfWritePageObject(doc, content);
    doc->flags &= ~PDF_PAGE_OPEN;
    return doc->out.error;
}

void pdfWritePageObject(PdfDocument *doc, std::int32_t content) {
    pdfBeginObject(doc, PDF_PAGE);
    pdfPut(&doc->out, "<</Type /Page\n");
    pdfPrint(&doc->out, "/Parent %d 0 R\n", pdfGetObjectByType(doc, PDF_PAGE_TREE));
    pdfPrint(&doc->out, "/Contents %d 0 R\n", content);
    pdfPut(&doc->out, ">>\n");
    pdfEndObject(doc);
}

std::int32_t pdfRequestPageArea(PdfDocument *doc, std::int32_t height) {
    // Sizes come from templates, up to the largest number.
    if (std::int64_t{doc->lineY} - height < LOWEST_LINE) pdfBeginPage(doc);
    doc->pendingHeight += height;
    return doc->lineY;
}

void pdfCommitPageArea(PdfDocument *doc) {
    doc->lineY -= doc->pendingHeight;
    doc->pendingHeight = 0;
    pdfMoveTextCursor(doc, doc->info.marginLeft, doc->lineY);
}

int pdfAddTextLine(PdfDocument *doc, std::string_view text) {
    if (doc->out.error == PDF_OK) pdfRequestPageArea(doc, doc->fontSize);
    if (doc->out.error != PDF_OK) return doc->out.error;
    pdfEnterTextMode(doc);
    pdfPutString(&doc->out, text);
    pdfPut(&doc->out, "'\n");
    doc->cursorY -= doc->fontSize;  // the operator ' goes to the next line before it shows
    pdfCommitPageArea(doc);
    return doc->out.error;
}
