// SPDX-License-Identifier: MIT
#include "output/row_hints.h"

#include <algorithm>
#include <iterator>

#include "output/c_format.h"
#include "results/report_findings.h"

namespace {

// Letters of conversions that print a type as it is, by VORN_TYPE_...
struct TypeLetters {
    const char *name;
    std::string_view letters;
};
constexpr TypeLetters typeLetters[] = {
    {"none", ""},          {"string", "sS"},      {"UINT32", "diouxXc"}, {"INT32", "dioxXc"},
    {"UINT64", "diouxXc"}, {"FLOAT", "eEfFgGaA"}, {"DOUBLE", "eEfFgGaA"}};
static_assert(std::size(typeLetters) == VORN_TYPE_DOUBLE + 1);

bool fits(const Conversion *conversion, std::uint32_t type) {
    if (type == VORN_TYPE_NONE || type > VORN_TYPE_DOUBLE) return true;
    if (typeLetters[type].letters.find(conversion->letter) == std::string_view::npos) return false;
    if (type == VORN_TYPE_UINT64) return conversion->size != SIZE_32;
    if (type == VORN_TYPE_UINT32 || type == VORN_TYPE_INT32) return conversion->size != SIZE_64;
    return true;
}

std::size_t countCharacters(const char *text) {
    return static_cast<std::size_t>(std::count_if(text, text + std::string_view(text).size(),
                                                  [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

void hintRow(const ReportRow *row, const RowFormat *format) {
    for (std::int32_t i = 0; i < row->count; ++i) {
        const ItemValue *value = &row->values[i];
        const CFormatPiece *piece = &format->pieces[i].piece;
        if (!fits(&piece->conversion, value->type))
            tellHint("value %d is a %s, which its conversion '%%%c' does not fit.", i + 1,
                     typeLetters[value->type].name, piece->conversion.letter);
        if (value->type == VORN_TYPE_STRING && value->data != nullptr &&
            countCharacters(static_cast<const char *>(value->data)) > CFORMAT_MAX_STRING)
            tellHint("value %d is cut to %zu characters.", i + 1, CFORMAT_MAX_STRING);
        if (piece->conversion.width > 127)
            tellHint("value %d is wider than 127 characters and is cut there.", i + 1);
    }
}

void hintPdfLine(const PdfDocument *doc, std::string_view line) {
    constexpr std::int32_t PITCH_TENTHS = 6;  // a column of Courier has 0.6 of the font's size
    line = line.substr(0, line.find_last_not_of(" \n") + 1);
    if (!std::string_view(doc->fonts[doc->currentFont]).starts_with("Courier")) return;
    const std::int32_t room = doc->info.pageWidth - doc->info.marginLeft;
    const std::int32_t columns = room * 10 / (PITCH_TENTHS * std::max(doc->fontSize, 1));
    if (line.size() > static_cast<std::size_t>(std::max(columns, 0)))
        tellHint("in a PDF the row leaves the page from column %d on.", columns + 1);
}
