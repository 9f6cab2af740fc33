// SPDX-License-Identifier: MIT
#include "report/merge.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <string_view>

#include "core/options.h"
#include "dmon/dmon.h"
#include "output/dump_backend.h"
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
    ValueClause clause;
    KvStore *userVars;
};

// Logs that the back-end refused something; passes its code on.
int reportOutput(TemplateContext *ctx, int result) {
    if (result != DUMP_OK)
        dmon_log(1, "Error in template %s: Could not format output.\n", getTemplateLine(ctx));
    return result;
}

int onReport(Merge *merge, std::string_view args) {
    if (parseReportClause(&merge->ctx, args) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->ctx.state = MERGE_REPORT;
    return MERGE_OK;
}

int onReportEnd(Merge *merge, std::string_view) {
    merge->ctx.state = MERGE_OUTSIDE;
    return MERGE_OK;
}

int onInclude(Merge *merge, std::string_view args) {
    return includeTemplate(&merge->ctx, args);
}

int onSection(Merge *merge, std::string_view args) {
    return pushSection(&merge->ctx, args);
}

int onSectionEnd(Merge *merge, std::string_view) {
    return popSection(&merge->ctx);
}

int onCss(Merge *merge, std::string_view args) {
    TemplateContext *ctx = &merge->ctx;
    if (parseCssClause(ctx, args, &merge->style) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    return reportOutput(ctx, dumpOutputStyle(&ctx->backend, &merge->style));
}

int onPlugin(Merge *merge, std::string_view args) {
    return declarePlugin(&merge->ctx, args) == MERGE_OK ? MERGE_OK : MERGE_TEMPLATE_ERROR;
}

int onIterate(Merge *merge, std::string_view args) {
    return beginIteration(&merge->ctx, args);
}

int onIterateEnd(Merge *merge, std::string_view) {
    const int result = nextIteration(&merge->ctx);
    if (result == ITERATION_AGAIN) return MERGE_OK;
    return result == ITERATION_OVER ? popIteration(&merge->ctx) : result;
}

int onSkippedIterateEnd(Merge *merge, std::string_view) {
    return popIteration(&merge->ctx);
}

int onRow(Merge *merge, std::string_view args) {
    if (parseRowClause(&merge->ctx, args, &merge->row) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->ctx.rowPlace = currentPlace(&merge->ctx);
    merge->ctx.state = MERGE_ROW;
    return MERGE_OK;
}

int onRowEnd(Merge *merge, std::string_view) {
    TemplateContext *ctx = &merge->ctx;
    const int result = reportOutput(ctx, dumpRow(&ctx->backend, &merge->row));
    releaseRowValues(&merge->row);
    ctx->state = ctx->sectionLevel == 0 ? MERGE_REPORT : MERGE_SECTION;
    return result;
}

int onValue(Merge *merge, std::string_view args) {
    TemplateContext *ctx = &merge->ctx;
    if (parseValueClause(ctx, args, &merge->clause) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    const int result = addRowValue(ctx, &merge->row, &merge->clause, merge->userVars);
    if (result == MERGE_OK) ctx->state = MERGE_VALUE;
    return result;
}

int onValueEnd(Merge *merge, std::string_view) {
    merge->ctx.state = MERGE_ROW;
    return MERGE_OK;
}

int warnNestedReport(Merge *merge, std::string_view) {
    dmon_log(1, "Warning in template %s: nested 'report' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

int warnNestedRow(Merge *merge, std::string_view) {
    dmon_log(1, "Warning in template %s: nested 'row' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

int warnNestedValue(Merge *merge, std::string_view) {
    dmon_log(1, "Warning in template %s: nested 'value' clause.\n", getTemplateLine(&merge->ctx));
    return MERGE_OK;
}

// A clause that counts in some state; what it returns becomes the merge's result. `args` is the
// text behind the clause's name.
struct Clause {
    std::string_view name;
    int (*act)(Merge *merge, std::string_view args);
};

constexpr Clause outsideClauses[] = {
    {"report", onReport},
    {"include", onInclude},
};
constexpr Clause reportClauses[] = {
    {"row", onRow},         {"section", onSection},     {"/report", onReportEnd},
    {"css", onCss},         {"plugin", onPlugin},       {"include", onInclude},
    {"iterate", onIterate}, {"/iterate", onIterateEnd}, {"report", warnNestedReport},
};
constexpr Clause sectionClauses[] = {
    {"row", onRow}, {"/iterate", onIterateEnd}, {"/section", onSectionEnd}, {"section", onSection},
    {"css", onCss}, {"include", onInclude},     {"iterate", onIterate},     {"plugin", onPlugin},
};
constexpr Clause rowClauses[] = {
    {"value", onValue},     {"/row", onRowEnd},         {"include", onInclude},
    {"iterate", onIterate}, {"/iterate", onIterateEnd}, {"row", warnNestedRow},
};
constexpr Clause valueClauses[] = {
    {"/value", onValueEnd},     {"include", onInclude},     {"iterate", onIterate},
    {"/iterate", onIterateEnd}, {"value", warnNestedValue},
};
constexpr Clause disabledClauses[] = {
    {"section", onSection},
    {"/section", onSectionEnd},
};
constexpr Clause skippedClauses[] = {
    {"iterate", onIterate},
    {"/iterate", onSkippedIterateEnd},
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
int interpretTag(Merge *merge, std::string_view tag) {
    constexpr std::string_view blanks = " \t";
    tag.remove_prefix(std::min(tag.find_first_not_of(blanks), tag.size()));
    const std::size_t nameEnd = std::min(tag.find_first_of(blanks), tag.size());
    const std::string_view name = tag.substr(0, nameEnd);
    const std::string_view args = tag.substr(std::min(nameEnd + 1, tag.size()));
    for (const Clause &clause : clausesByState[merge->ctx.state])
        if (clause.name == name) return clause.act(merge, args);
    return MERGE_OK;
}

// Reads tag after tag, file after file, until the template ends or a clause fails.
int interpretTemplate(Merge *merge) {
    TemplateContext *ctx = &merge->ctx;
    int result = MERGE_OK;
    while (result == MERGE_OK && ctx->fileDepth > 0) {
        const std::string_view tag = nextTemplateTag(ctx);
        if (tag.data() != nullptr)
            result = interpretTag(merge, tag);
        else
            popTemplateFile(ctx);
    }
    return result;
}

// Adds "name (place)" to a list of what is still open.
void listOpen(char (&list)[1024], const char *what, const TemplatePlace *place) {
    char item[TEMPLATE_PATH_SIZE + 48];
    std::snprintf(item, sizeof item, "%s%s (%s:%d)", list[0] != '\0' ? ", " : "", what, place->path,
                  place->lineNo);
    safe_strncat(list, item, sizeof list);
}

void warnUnclosed(const TemplateContext *ctx) {
    char list[1024] = "";
    for (std::int32_t i = 0; i < ctx->sectionLevel; ++i)
        listOpen(list, "section", &ctx->sectionPlaces[i]);
    for (std::int32_t i = 0; i < ctx->iterDepth; ++i)
        listOpen(list, "iterate", &ctx->iterationPlaces[i]);
    if (ctx->state == MERGE_ROW || ctx->state == MERGE_VALUE) listOpen(list, "row", &ctx->rowPlace);
    if (list[0] != '\0') dmon_log(2, "Warning: template ends with open clauses: %s.\n", list);
}

// Everything of a merge after its files are open and the back-end is ready.
int runMerge(Merge *merge, const char *dictName) {
    TemplateContext *ctx = &merge->ctx;
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
                  const char *dictName) {
    // Some 40 KiB: too much for the small stacks of other people's threads.
    const HeapGuard<Merge> merge(static_cast<Merge *>(std::calloc(1, sizeof(Merge))));
    if (!merge) {
        dmon_log(1, "Error: no memory to merge template '%s'.\n", templatePath);
        return MERGE_TEMPLATE_ERROR;
    }
    TemplateContext *ctx = &merge->ctx;
    ctx->results = results;
    merge->userVars = userVars;

    IncludeSpec spec{};
    copyPath(spec.file, sizeof spec.file, templatePath);
    int result = pushTemplateFile(ctx, &spec, templateFile);
    if (result == MERGE_OK) result = dumpInit(&ctx->backend, report, format);
    if (result == MERGE_OK) result = runMerge(merge.get(), dictName);
    while (ctx->fileDepth > 0) popTemplateFile(ctx);
    return result;
}
