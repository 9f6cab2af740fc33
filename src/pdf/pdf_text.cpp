// SPDX-License-Identifier: MIT
// Text objects, text position, font table.
#include "pdf/pdf_text.h"

#include "pdf/pdf_objects.h"

void pdfEnterTextMode(PdfDocument *doc) {
    if ((doc->flags & PDF_IN_TEXT) == 0) {
        pdfPut(&doc->out, "BT\n");
        pdfPrint(&doc->out, "%d %d Td\n", doc->cursorX, doc->cursorY);
        doc->flags |= PDF_IN_TEXT;
    }
    if ((doc->flags & PDF_FONT_CHANGED) != 0) {
        pdfPrint(&doc->out, "%d TL\n", doc->fontSize);
        pdfPrint(&doc->out, "/F%d %d Tf\n", doc->currentFont, doc->fontSize);
        doc->flags &= ~PDF_FONT_CHANGED;
    }
}

void pdfLeaveTextMode(PdfDocument *doc) {
    if ((doc->flags & PDF_IN_TEXT) == 0) return;
    pdfPut(&doc->out, "ET\n");
    doc->flags &= ~PDF_IN_TEXT;
}

void pdfMoveTextCursor(PdfDocument *doc, std::int32_t x, std::int32_t y) {
    const bool moves = x != doc->cursorX || y != doc->cursorY;
    if ((doc->flags & PDF_IN_TEXT) != 0 && moves)
        pdfPrint(&doc->out, "%d %d Td\n", x - doc->cursorX, y - doc->cursorY);
    doc->cursorX = x;
    doc->cursorY = y;
}

void pdfAddTextAt(PdfDocument *doc, std::int32_t x, std::int32_t y, std::string_view text) {
    pdfEnterTextMode(doc);
    pdfMoveTextCursor(doc, x, y);
    pdfPutString(&doc->out, text);
    pdfPut(&doc->out, " Tj\n");
}

int pdfSetFontType(PdfDocument *doc, std::string_view name) {
    name = name.substr(0, PDF_FONT_NAME_SIZE - 1);
    std::int32_t index = 0;
    while (index < doc->fontCount && name != doc->fonts[index]) ++index;
    if (index == PDF_MAX_FONTS) return PDF_TOO_MANY_FONTS;
    if (index == doc->fontCount) {
        doc->fonts[index][name.copy(doc->fonts[index], name.size())] = '\0';
        ++doc->fontCount;
    }
    doc->currentFont = index;
    doc->flags |= PDF_FONT_CHANGED;
    return PDF_OK;
}

int pdfSetFontSize(PdfDocument *doc, std::int32_t size) {
    doc->fontSize = size;
    doc->flags |= PDF_FONT_CHANGED;
    return PDF_OK;
}

void pdfGetCurrentFont(const PdfDocument *doc, std::int32_t *index, std::int32_t *size) {
    *index = doc->currentFont;
    *size = doc->fontSize;
}

int pdfSetCurrentFont(PdfDocument *doc, std::int32_t index, std::int32_t size) {
    if (index < 0 || index >= doc->fontCount) return PDF_NOT_FOUND;
    doc->currentFont = index;
    doc->fontSize = size;
    return PDF_OK;
}

void pdfWriteFontObjects(PdfDocument *doc) {
    const std::int32_t encoding = pdfBeginObject(doc, PDF_ENCODING);
    pdfPut(&doc->out, "<</Type /Encoding\n");
    pdfPut(&doc->out, "/BaseEncoding /WinAnsiEncoding\n");
    pdfPut(&doc->out, ">>\n");
    pdfEndObject(doc);
    for (std::int32_t i = 0; i < doc->fontCount; ++i) {
        pdfBeginObject(doc, PDF_FONT);
        pdfPut(&doc->out, "<</Type /Font\n");
        pdfPut(&doc->out, "/Subtype /Type1\n");
        pdfPrint(&doc->out, "/Name /F%d\n", i);
        pdfPut(&doc->out, "/BaseFont ");
        pdfPutName(&doc->out, doc->fonts[i]);
        pdfPut(&doc->out, "\n");
        pdfPrint(&doc->out, "/Encoding %d 0 R\n", encoding);
        pdfPut(&doc->out, ">>\n");
        pdfEndObject(doc);
    }
}

void pdfWriteFontRefs(PdfDocument *doc) {
    std::int32_t object = 0;
    for (std::int32_t i = 0; i < doc->fontCount; ++i) {
        object = pdfGetNextObjectByType(doc, PDF_FONT, object);
        if (object < 0) object = pdfAllocObject(doc, PDF_FONT);
        pdfPrint(&doc->out, " /F%d %d 0 R\n", i, object);
    }
}
