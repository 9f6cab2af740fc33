// SPDX-License-Identifier: MIT
#include "report/value_clause.h"

#include <algorithm>

#include "output/conversions.h"
#include "report/clause_args.h"
#include "storage/strings.h"

namespace {

template <ValueSource SOURCE>
int setSource(TemplateContext *, std::string_view value, ValueClause *clause) {
    clause->source = SOURCE;
    copyPiece(clause->sourceText, value);
    return MERGE_OK;
}

// Conversion names in the order in which they are tried.
struct ConversionName {
    std::string_view name;
    bool whole;     // the value is the name; else it only begins with it
    bool argument;  // takes an argument in parentheses
    ConversionKind kind;
};
constexpr ConversionName conversionNames[] = {
    {"dateTime", true, false, CONV_DATE_TIME},     {"time", true, false, CONV_TIME},
    {"bitmap", false, true, CONV_BITMAP},          {"units", false, true, CONV_UNITS},
    {"mac-addr", false, false, CONV_MAC_ADDR},     {"ipv4-addr", false, false, CONV_IPV4_ADDR},
    {"arrayFloat", true, false, CONV_ARRAY_FLOAT},
};

int setConversion(TemplateContext *ctx, std::string_view value, ValueClause *clause) {
    const auto *known = std::find_if(
        std::begin(conversionNames), std::end(conversionNames), [value](const ConversionName &row) {
            return row.whole ? value == row.name : value.starts_with(row.name);
        });
    if (known == std::end(conversionNames))
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "unknown conversion type '%s' in template.",
                             value.data());
    clause->convType = known->kind;
    if (known->argument) {
        const std::size_t open = value.find('(');
        const std::string_view argument =
            open != std::string_view::npos ? value.substr(open + 1) : std::string_view();
        copyPiece(clause->convArg, argument.substr(0, argument.find(')')));
    }
    return MERGE_OK;
}

int setDict(TemplateContext *, std::string_view, ValueClause *clause) {
    clause->flags |= VALUE_USE_DICT;
    return MERGE_OK;
}

constexpr ClauseArg<ValueClause> valueArgs[] = {
    {"link", "missing 'link' value in template.", setSource<SOURCE_LINK>},
    {"global", "missing 'global' value in template.", setSource<SOURCE_GLOBAL>},
    {"var", "missing 'var' value in template.", setSource<SOURCE_VAR>},
    {"plugin", "missing 'plugin' value in template.", setSource<SOURCE_PLUGIN>},
    {"conv", "missing 'type' value in template.", setConversion},
    {"dict", nullptr, setDict},
};

}  // namespace

int parseValueClause(TemplateContext *ctx, const TemplateTag *tag, ValueClause *clause) {
    // Field by field: the texts are long, and what stands behind their NUL does not count.
    clause->convType = CONV_NONE;
    clause->convArg[0] = '\0';
    clause->source = SOURCE_TEXT;
    clause->flags = 0;
    clause->sourceText[0] = '\0';
    return parseClauseArgs(ctx, tag, "value", valueArgs, clause);
}
