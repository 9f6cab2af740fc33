// SPDX-License-Identifier: MIT
#include "report/report_clause.h"

#include "report/clause_args.h"
#include "report/dict_argument.h"

namespace {

int pushReportDicts(TemplateContext *ctx, std::string_view value, TemplateContext *) {
    const int level = parseDictSpec(ctx, value);
    return level < DICT_NOTHING_PUSHED ? level : MERGE_OK;
}

constexpr ClauseArg<TemplateContext> reportArgs[] = {
    {"dict", DICT_MISSING, pushReportDicts},
};

}  // namespace

int parseReportClause(TemplateContext *ctx, std::string_view args) {
    return parseClauseArgs(ctx, args, "report", reportArgs, ctx);
}
