// SPDX-License-Identifier: MIT
// Rows, blank lines and styles of a PDF report.
#include "output/pdf_output.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "base/guards.h"
#include "dmon/dmon.h"
#include "output/c_format.h"
#include "output/c_format_piece.h"
#include "output/dump_backend.h"
#include "output/row_format.h"
#include "output/row_hints.h"
#include "output/text_output.h"
#include "pdf/pdf_writer.h"
#include "pdf/win_ansi.h"
#include "results/report_findings.h"

namespace {

constexpr std::size_t LINE_TEXT_MAX = 254;
constexpr std::size_t FORMATTED_SIZE = VALUE_TEXT_SIZE + 4;  // of a value, before it is cut

// Bytes that the fonts' encoding leaves undefined stand for what it does not have, until it is
// known which of that is shown, as "?".
constexpr char LOST_IN_PIECE = '\x81';
constexpr char LOST_IN_VALUE = '\x8D';

// What stands in every report's document information.
constexpr PdfDocInfo REPORT_INFO = {
    "Norvel Systems", "Norvel Systems", "pdflib", "Measurement report", 0, 0, 0, 0};

// The state of the back-end.
struct PdfReport {
    PdfDocument document;
    WinAnsiLoss loss;  // of what is shown
};

PdfReport *reportOf(void *state) {
    return static_cast<PdfReport *>(state);
}

// One value and its piece of the cstyle in the fonts' encoding, and what they lost.
struct EncodedValue {
    char text[VALUE_TEXT_SIZE];  // of a string; more is never shown
    std::uint32_t code;          // of a character
    CFormatPiece piece;
    ItemValue value;
    WinAnsiLoss pieceLoss, valueLoss;
};

void encodeString(EncodedValue *encoded) {
    utf8ToWinAnsi(encoded->text, sizeof encoded->text,
                  static_cast<const char *>(encoded->value.data), LOST_IN_VALUE,
                  &encoded->valueLoss);
    encoded->value.data = encoded->text;
}

// Turns the character that %c or %lc prints, the same as in a text report, into a byte for %c.
void encodeCharacter(EncodedValue *encoded) {
    Conversion *conversion = &encoded->piece.conversion;
    auto code = loadNumber<std::uint32_t>(&encoded->value);
    if (!conversion->isWide()) code &= 0xFF;
    char byte = code == 0 ? '\0' : toWinAnsi(code);  // a NUL ends the text
    if (code != 0 && byte == '\0') {
        encoded->valueLoss = {1, code, false};
        byte = LOST_IN_VALUE;
    }
    conversion->letter = 'c';
    conversion->size = SIZE_32;
    encoded->code = static_cast<unsigned char>(byte);
    encoded->value.data = &encoded->code;
}

// Turns what is lost in a part of a line into "?" and counts it. Texts are cut at their end only,
// so that the first that is shown is the first that was lost.
void showLosses(char *text, std::size_t length, const EncodedValue *encoded, WinAnsiLoss *loss) {
    for (char *at = text; at != text + length; ++at) {
        if (*at != LOST_IN_PIECE && *at != LOST_IN_VALUE) continue;
        const std::uint32_t before = loss->count;
        if (before == 0) *loss = *at == LOST_IN_PIECE ? encoded->pieceLoss : encoded->valueLoss;
        loss->count = before + 1;
        *at = '?';
    }
}

// Formats one value by one piece of the cstyle, both turned into the fonts' encoding. Returns the
// number of characters, at most `room`.
std::size_t formatEncoded(PdfReport *report, char *out, std::size_t room, std::string_view piece,
                          const ItemValue *value) {
    char pieceText[CFORMAT_SIZE];
    EncodedValue encoded;
    encoded.value = *value;
    encoded.pieceLoss = encoded.valueLoss = {};
    const std::size_t pieceLength =
        utf8ToWinAnsi(pieceText, sizeof pieceText, piece, LOST_IN_PIECE, &encoded.pieceLoss);
    encoded.piece = readCFormatPiece({pieceText, pieceLength});
    const bool is32 = value->type == VORN_TYPE_UINT32 || value->type == VORN_TYPE_INT32;
    if (value->type == VORN_TYPE_STRING && value->data != nullptr) encodeString(&encoded);
    if (is32 && value->data != nullptr && encoded.piece.conversion.printsCharacter())
        encodeCharacter(&encoded);

    // The formatting cuts between UTF-8 characters. Here a byte is a character: cut afterwards.
    char formatted[FORMATTED_SIZE];
    if (value->type == VORN_TYPE_NONE)
        dumpTextFormatVal(formatted, sizeof formatted, pieceText, value);
    else
        printCFormatPiece(formatted, sizeof formatted - 1, CFORMAT_BYTES, &encoded.piece,
                          &encoded.value);
    const std::size_t length =
        std::string_view(formatted).copy(out, std::min(room, VALUE_TEXT_SIZE - 1));
    if (encoded.pieceLoss.count + encoded.valueLoss.count > 0)
        showLosses(out, length, &encoded, &report->loss);
    return length;
}

// Whether piece and value are in the fonts' encoding as they stand; most are.
bool needNoEncoding(const RowPiece *piece, const ItemValue *value) {
    if (!piece->isSameInWinAnsi || value->data == nullptr) return false;
    if (value->type == VORN_TYPE_STRING) {
        const std::string_view text = static_cast<const char *>(value->data);
        return text.size() < VALUE_TEXT_SIZE && isSameInWinAnsi(text);
    }
    return value->type != VORN_TYPE_NONE && !piece->piece.conversion.printsCharacter();
}

// Formats one value by one piece of the cstyle. Returns the number of characters, at most `room`.
//   out  has FORMATTED_SIZE bytes
std::size_t formatValue(PdfReport *report, char *out, std::size_t room, const RowPiece *piece,
                        const ItemValue *value) {
    if (!needNoEncoding(piece, value)) return formatEncoded(report, out, room, piece->text, value);
    const std::size_t length =
        printCFormatPiece(out, FORMATTED_SIZE - 1, CFORMAT_BYTES, &piece->piece, value);
    return std::min({length, room, VALUE_TEXT_SIZE - 1});
}

// A document that has failed takes no line, which ends the loop of a section with many.
void addBlankLines(void *state, const TemplateSection *section, std::int32_t count) {
    if (section->enabled != 1) return;
    PdfDocument *doc = &reportOf(state)->document;
    for (std::int32_t i = 0; i < count && pdf_add_text_line(doc, "\n") == PDF_OK;) ++i;
}

// The first that was lost, in words.
struct LostText {
    explicit LostText(const WinAnsiLoss *loss) {
        std::snprintf(text, sizeof text, loss->firstIsByte ? "byte 0x%02X" : "U+%04X", loss->first);
    }
    char text[16];
};

void logLoss(const WinAnsiLoss *loss) {
    if (loss->count == 0) return;
    tellFinding(TELL_FREE_WARNING, "PDF report: characters shown as '?': %u, the first is %s.",
                loss->count, LostText(loss).text);
}

// What a check looks for in a row.
void hintLine(PdfReport *report, const ReportRow *row, const RowFormat *format,
              std::string_view line) {
    hintConversions(row, format);
    hintPdfLine(&report->document, line, LINE_TEXT_MAX);
    const WinAnsiLoss *loss = &report->loss;
    if (loss->count > 0)
        tellHint("in a PDF characters of the row are shown as '?', the first is %s.",
                 LostText(loss).text);
    report->loss = {};
}

// Whether a code is said, which is for the log alone.
bool logsCodes() {
    return reportSink == nullptr;
}

// Says what a code means. Without a report there was no memory for it.
void tellReason(const PdfReport *report, int result) {
    tellFinding(TELL_FREE_ERROR, "PDF report: %s.",
                report != nullptr ? pdfReason(&report->document.out, result) : "no memory");
}

}  // namespace

