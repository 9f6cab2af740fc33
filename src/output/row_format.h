// SPDX-License-Identifier: MIT
// A row's cstyle taken apart into one piece a value. Rows of a loop have the same cstyle: the
// record is kept from one to the next.
#pragma once

#include <cstdint>
#include <string_view>

#include "output/c_format.h"
#include "output/c_format_piece.h"
#include "output/report_records.h"

struct RowPiece {
    std::string_view text;  // of RowFormat.cstyle
    CFormatPiece piece;
    bool isText;           // a "%s": prints texts as it stands
    bool isSameInWinAnsi;  // of pdf/win_ansi.h
};

// All zero, it is that of the empty cstyle.
struct RowFormat {
    char cstyle[CFORMAT_SIZE];
    std::int32_t count;               // conversions, which may be more than values fit in a row
    RowPiece pieces[ROW_MAX_VALUES];  // of the first conversions
};

// Takes the cstyle of a row that is to be written apart, unless the row's own record holds it
// already. `unkept` is used for a row that has none. Null, after a message, when it has more or
// fewer conversions than the row has values.
const RowFormat *readRowFormat(const ReportRow *row, RowFormat *unkept);
