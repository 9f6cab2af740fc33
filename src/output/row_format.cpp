// SPDX-License-Identifier: MIT
#include "output/row_format.h"

#include <algorithm>
#include <cstring>

#include "storage/strings.h"

void readRowFormat(RowFormat *format, const char *cstyle) {
    if (std::strcmp(format->cstyle, cstyle) == 0) return;
    copyPiece(format->cstyle, cstyle);
    format->count = countCFormatFields(format->cstyle);
    const char *cursor = format->cstyle;
    for (std::int32_t i = 0; i < std::min(format->count, ROW_MAX_VALUES); ++i) {
        RowPiece *piece = &format->pieces[i];
        piece->text = takeCFormatPiece(&cursor);
        piece->piece = readCFormatPiece(piece->text);
        piece->isText = isTextPiece(piece->text, &piece->piece);
    }
}