int dumpPDFInit(void **state, std::FILE *stream) {
    HeapGuard<PdfReport> report(static_cast<PdfReport *>(std::calloc(1, sizeof(PdfReport))));
    const int result =
        report ? pdf_begin(&report->document, &REPORT_INFO, stream) : int{PDF_NO_MEMORY};
    if (result != PDF_OK) {
        if (logsCodes()) dmon_log(1, "Error creating PDF output (err=%d).\n", result);
        tellReason(report.get(), result);
        return DUMP_NO_DOCUMENT;
    }
    report->document.out.limit = REPORT_MAX_BYTES;
    *state = report.release();
    return DUMP_OK;
}

int dumpPDFFree(void *state) {
    const HeapGuard<PdfReport> report(reportOf(state));
    logLoss(&report->loss);
    const int result = pdf_end(&report->document);
    if (result == PDF_OK) return DUMP_OK;
    if (logsCodes()) dmon_log(1, "Error closing PDF output (err=%d).\n", result);
    tellReason(report.get(), result);
    return DUMP_NO_DOCUMENT;
}

int dumpPDFRow(void *state, const ReportRow *row) {
    RowFormat unkept;
    const RowFormat *format = readRowFormat(row, &unkept);
    if (format == nullptr) return DUMP_ROW_MISMATCH;
    PdfReport *report = reportOf(state);
    // By one character more a check sees what is cut.
    const std::size_t room = LINE_TEXT_MAX + (wantsHints() ? 1 : 0);
    char line[LINE_TEXT_MAX + 1 + FORMATTED_SIZE];
    std::size_t length = 0;
    for (std::int32_t i = 0; i < row->count; ++i)
        length +=
            formatValue(report, line + length, room - length, &format->pieces[i], &row->values[i]);
    if (wantsHints()) hintLine(report, row, format, {line, length});
    length = std::min(length, LINE_TEXT_MAX);
    line[length++] = '\n';
    const int result = pdf_add_text_line(&report->document, {line, length});
    if (result == PDF_OK) return DUMP_OK;
    if (logsCodes()) dmon_log(1, "Error writing to PDF stream (err=%d).\n", result);
    tellReason(report, result);
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
