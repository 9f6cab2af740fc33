// SPDX-License-Identifier: MIT
#include "report/clause_args.h"

#include "dmon/dmon.h"
#include "report/template_reader.h"
#include "storage/strings.h"

int refuseClauseArg(TemplateContext *ctx, ClauseMessage message, std::string_view name) {
    char text[TEMPLATE_TEXT_SIZE];
    copyPiece(text, name);
    // The text comes from a table of ours, checked when it was compiled; a message with one "%s"
    // leaves the name out.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    dmon_log(1, message.text, getTemplateLine(ctx), text);
#pragma GCC diagnostic pop
    return MERGE_TEMPLATE_ERROR;
}
