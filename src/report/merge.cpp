// SPDX-License-Identifier: MIT
#include "report/merge.h"

#include <cstdlib>
#include <span>
#include <string_view>

#include "core/options.h"
#include "dmon/dmon.h"
#include "output/dump_backend.h"
#include "output/row_format.h"
#include "report/include_clause.h"
#include "report/iterations.h"
#include "report/plugins.h"
#include "report/row_values.h"
#include "report/sections.h"
#include "report/simple_clauses.h"
#include "report/template_context.h"
#include "report/template_reader.h"
#include "results/dict_resolver.h"
#include "storage/files.h"
#include "storage/strings.h"
#include "util/guards.h"

namespace {

struct Merge {
    TemplateContext ctx;
    OutputStyle style;
    ReportRow row;
    RowFormat rowFormat;
    ValueClause clause;
    KvStore *userVars;
};

// Logs that the back-end refused something; passes its code on.
int reportOutput(TemplateContext *ctx, int result) {
    if (result != DUMP_OK)
        dmon_log(1, "Error in template %s: Could not format output.\n", getTemplateLine(ctx));
    return result;
}

int onReport(Merge *merge, const TemplateTag *tag) {
    if (parseReportClause(&merge->ctx, tag->args) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->ctx.state = MERGE_REPORT;
    return MERGE_OK;
}

int onReportEnd(Merge *merge, const TemplateTag *) {
    merge->ctx.state = MERGE_OUTSIDE;
    return MERGE_OK;
}

int onInclude(Merge *merge, const TemplateTag *tag) {
    return includeTemplate(&merge->ctx, tag->args);
}

int onSection(Merge *merge, const TemplateTag *tag) {
    return pushSection(&merge->ctx, tag->args);
}

int onSectionEnd(Merge *merge, const TemplateTag *) {
    return popSection(&merge->ctx);
}

int onCss(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    if (parseCssClause(ctx, tag->args, &merge->style) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    return reportOutput(ctx, dumpOutputStyle(&ctx->backend, &merge->style));
}

int onPlugin(Merge *merge, const TemplateTag *tag) {
    return declarePlugin(&merge->ctx, tag->args) == MERGE_OK ? MERGE_OK : MERGE_TEMPLATE_ERROR;
}

int onIterate(Merge *merge, const TemplateTag *tag) {
    return beginIteration(&merge->ctx, tag->args);
}

int onIterateEnd(Merge *merge, const TemplateTag *) {
    const int result = nextIteration(&merge->ctx);
    if (result == ITERATION_AGAIN) return MERGE_OK;
    return result == ITERATION_OVER ? popIteration(&merge->ctx) : result;
}

int onSkippedIterateEnd(Merge *merge, const TemplateTag *) {
    return popIteration(&merge->ctx);
}

int onRow(Merge *merge, const TemplateTag *tag) {
    if (parseRowClause(&merge->ctx, tag, &merge->row) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->ctx.rowPlace = currentPlace(&merge->ctx);
    merge->ctx.state = MERGE_ROW;
    return MERGE_OK;
}

int onRowEnd(Merge *merge, const TemplateTag *) {
    TemplateContext *ctx = &merge->ctx;
    const int result = reportOutput(ctx, dumpRow(&ctx->backend, &merge->row));
    releaseRowValues(&merge->row);
    ctx->rowPlace = {};
    ctx->state = ctx->sectionLevel == 0 ? MERGE_REPORT : MERGE_SECTION;
    return result;
}

int onValue(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    if (parseValueClause(ctx, tag, &merge->clause) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    const int result = addRowValue(ctx, &merge->row, &merge->clause, merge->userVars);
    if (result == MERGE_OK) ctx->state = MERGE_VALUE;
    return result;
}

int onValueEnd(Merge *merge, const TemplateTag *) {
    merge->ctx.state = MERGE_ROW;
    return MERGE_OK;
}

int warnNestedReport(Merge *merge, const TemplateTag *) {
    dmon_log(1, "Warning in template %s: nested 'report' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

int warnNestedRow(Merge *merge, const TemplateTag *) {
    dmon_log(1, "Warning in template %s: nested 'row' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

int warnNestedValue(Merge *merge, const TemplateTag *) {
    dmon_log(1, "Warning in template %s: nested 'value' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

// A clause that counts in some state; what it returns becomes the merge's result.
struct Clause {
    ClauseName name;
    int (*act)(Merge *merge, const TemplateTag *tag);
};

constexpr Clause outsideClauses[] = {
    {CLAUSE_REPORT, onReport},
    {CLAUSE_INCLUDE, onInclude},
};
constexpr Clause reportClauses[] = {
    {CLAUSE_ROW, onRow},
    {CLAUSE_SECTION, onSection},
    {CLAUSE_REPORT_END, onReportEnd},
    {CLAUSE_CSS, onCss},
    {CLAUSE_PLUGIN, onPlugin},
    {CLAUSE_INCLUDE, onInclude},
    {CLAUSE_ITERATE, onIterate},
    {CLAUSE_ITERATE_END, onIterateEnd},
    {CLAUSE_REPORT, warnNestedReport},
    {CLAUSE_SECTION_END, onSectionEnd},  // refused: none is open
};
constexpr Clause sectionClauses[] = {
    {CLAUSE_ROW, onRow},
    {CLAUSE_ITERATE_END, onIterateEnd},
    {CLAUSE_SECTION_END, onSectionEnd},
    {CLAUSE_SECTION, onSection},
    {CLAUSE_CSS, onCss},
    {CLAUSE_INCLUDE, onInclude},
    {CLAUSE_ITERATE, onIterate},
    {CLAUSE_PLUGIN, onPlugin},
};
constexpr Clause rowClauses[] = {
    {CLAUSE_VALUE, onValue},     {CLAUSE_ROW_END, onRowEnd},         {CLAUSE_INCLUDE, onInclude},
    {CLAUSE_ITERATE, onIterate}, {CLAUSE_ITERATE_END, onIterateEnd}, {CLAUSE_ROW, warnNestedRow},
};
constexpr Clause valueClauses[] = {
    {CLAUSE_VALUE_END, onValueEnd},  {CLAUSE_INCLUDE, onInclude},
    {CLAUSE_ITERATE, onIterate},     {CLAUSE_ITERATE_END, onIterateEnd},
    {CLAUSE_VALUE, warnNestedValue},
};
constexpr Clause disabledClauses[] = {
    {CLAUSE_SECTION, onSection},
    {CLAUSE_SECTION_END, onSectionEnd},
};
constexpr Clause skippedClauses[] = {
    {CLAUSE_ITERATE, onIterate},
    {CLAUSE_ITERATE_END, onSkippedIterateEnd},
};

constexpr std::span<const Clause> clausesByState[] = {
    outsideClauses, reportClauses,   sectionClauses, rowClauses,
    valueClauses,   disabledClauses, skippedClauses,
};
static_assert(std::size(clausesByState) == MERGE_STATE_COUNT);

constexpr bool eachStateNamesAClauseOnce() {
    for (const std::span<const Clause> clauses : clausesByState)
        for (const Clause &a : clauses)
            for (const Clause &b : clauses)
                if (&a != &b && a.name == b.name) return false;
    return true;
}
static_assert(eachStateNamesAClauseOnce());

// Acts on one tag. One that the state does not know is passed over: templates may carry comments
// and tags of other programs.
int interpretTag(Merge *merge, const TemplateTag *tag) {
    for (const Clause &clause : clausesByState[merge->ctx.state])
        if (clause.name == tag->clause) return clause.act(merge, tag);
    return MERGE_OK;
}

// Reads tag after tag, file after file, until the template ends or a clause fails.
int interpretTemplate(Merge *merge) {
    TemplateContext *ctx = &merge->ctx;
    int result = MERGE_OK;
    while (result == MERGE_OK && ctx->fileDepth > 0) {
        if (nextTemplateTag(ctx).data() != nullptr)
            result = interpretTag(merge, ctx->tag);
        else
            popTemplateFile(ctx);
        if (result == MERGE_OK && ctx->readFailed) result = MERGE_TEMPLATE_ERROR;
    }
    return result;
}

constexpr std::size_t OPEN_ITEM_SIZE = TEMPLATE_PATH_SIZE + 48;  // "iterate (path:line), "
using OpenList = char[(TEMPLATE_MAX_SECTIONS + TEMPLATE_MAX_ITERATIONS + 1) * OPEN_ITEM_SIZE];

// Adds "name (place)" to a list of what is still open.
void listOpen(OpenList &list, const char *what, const TemplatePlace *place) {
    char item[OPEN_ITEM_SIZE];
    std::snprintf(item, sizeof item, "%s%s (%s:%d)", list[0] != '\0' ? ", " : "", what, place->path,
                  place->lineNo);
    safe_strncat(list, item, sizeof list);
}

void warnUnclosed(const TemplateContext *ctx) {
    OpenList list = "";
    for (std::int32_t i = 0; i < ctx->sectionLevel; ++i)
        listOpen(list, "section", &ctx->sectionPlaces[i]);
    for (std::int32_t i = 0; i < ctx->iterDepth; ++i)
        listOpen(list, "iterate", &ctx->iterationPlaces[i]);
    if (ctx->rowPlace.path[0] != '\0') listOpen(list, "row", &ctx->rowPlace);
    if (list[0] != '\0') dmon_log(2, "Warning: template ends with open clauses: %s.\n", list);
}

// Everything of a merge after its files are open and the back-end is ready.
int runMerge(Merge *merge, const char *dictName) {
    TemplateContext *ctx = &merge->ctx;
    // The encoding of the PDF fonts lacks the letters of many languages: those reports are in
    // English.
    const char *lang = ctx->backend.format == RPT_FMT_PDF ? "en" : nullptr;
    dictResolvCreate(&ctx->dict, dictName, lang, opt_dflt_lang_id);

    const int result = interpretTemplate(merge);
    if (result == MERGE_OK) warnUnclosed(ctx);
    dmon_log(2, "Template merged (ret: %d).\n", result);

    releaseRowValues(&merge->row);
    const int finished = dumpFree(&ctx->backend);
    unloadPlugins(ctx);
    dictResolvFree(&ctx->dict);
    return result != MERGE_OK ? result : finished;
}

}  // namespace

int mergeTemplate(const Results *results, std::FILE *templateFile, std::FILE *report,
                  const char *templatePath, std::uint32_t format, KvStore *userVars,
                  const char *dictName, const char *reportName) {
    // Some 70 KiB: too much for the small stacks of other people's threads.
    const HeapGuard<Merge> merge(static_cast<Merge *>(std::calloc(1, sizeof(Merge))));
    if (!merge) {
        dmon_log(1, "Error: no memory to merge template '%s'.\n", templatePath);
        return MERGE_TEMPLATE_ERROR;
    }
    TemplateContext *ctx = &merge->ctx;
    ctx->results = results;
    ctx->reportName = reportName;
    merge->userVars = userVars;
    merge->row.format = &merge->rowFormat;

    IncludeSpec spec{};
    copyPath(spec.file, sizeof spec.file, templatePath);
    int result = pushTemplateFile(ctx, &spec, templateFile);
    if (result == MERGE_OK) result = dumpInit(&ctx->backend, report, format);
    if (result == MERGE_OK) result = runMerge(merge.get(), dictName);
    while (ctx->fileDepth > 0) popTemplateFile(ctx);
    return result;
}
