// SPDX-License-Identifier: MIT
// What the template engine hands to an output back-end: rows, styles, section entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "vorn/plugin.h"

constexpr std::int32_t ROW_MAX_VALUES = 16;

// Room for a cstyle, and so for any piece of one.
constexpr std::size_t CFORMAT_SIZE = 64;

// The longest report. Nobody reads one of the kind, and a template of four lines must not fill the
// disk.
constexpr std::int32_t REPORT_MAX_BYTES = 256 * 1024 * 1024;

struct RowFormat;  // output/row_format.h

// One line of the report.
struct ReportRow {
    char cstyle[CFORMAT_SIZE];  // printf-style format: one conversion a value
    std::int32_t count;
    ItemValue values[ROW_MAX_VALUES];
    RowFormat *format = nullptr;  // where a back-end keeps the cstyle taken apart; may be null
};

// A css style; an empty family or a size below 1 leaves font or size as they are.
struct OutputStyle {
    char fontFamily[32];
    std::int32_t fontSize;  // points
};

// An open section of the template.
struct TemplateSection {
    char id[20];  // for log lines only
    std::uint8_t enabled;
    std::int32_t top;        // blank lines before the section
    std::int32_t bottom;     // blank lines after it
    std::int32_t dictLevel;  // dictionary level to go back to, or -1
};

// The value's number; its bytes need not be aligned: they may lie within an array register.
template <class Number>
Number loadNumber(const ItemValue *value) {
    Number number;
    std::memcpy(&number, value->data, sizeof number);
    return number;
}

// Releases what a value owns. It does not clear the value.
inline void releaseItemValue(const ItemValue *value) {
    if ((value->flags & VORN_VALUE_OWNED) != 0) std::free(value->data);
}
