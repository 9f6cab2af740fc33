// SPDX-License-Identifier: MIT
// Takes the value of a value clause from one of five sources into a row, translates and converts
// it.
#pragma once

#include "report/template_context.h"
#include "report/value_clause.h"

// Adds the clause's value to the row. MERGE_OK, or a negative code after a message; a literal text
// that fails is reported and MERGE_OK all the same.
//   text  the literal text, of a clause without a source; null: nothing is added
int addRowValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause, KvStore *userVars,
                const char *text);

// Adds a text, expanded, and translated when the clause says so. MERGE_OK, MERGE_TEMPLATE_ERROR
// (the row then holds a text without data) or MERGE_TOO_MANY_VALUES. addRowValue calls it with
// literal texts, addUserVarValue with those of variables.
int addTextValue(TemplateContext *ctx, ReportRow *row, const char *text, const ValueClause *clause);

// Add the value of one source, for addRowValue. MERGE_OK or a negative code after a message.
int addLinkValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause);
int addGlobalValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause);
int addUserVarValue(TemplateContext *ctx, ReportRow *row, KvStore *userVars,
                    const ValueClause *clause);
int addPluginValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause);

// Applies the clause's conversion to a value in place, before it joins the row. CONV_OK, or
// CONV_BAD_TYPE after a message. Called by the sources above.
int applyDataConversions(TemplateContext *ctx, const ValueClause *clause, ItemValue *value);

// Releases the row's values and empties it.
void releaseRowValues(ReportRow *row);
