// SPDX-License-Identifier: MIT
// Rows, blank lines and styles of a PDF report.
#include "output/pdf_output.h"

#include <algorithm>
#include <string_view>

#include "dmon/dmon.h"
#include "output/c_format.h"
#include "output/dump_backend.h"
#include "output/text_output.h"
#include "pdf/pdf_writer.h"
#include "pdf/win_ansi.h"
#include "util/guards.h"

namespace {

constexpr std::size_t LINE_TEXT_MAX = 254;

// What stands in every report's document information.
constexpr PdfDocInfo REPORT_INFO = {
    "Norvel Systems", "Norvel Systems", "pdflib", "Measurement report", 0, 0, 0, 0};

// The state of the back-end.
struct PdfReport {
    PdfDocument document;
    WinAnsiLoss loss;
};

PdfReport *reportOf(void *state) {
    return static_cast<PdfReport *>(state);
}

// Formats one value by one piece of the cstyle, which is in the fonts' encoding already. Returns
// the number of characters, at most `room`.
std::size_t formatValue(PdfReport *report, char *out, std::size_t room, const char *piece,
                        const ItemValue *value) {
    ItemValue shown = *value;
    char text[VALUE_TEXT_SIZE];  // more is never shown
    if (value->type == VORN_TYPE_STRING && value->data != nullptr) {
        utf8ToWinAnsi(text, sizeof text, static_cast<const char *>(value->data), &report->loss);
        shown.data = text;
    }
    // The formatting cuts between UTF-8 characters. Here a byte is a character: cut afterwards.
    char formatted[VALUE_TEXT_SIZE + 4];
    dumpTextFormatVal(formatted, sizeof formatted, piece, &shown);
    return std::string_view(formatted).copy(out, std::min(room, VALUE_TEXT_SIZE - 1));
}

// A document that has failed takes no line, which ends the loop of a section with many.
void addBlankLines(void *state, const TemplateSection *section, std::int32_t count) {
    if (section->enabled != 1) return;
    PdfDocument *doc = &reportOf(state)->document;
    for (std::int32_t i = 0; i < count && pdf_add_text_line(doc, "\n") == PDF_OK;) i++;
}

void logLoss(const WinAnsiLoss *loss) {
    if (loss->count == 0) return;
    dmon_log(2, "PDF report: characters shown as '?': %u, the first is %s%0*X.\n", loss->count,
             loss->firstIsByte ? "byte 0x" : "U+", loss->firstIsByte ? 2 : 4, loss->first);
}

}  // namespace

int dumpPDFInit(void **state, std::FILE *stream) {
    HeapGuard<PdfReport> report(static_cast<PdfReport *>(std::calloc(1, sizeof(PdfReport))));
    const int result =
        report ? pdf_begin(&report->document, &REPORT_INFO, stream) : int{PDF_NO_MEMORY};
    if (result != PDF_OK) {
        dmon_log(1, "Error creating PDF output (err=%d).\n", result);
        return DUMP_NO_DOCUMENT;
    }
    *state = report.release();
    return DUMP_OK;
}

int dumpPDFFree(void *state) {
    const HeapGuard<PdfReport> report(reportOf(state));
    logLoss(&report->loss);
    const int result = pdf_end(&report->document);
    if (result == PDF_OK) return DUMP_OK;
    dmon_log(1, "Error closing PDF output (err=%d).\n", result);
    return DUMP_NO_DOCUMENT;
}

int dumpPDFRow(void *state, const ReportRow *row) {
    if (countCFormatFields(row->cstyle) != row->count) {
        dmon_log(1, "Error: number of values in row doesn't match 'cstyle' arguments.\n");
        return DUMP_ROW_MISMATCH;
    }
    PdfReport *report = reportOf(state);
    char cstyle[sizeof row->cstyle];
    utf8ToWinAnsi(cstyle, sizeof cstyle, row->cstyle, &report->loss);

    char line[LINE_TEXT_MAX + 1];
    std::size_t length = 0;
    const char *cursor = cstyle;
    for (std::int32_t i = 0; i < row->count; i++) {
        char piece[sizeof cstyle];
        cursor = getNextCFormat(piece, sizeof piece, cursor);
        length +=
            formatValue(report, line + length, LINE_TEXT_MAX - length, piece, &row->values[i]);
    }
    line[length++] = '\n';
    const int result = pdf_add_text_line(&report->document, {line, length});
    if (result == PDF_OK) return DUMP_OK;
    dmon_log(1, "Error writing to PDF stream (err=%d).\n", result);
    return DUMP_WRITE_FAILED;
}

int dumpPDFSectionHeader(void *state, const TemplateSection *section) {
    addBlankLines(state, section, section->top);
    return DUMP_OK;
}

int dumpPDFSectionFooter(void *state, const TemplateSection *section) {
    addBlankLines(state, section, section->bottom);
    return DUMP_OK;
}

int dumpPDFOutputStyle(void *state, const OutputStyle *style) {
    PdfDocument *doc = &reportOf(state)->document;
    if (style->fontFamily[0] != '\0') pdf_set_font_type(doc, style->fontFamily);
    if (style->fontSize >= 1) pdf_set_font_size(doc, style->fontSize);
    return DUMP_OK;
}
