// SPDX-License-Identifier: MIT
#include "report/value_clause.h"

#include "report/clause_args.h"
#include "report/template_hints.h"
#include "storage/strings.h"

namespace {

template <ValueSource SOURCE>
int setSource(TemplateContext *, std::string_view value, ValueClause *clause) {
    clause->source = SOURCE;
    hintCut(value, sizeof clause->sourceText, "the value's source");
    copyPiece(clause->sourceText, value);
    return MERGE_OK;
}

int setConversion(TemplateContext *ctx, std::string_view value, ValueClause *clause) {
    std::string_view argument;
    const std::uint8_t kind = findConversion(value, &argument);
    if (kind == CONV_NONE)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "unknown conversion type '%s' in template.",
                             value.data());
    clause->convType = kind;
    hintCut(argument, sizeof clause->convArg, "the conversion's argument");
    copyPiece(clause->convArg, argument);
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
