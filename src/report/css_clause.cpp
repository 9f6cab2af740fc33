// SPDX-License-Identifier: MIT
#include "report/css_clause.h"

#include "report/clause_args.h"
#include "report/template_hints.h"
#include "storage/strings.h"

namespace {

constexpr ClauseArg<OutputStyle> cssArgs[] = {
    {"style", "missing 'style' value in template.", parseCssStyle},
};

}  // namespace

int parseCssClause(TemplateContext *ctx, std::string_view args, OutputStyle *style) {
    *style = OutputStyle{};
    return parseClauseArgs(ctx, args, "css", cssArgs, style);
}

int parseCssStyle(TemplateContext *ctx, std::string_view rest, OutputStyle *style) {
    int result = MERGE_OK;
    for (;;) {
        const std::string_view property = takeWord(&rest, " :;");
        if (property.empty()) return result;
        const std::string_view value = takeWord(&rest, " :;");
        if (property == "font-family") {
            if (!value.empty()) copyPiece(style->fontFamily, value);
            hintCut(value, sizeof style->fontFamily, "the font's name");
        } else if (property == "font-size") {
            if (!value.empty()) style->fontSize = toInt32(value);
            if (style->fontSize < 1) hintNoEffect("font-size", value);
        } else if (property == "font-weight") {
            hintNoEffect(property, value);
        } else {
            result = templateError(ctx, MERGE_TEMPLATE_ERROR,
                                   "unknown style argument '%.*s' in css clause.",
                                   static_cast<int>(property.size()), property.data());
            if (!readsOn()) return result;
        }
    }
}
