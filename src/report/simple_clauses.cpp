// SPDX-License-Identifier: MIT
#include "report/simple_clauses.h"

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/sections.h"
#include "report/template_reader.h"
#include "storage/strings.h"

namespace {

int pushReportDicts(TemplateContext *ctx, std::string_view value, TemplateContext *) {
    const int level = parseDictSpec(ctx, value);
    return level < -1 ? level : MERGE_OK;  // -1: nothing was pushed, which is no error
}

constexpr ClauseArg<TemplateContext> reportArgs[] = {
    {"dict", "Error in %s: missing dictionary specification in 'dict' argument.\n",
     pushReportDicts},
};

constexpr ClauseArg<OutputStyle> cssArgs[] = {
    {"style", "Error in %s: missing 'style' value in template.\n", parseCssStyle},
};

int setCstyle(TemplateContext *, std::string_view value, ReportRow *row) {
    copyPiece(row->cstyle, value);
    return MERGE_OK;
}

constexpr ClauseArg<ReportRow> rowArgs[] = {
    {"cstyle", nullptr, setCstyle},
};

}  // namespace

int parseReportClause(TemplateContext *ctx, std::string_view args) {
    return parseClauseArgs(ctx, args, reportArgs,
                           "Error in %s: unknown argument '%s' in 'report' clause.\n", ctx);
}

int parseCssClause(TemplateContext *ctx, std::string_view args, OutputStyle *style) {
    *style = OutputStyle{};
    return parseClauseArgs(ctx, args, cssArgs,
                           "Error in %s: unknown argument '%s' in 'css' clause.\n", style);
}

int parseCssStyle(TemplateContext *ctx, std::string_view rest, OutputStyle *style) {
    for (;;) {
        const std::string_view property = takeWord(&rest, " :;");
        if (property.empty()) return MERGE_OK;
        const std::string_view value = takeWord(&rest, " :;");
        if (property == "font-family") {
            if (!value.empty()) copyPiece(style->fontFamily, value);
        } else if (property == "font-size") {
            if (!value.empty()) style->fontSize = toInt32(value);
        } else if (property != "font-weight") {
            dmon_log(1, "Error in %s: unknown style argument '%.*s' in css clause.\n",
                     getTemplateLine(ctx), static_cast<int>(property.size()), property.data());
            return MERGE_TEMPLATE_ERROR;
        }
    }
}

int parseRowClause(TemplateContext *ctx, const TemplateTag *tag, ReportRow *row) {
    row->cstyle[0] = '\0';
    row->count = 0;  // each slot is cleared when it is taken
    return parseClauseArgs(ctx, tag, rowArgs,
                           "Error in %s: unknown argument '%s' in 'row' clause.\n", row);
}
