// SPDX-License-Identifier: MIT
// Begin and end of a PDF document.
#include "pdf/pdf_writer.h"

#include "pdf/pdf_objects.h"
#include "pdf/pdf_pages.h"
#include "pdf/pdf_text.h"

namespace {

constexpr std::int32_t FIRST_FONT_SIZE = 10;

// Bytes above 127 at the start tell programs that copy the file that it is no text.
constexpr char BINARY_MARK[] = "\x25\xED\xEC\xA6\x22\x0A";

void setDefault(std::int32_t *number, std::int32_t value) {
    if (*number == 0) *number = value;
}

std::int32_t writeProcSet(PdfDocument *doc) {
    const std::int32_t number = pdfBeginObject(doc, PDF_PROC_SET);
    pdfPut(&doc->out, "[/PDF /Text]\n");
    pdfEndObject(doc);
    return number;
}

void writePageTree(PdfDocument *doc, std::int32_t procSet) {
    const std::int32_t root = pdfGetObjectByType(doc, PDF_PAGE_TREE);
    pdfMarkObjectOffs(doc, root);
    pdfPrint(&doc->out, "%d 0 obj\n", root);
    pdfPut(&doc->out, "<</Type /Pages\n");
    pdfPut(&doc->out, "/Kids [");
    for (std::int32_t page = pdfGetObjectByType(doc, PDF_PAGE); page > 0;
         page = pdfGetNextObjectByType(doc, PDF_PAGE, page))
        pdfPrint(&doc->out, "%d 0 R ", page);
    pdfPut(&doc->out, "]\n");
    pdfPrint(&doc->out, "/Count %d\n", doc->pageCount);
    pdfPrint(&doc->out, "/MediaBox [0 0 %d %d]\n", doc->info.pageWidth, doc->info.pageHeight);
    pdfPrint(&doc->out, "/Resources <</ProcSet %d 0 R\n", procSet);
    pdfPut(&doc->out, "/Font <<");
    pdfWriteFontRefs(doc);
    pdfPut(&doc->out, ">>\n>>\n>>\n");
    pdfEndObject(doc);
}

std::int32_t writeCatalog(PdfDocument *doc) {
    const std::int32_t number = pdfBeginObject(doc, PDF_CATALOG);
    pdfPut(&doc->out, "<</Type /Catalog\n");
    pdfPrint(&doc->out, "/Pages %d 0 R\n", pdfGetObjectByType(doc, PDF_PAGE_TREE));
    pdfPut(&doc->out, ">>\n");
    pdfEndObject(doc);
    return number;
}

void writeInfoEntry(PdfDocument *doc, const char *key, const char *text) {
    pdfPut(&doc->out, key);
    pdfPutString(&doc->out, text);
    pdfPut(&doc->out, "\n");
}

std::int32_t writeInfo(PdfDocument *doc) {
    const std::int32_t number = pdfBeginObject(doc, PDF_INFO);
    pdfPut(&doc->out, "<<");
    writeInfoEntry(doc, "/Author ", doc->info.author);
    writeInfoEntry(doc, "/Creator ", doc->info.creator);
    writeInfoEntry(doc, "/Producer ", doc->info.producer);
    writeInfoEntry(doc, "/Subject ", doc->info.subject);
    pdfPut(&doc->out, ">>\n");
    pdfEndObject(doc);
    return number;
}

void writeTrailer(PdfDocument *doc, std::int32_t catalog, std::int32_t info) {
    pdfPut(&doc->out, "trailer\n");
    pdfPrint(&doc->out, "<</Size %d\n", static_cast<int>(doc->objectCount));
    pdfPrint(&doc->out, "/Root %d 0 R\n", catalog);
    pdfPrint(&doc->out, "/Info %d 0 R\n", info);
    pdfPut(&doc->out, ">>\n");
    pdfPut(&doc->out, "startxref\n");
    pdfPrint(&doc->out, "%u\n", static_cast<unsigned>(doc->xrefOffset));
    pdfPut(&doc->out, "%%EOF\n");
}

// Hands everything to the system: a full disk often shows only here.
int flushStream(PdfDocument *doc) {
    if (pdfFlush(&doc->out) != PDF_OK) return doc->out.error;
    if (std::fflush(doc->out.stream) != 0 || std::ferror(doc->out.stream) != 0)
        return pdfFail(&doc->out, PDF_WRITE_FAILED);
    return PDF_OK;
}

}  // namespace

int pdf_begin(PdfDocument *doc, const PdfDocInfo *info, std::FILE *stream) {
    *doc = {};
    doc->info = *info;
    pdfOpenSink(&doc->out, stream);
    pdfAllocObjectByID(doc, PDF_FREE_ENTRY, 0);
    pdfAllocObject(doc, PDF_PAGE_TREE);
    pdfSetFontType(doc, "Courier");
    pdfSetFontSize(doc, FIRST_FONT_SIZE);
    setDefault(&doc->info.pageWidth, PDF_DEFAULT_WIDTH);
    setDefault(&doc->info.pageHeight, PDF_DEFAULT_HEIGHT);
    setDefault(&doc->info.marginLeft, PDF_DEFAULT_MARGIN);
    setDefault(&doc->info.marginTop, PDF_DEFAULT_MARGIN);

    pdfPut(&doc->out, "%PDF-1.2\n");
    pdfPut(&doc->out, BINARY_MARK);
    // As far as the system, so that a stream that takes nothing fails here.
    int result = flushStream(doc);
    if (result == PDF_OK) result = pdfBeginPage(doc);
    if (result != PDF_OK) pdfFreeObjects(doc);
    return result;
}

int pdf_set_font_type(PdfDocument *doc, std::string_view name) {
    return pdfSetFontType(doc, name);
}

int pdf_set_font_size(PdfDocument *doc, std::int32_t size) {
    return pdfSetFontSize(doc, size);
}

int pdf_add_text_line(PdfDocument *doc, std::string_view text) {
    return pdfAddTextLine(doc, text);
}

int pdf_page_break(PdfDocument *doc) {
    return pdfBeginPage(doc);
}

int pdf_end(PdfDocument *doc) {
    if (pdfEndPage(doc) == PDF_OK) {
        pdfWriteFontObjects(doc);
        const std::int32_t procSet = writeProcSet(doc);
        writePageTree(doc, procSet);
        const std::int32_t catalog = writeCatalog(doc);
        const std::int32_t info = writeInfo(doc);
        pdfWriteXrefTable(doc);
        writeTrailer(doc, catalog, info);
    }
    const int result = flushStream(doc);
    pdfFreeObjects(doc);
    return result;
}
