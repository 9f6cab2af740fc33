// SPDX-License-Identifier: MIT
#include "output/row_hints.h"

#include <algorithm>
#include <iterator>

#include "base/utf8_text.h"
#include "output/c_format.h"
#include "output/text_output.h"
#include "pdf/font_widths.h"
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
    if (conversion->letter == '\0') return false;  // it is not one of printf's
    if (type == VORN_TYPE_NONE || type > VORN_TYPE_DOUBLE) return true;
    if (typeLetters[type].letters.find(conversion->letter) == std::string_view::npos) return false;
    if (type == VORN_TYPE_UINT64) return conversion->size != SIZE_32;
    if (type == VORN_TYPE_UINT32 || type == VORN_TYPE_INT32) return conversion->size != SIZE_64;
    return true;
}

std::size_t countCharacters(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

}  // namespace

void hintConversions(const ReportRow *row, const RowFormat *format) {
    for (std::int32_t i = 0; i < row->count; ++i) {
        const Conversion *conversion = &format->pieces[i].piece.conversion;
        const std::uint32_t type = row->values[i].type;
        if (fits(conversion, type)) continue;
        if (conversion->letter == '\0')
            tellHint("no conversion that prints stands behind the '%%' of value %d.", i + 1);
        else
            tellHint("value %d is a %s, which its conversion '%%%s%c' does not fit.", i + 1,
                     typeLetters[type].name, conversion->size == SIZE_64 ? "ll" : "",
                     conversion->letter);
    }
}

void hintCutValue(std::int32_t index, const ItemValue *value, std::string_view printed) {
    constexpr std::size_t MOST = VALUE_TEXT_SIZE - 1;
    const bool isText = value->type == VORN_TYPE_STRING && value->data != nullptr;
    if (isText && countCharacters(static_cast<const char *>(value->data)) > CFORMAT_MAX_STRING)
        tellHint("value %d is cut to %zu characters.", index + 1, CFORMAT_MAX_STRING);
    if (countCharacters(printed) > MOST)
        tellHint("value %d is cut to %zu characters with the text around it.", index + 1, MOST);
}

void hintPdfLine(const PdfDocument *doc, std::string_view line, std::size_t room) {
    if (line.size() > room) tellHint("in a PDF the row is cut to %zu characters.", room);
    line = line.substr(0, room);
    line = line.substr(0, line.find_last_not_of(' ') + 1);
    const std::size_t fitting = countFitting(doc->fonts[doc->currentFont], doc->fontSize,
                                             doc->info.pageWidth - doc->info.marginLeft, line);
    if (fitting < line.size())
        tellHint("in a PDF the row leaves the page from column %zu on.", fitting + 1);
}
