// SPDX-License-Identifier: MIT
#include "report/row_clause.h"

#include "report/clause_args.h"
#include "report/template_hints.h"
#include "storage/strings.h"

namespace {

int setCstyle(TemplateContext *, std::string_view value, ReportRow *row) {
    hintCut(value, sizeof row->cstyle, "cstyle");
    copyPiece(row->cstyle, value);
    return MERGE_OK;
}

constexpr ClauseArg<ReportRow> rowArgs[] = {
    {"cstyle", nullptr, setCstyle},
};

}  // namespace

int parseRowClause(TemplateContext *ctx, const TemplateTag *tag, ReportRow *row) {
    row->cstyle[0] = '\0';
    row->count = 0;  // each slot is cleared when it is taken
    return parseClauseArgs(ctx, tag, "row", rowArgs, row);
}
