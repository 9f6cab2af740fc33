// SPDX-License-Identifier: MIT
#include "output/row_format.h"

#include <algorithm>
#include <cstring>

#include "pdf/win_ansi.h"
#include "results/report_findings.h"
#include "storage/strings.h"

namespace {

void readCstyle(RowFormat *format, const char *cstyle) {
    copyPiece(format->cstyle, cstyle);
    format->count = countCFormatFields(format->cstyle);
    const char *cursor = format->cstyle;
    for (std::int32_t i = 0; i < std::min(format->count, ROW_MAX_VALUES); ++i) {
        RowPiece *piece = &format->pieces[i];
        piece->text = takeCFormatPiece(&cursor);
        piece->piece = readCFormatPiece(piece->text);
        piece->isText = isTextPiece(piece->text, &piece->piece);
        piece->isSameInWinAnsi = isSameInWinAnsi(piece->text);
    }
}

}  // namespace

const RowFormat *readRowFormat(const ReportRow *row, RowFormat *unkept) {
    RowFormat *format = row->format;
    if (format == nullptr) {
        format = unkept;
        format->cstyle[0] = '\0';
        format->count = 0;
    }
    if (std::strcmp(format->cstyle, row->cstyle) != 0) readCstyle(format, row->cstyle);
    if (format->count == row->count) return format;
    tellFinding(TELL_CAUSE, "number of values in row doesn't match 'cstyle' arguments.");
    tellHiddenCause("values: %d, conversions: %d", row->count, format->count);
    return nullptr;
}
