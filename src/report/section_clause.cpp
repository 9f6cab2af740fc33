// SPDX-License-Identifier: MIT
#include "report/section_clause.h"

#include <strings.h>

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/dict_argument.h"
#include "report/evaluate.h"
#include "report/template_hints.h"
#include "report/template_place.h"
#include "storage/strings.h"

namespace {

int setId(TemplateContext *, std::string_view value, TemplateSection *section) {
    hintCut(value, sizeof section->id, "the section's id");
    copyPiece(section->id, value);
    return MERGE_OK;
}

int setEnabledBy(TemplateContext *ctx, std::string_view value, TemplateSection *section) {
    return evalTemplateBool(ctx, value.data(), &section->enabled);
}

int setEnabled(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->enabled = strcasecmp(value.data(), "yes") == 0 ? 1 : 0;
    if (section->enabled == 0 && strcasecmp(value.data(), "no") != 0)
        tellHint("'enabled=%s' counts as no.", value.data());
    return MERGE_OK;
}

int setTop(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->top = toInt32(value);
    hintNumber(value, section->top);
    return MERGE_OK;
}

int setBottom(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->bottom = toInt32(value);
    hintNumber(value, section->bottom);
    return MERGE_OK;
}

int pushDicts(TemplateContext *ctx, std::string_view value, TemplateSection *section) {
    const int level = parseDictSpec(ctx, value);
    if (level < DICT_NOTHING_PUSHED) return level;
    if (section->dictLevel == DICT_NOTHING_PUSHED) section->dictLevel = level;
    return MERGE_OK;
}

constexpr ClauseArg<TemplateSection> sectionArgs[] = {
    {"id", "missing section 'id' in template.", setId},
    {"enabled-by", "missing application item in 'enabled-by' argument.", setEnabledBy},
    {"enabled", "missing boolean in 'enabled' argument.", setEnabled},
    {"top", "missing line count in 'top' argument.", setTop},
    {"bottom", "missing line count in 'bottom' argument.", setBottom},
    {"dict", DICT_MISSING, pushDicts},
};

bool inDisabledSection(const TemplateContext *ctx) {
    return ctx->sectionLevel > 0 && ctx->sections[ctx->sectionLevel - 1].enabled == 0;
}

}  // namespace

int parseSectionClause(TemplateContext *ctx, std::string_view args, TemplateSection *section) {
    *section = TemplateSection{
        .id = "", .enabled = 1, .top = 1, .bottom = 1, .dictLevel = DICT_NOTHING_PUSHED};
    return parseClauseArgs(ctx, args, "section", sectionArgs, section);
}

int pushSection(TemplateContext *ctx, std::string_view args) {
    if (ctx->sectionLevel == TEMPLATE_MAX_SECTIONS)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "too many nested 'section' clauses.");
    const std::int32_t level = ctx->sectionLevel;
    TemplateSection *section = &ctx->sections[level];
    int result = MERGE_OK;
    if (inDisabledSection(ctx)) {
        *section = TemplateSection{
            .id = "", .enabled = 0, .top = 0, .bottom = 0, .dictLevel = DICT_NOTHING_PUSHED};
    } else {
        if (parseSectionClause(ctx, args, section) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
        result = reportOutput(ctx, dumpSectionHeader(&ctx->backend, section));
    }
    dmon_log(3, "Push section '%s' at level %d.\n", section->id, level);
    ctx->sectionPlaces[level] = currentPlace(ctx);
    ctx->state = section->enabled != 0 ? INSIDE_SECTION : INSIDE_DISABLED;
    ++ctx->sectionLevel;
    return result;
}

int popSection(TemplateContext *ctx) {
    if (ctx->sectionLevel == 0)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "not in a 'section' clause.");
    --ctx->sectionLevel;
    const TemplateSection *section = &ctx->sections[ctx->sectionLevel];
    const int result = reportOutput(ctx, dumpSectionFooter(&ctx->backend, section));
    if (ctx->sectionLevel == 0)
        ctx->state = INSIDE_REPORT;
    else if (ctx->state == INSIDE_DISABLED && !inDisabledSection(ctx))
        ctx->state = INSIDE_SECTION;
    if (section->dictLevel >= 0) dictResolvPop(&ctx->dict, section->dictLevel);
    dmon_log(3, "Pop section '%s' at level %d.\n", section->id, ctx->sectionLevel);
    return result;
}
