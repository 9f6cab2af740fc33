// SPDX-License-Identifier: MIT
#include "report/merge.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "base/guards.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "output/c_format.h"
#include "output/dump_backend.h"
#include "output/row_format.h"
#include "report/css_clause.h"
#include "report/include_clause.h"
#include "report/iterate_clause.h"
#include "report/plugin_clause.h"
#include "report/plugins.h"
#include "report/report_clause.h"
#include "report/row_clause.h"
#include "report/row_plan.h"
#include "report/row_values.h"
#include "report/section_clause.h"
#include "report/template_context.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_place.h"
#include "report/template_reader.h"
#include "report/value_clause.h"
#include "results/dict_resolver.h"
#include "results/report_findings.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

struct Merge {
    TemplateContext ctx;
    OutputStyle style;
    ReportRow row;
    RowFormat rowFormat;
    ValueClause clause;
    KvStore *userVars;
    RowPlans plans;
    bool hadReport;
    bool rowIsSpoiled;        // by a clause that a check left out
    std::int32_t valueIndex;  // in the row, of the value that is read
    // Of checks: where the report begins, what is told later is about, the first clause before the
    // report, and what was passed over.
    TemplatePlace reportPlace;
    TemplatePlace latePlace;
    std::string_view earlyClause;
    TemplatePlace earlyPlace;
    MergeState ignoredState;
    TemplatePlace ignoredPlace;
};

// Tells of a clause before the report; a file that has no report, as one to include, has many.
void tellEarlyClause(Merge *merge) {
    merge->latePlace = merge->earlyPlace;
    if (!merge->hadReport && !merge->earlyClause.empty())
        hintIgnored(&merge->ctx, merge->earlyClause);
    merge->latePlace = {};
}

int onReport(Merge *merge, const TemplateTag *tag) {
    if (wantsHints()) tellEarlyClause(merge);
    if (parseReportClause(&merge->ctx, tag->args) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->ctx.state = INSIDE_REPORT;
    merge->hadReport = true;
    merge->reportPlace = currentPlace(&merge->ctx);
    return MERGE_OK;
}

int onReportEnd(Merge *merge, const TemplateTag *) {
    merge->ctx.state = OUTSIDE_REPORT;
    return MERGE_OK;
}

int onInclude(Merge *merge, const TemplateTag *tag) {
    dropRowPlan(&merge->ctx);
    hintRestOfLine(&merge->ctx, "include");
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
    hintFont(merge->style.fontFamily);
    return reportOutput(ctx, dumpOutputStyle(&ctx->backend, &merge->style));
}

int onPlugin(Merge *merge, const TemplateTag *tag) {
    return declarePlugin(&merge->ctx, tag->args) == MERGE_OK ? MERGE_OK : MERGE_TEMPLATE_ERROR;
}

int onIterate(Merge *merge, const TemplateTag *tag) {
    dropRowPlan(&merge->ctx);
    hintRestOfLine(&merge->ctx, "iterate");
    return beginIteration(&merge->ctx, tag->args);
}

int onIterateEnd(Merge *merge, const TemplateTag *) {
    dropRowPlan(&merge->ctx);
    const int result = nextIteration(&merge->ctx);
    if (result == ITERATION_AGAIN) return MERGE_OK;
    return result == ITERATION_OVER ? popIteration(&merge->ctx) : result;
}

int onSkippedIterateEnd(Merge *merge, const TemplateTag *) {
    return popIteration(&merge->ctx);
}

// The state around a row.
MergeState stateAroundRow(const TemplateContext *ctx) {
    return ctx->sectionLevel == 0 ? INSIDE_REPORT : INSIDE_SECTION;
}

// Writes the row and releases its values.
int writeRow(Merge *merge) {
    TemplateContext *ctx = &merge->ctx;
    const int result =
        merge->rowIsSpoiled ? MERGE_OK : reportOutput(ctx, dumpRow(&ctx->backend, &merge->row));
    merge->rowIsSpoiled = false;
    releaseRowValues(&merge->row);
    return result;
}

int onRow(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    const bool isChecked = readsOn();  // every tag
    RowPlan *plan = isChecked ? nullptr : findRowPlan(ctx, tag);
    if (plan != nullptr) {
        const int result = runRowPlan(ctx, plan, &merge->row, &merge->clause, merge->userVars);
        return result == MERGE_OK ? writeRow(merge) : result;
    }
    if (parseRowClause(ctx, tag, &merge->row) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    merge->row.format = &merge->rowFormat;
    if (!isChecked) beginRowPlan(ctx, tag, &merge->row);
    ctx->rowPlace = currentPlace(ctx);
    ctx->state = INSIDE_ROW;
    return MERGE_OK;
}

int onRowEnd(Merge *merge, const TemplateTag *) {
    TemplateContext *ctx = &merge->ctx;
    endRowPlan(ctx);
    ctx->rowPlace = {};
    ctx->state = stateAroundRow(ctx);
    return writeRow(merge);
}

int onValue(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    ValueClause *clause = &merge->clause;
    merge->valueIndex = merge->row.count;
    const int parsed = parseValueClause(ctx, tag, clause);
    if (parsed != MERGE_OK && !readsOn()) return MERGE_TEMPLATE_ERROR;
    const std::int32_t line = currentPlace(ctx).lineNo;
    char buffer[TEMPLATE_TEXT_SIZE];
    const char *text = nullptr;
    if (clause->source == SOURCE_TEXT && readTemplateText(ctx, buffer, sizeof buffer) == 0)
        text = buffer;
    if (readsOn() && merge->row.count == ROW_MAX_VALUES) merge->rowIsSpoiled = true;
    const int result = addRowValue(ctx, &merge->row, clause, merge->userVars, text);
    if (result != MERGE_OK) return result;
    if (parsed != MERGE_OK) return MERGE_TEMPLATE_ERROR;
    planRowValue(ctx, tag, line, clause, text);
    ctx->state = INSIDE_VALUE;
    return MERGE_OK;
}

int onValueEnd(Merge *merge, const TemplateTag *) {
    merge->ctx.state = INSIDE_ROW;
    return MERGE_OK;
}

int warnNested(Merge *merge, const TemplateTag *tag);

// A clause and the states in which it counts; a name may have rows of several states, which stand
// together. What `act` returns becomes the merge's result.
struct Clause {
    unsigned states;  // bit n: MergeState n
    std::string_view name;
    int (*act)(Merge *merge, const TemplateTag *tag);
};

constexpr unsigned in(auto... states) {
    return (0U | ... | (1U << states));
}
constexpr unsigned IN_REPORT = in(INSIDE_REPORT, INSIDE_SECTION);
constexpr unsigned IN_CONTENT = in(INSIDE_REPORT, INSIDE_SECTION, INSIDE_ROW, INSIDE_VALUE);

constexpr Clause clauses[] = {
    {in(OUTSIDE_REPORT), "report", onReport},
    {in(INSIDE_REPORT), "report", warnNested},
    {in(INSIDE_REPORT), "/report", onReportEnd},
    {IN_REPORT | in(INSIDE_DISABLED), "section", onSection},
    {IN_REPORT | in(INSIDE_DISABLED), "/section", onSectionEnd},  // refused when none is open
    {IN_REPORT, "css", onCss},
    {IN_REPORT, "plugin", onPlugin},
    {IN_CONTENT | in(OUTSIDE_REPORT), "include", onInclude},
    {IN_CONTENT | in(INSIDE_SKIPPED), "iterate", onIterate},
    {IN_CONTENT, "/iterate", onIterateEnd},
    {in(INSIDE_SKIPPED), "/iterate", onSkippedIterateEnd},
    {IN_REPORT, "row", onRow},
    {in(INSIDE_ROW), "row", warnNested},
    {in(INSIDE_ROW), "/row", onRowEnd},
    {in(INSIDE_ROW), "value", onValue},
    {in(INSIDE_VALUE), "value", warnNested},
    {in(INSIDE_VALUE), "/value", onValueEnd},
};
constexpr std::size_t CLAUSE_COUNT = std::size(clauses);

constexpr bool rowsOfANameStandTogetherAndDiffer() {
    for (std::size_t i = 0; i < CLAUSE_COUNT; ++i)
        for (std::size_t j = i + 1; j < CLAUSE_COUNT; ++j) {
            if (clauses[i].name != clauses[j].name) continue;
            if (clauses[j - 1].name != clauses[j].name) return false;
            if ((clauses[i].states & clauses[j].states) != 0) return false;
        }
    return true;
}
static_assert(rowsOfANameStandTogetherAndDiffer());

// Leaves a row that was not closed out of a check.
void dropRow(Merge *merge) {
    TemplateContext *ctx = &merge->ctx;
    releaseRowValues(&merge->row);
    merge->rowIsSpoiled = false;
    ctx->rowPlace = {};
    ctx->state = stateAroundRow(ctx);
}

int warnNested(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    dropRowPlan(ctx);
    templateFinding(ctx, FINDING_NESTED_CLAUSE, "nested '%s' clause.",
                    clauses[tag->clause].name.data());
    if (!readsOn() || ctx->state == INSIDE_REPORT) return MERGE_OK;
    if (ctx->state == INSIDE_ROW) {
        dropRow(merge);
        return onRow(merge, tag);
    }
    merge->rowIsSpoiled = true;  // its values are fewer than were meant
    return MERGE_OK;
}

// The clause of a name, or the table's end.
const Clause *findClause(std::string_view name) {
    return std::find_if(std::begin(clauses), std::end(clauses),
                        [name](const Clause &clause) { return clause.name == name; });
}

// Tells of a tag that is passed over for what is most likely a misspelt name. A check reads it as
// the clause that was meant, so that what follows counts.
const Clause *findNearClause(std::string_view name) {
    const auto *near = std::find_if(std::begin(clauses), std::end(clauses),
                                    [name](const Clause &c) { return isNearName(name, c.name); });
    if (near != std::end(clauses))
        tellHint("tag '%.*s' is passed over; '%s' is a clause.", static_cast<int>(name.size()),
                 name.data(), near->name.data());
    return near;
}

// Finds a tag's clause and takes its arguments apart; done once for as long as the tag is
// remembered.
void readTag(TemplateTag *tag) {
    tag->args = tag->text;
    const std::string_view name = takeClauseName(&tag->args);
    const Clause *clause = findClause(name);
    if (clause == std::end(clauses) && wantsHints()) clause = findNearClause(name);
    tag->clause = CLAUSE_UNKNOWN;
    if (clause == std::end(clauses)) return;
    hintSplitQuotes(tag->args);
    tag->clause = static_cast<std::int16_t>(clause - clauses);
    splitTagArgs(tag);
}

// The next "<" from a place of a text on that stands in no quotes, or npos.
std::size_t findUnquoted(std::string_view text, std::size_t from) {
    std::size_t at = text.find_first_of("<'\"", from);
    while (at != std::string_view::npos && text[at] != '<') {
        const std::size_t end = text.find(text[at], at + 1);
        at = text.find_first_of("<'\"", end != std::string_view::npos ? end + 1 : at + 1);
    }
    return at;
}

// A check ends a tag without ">" where the next clause begins, and reads that next. What a line of
// many such tags has behind each is read again and again, so that it counts as steps.
void endAtNextClause(TemplateContext *ctx, TemplateTag *tag) {
    const auto length = static_cast<std::int64_t>(tag->text.size());
    ctx->steps += length / 32;  // read anew each time: none for most
    if (tag->text.starts_with('!')) return;
    std::size_t at = findUnquoted(tag->text, 0);
    if (at != std::string_view::npos) ctx->steps += STEPS_HINT + length / 8;
    for (std::size_t next = 0; at != std::string_view::npos; at = next) {
        next = findUnquoted(tag->text, at + 1);
        ctx->steps += STEPS_TAG;
        std::string_view piece = tag->text.substr(at + 1, next - at - 1);
        if (findClause(takeClauseName(&piece)) == std::end(clauses)) continue;
        tellHint("a '<' without '>' before the next tag.");
        ctx->cursor = tag->text.data() + at;
        tag->text = tag->text.substr(0, at);
        tag->clause = CLAUSE_UNREAD;
        return;
    }
}

// The row of a tag's clause that counts in a state, or null.
inline const Clause *clauseIn(MergeState state, const TemplateTag *tag) {
    const Clause *first = &clauses[tag->clause];
    const Clause *clause = first;
    do {
        if (((clause->states >> state) & 1U) != 0) return clause;
        ++clause;
    } while (clause != std::end(clauses) && clause->name == first->name);
    return nullptr;
}

// What a check takes for closed when a clause comes that counts only behind it: a value, or the
// row. Returns the clause to act on, or null.
const Clause *closeForgotten(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    if (ctx->state != INSIDE_ROW && ctx->state != INSIDE_VALUE) return nullptr;
    if (clauses[tag->clause].name == "/row") {
        merge->rowIsSpoiled = true;
        return clauseIn(INSIDE_ROW, tag);
    }
    const Clause *clause = clauseIn(stateAroundRow(ctx), tag);
    if (clause != nullptr) dropRow(merge);
    return clause;
}

// Tells a check of a clause that is passed over, once a line, and once outside the report. Returns
// what to act on all the same, or null.
const Clause *passOver(Merge *merge, const TemplateTag *tag) {
    TemplateContext *ctx = &merge->ctx;
    const TemplatePlace place = currentPlace(ctx);
    const TemplatePlace *last = &merge->ignoredPlace;
    const bool sameLine = last->lineNo == place.lineNo && std::strcmp(last->path, place.path) == 0;
    const bool isTold = last->lineNo > 0 && merge->ignoredState == ctx->state &&
                        (sameLine || ctx->state == OUTSIDE_REPORT);
    if (!isTold && ctx->state == OUTSIDE_REPORT && !merge->hadReport) {
        merge->earlyClause = clauses[tag->clause].name;
        merge->earlyPlace = place;
    } else if (!isTold) {
        hintIgnored(ctx, clauses[tag->clause].name);
    }
    merge->ignoredState = ctx->state;
    merge->ignoredPlace = place;
    return closeForgotten(merge, tag);
}

// Acts on one tag. One that the state does not know is passed over: templates may carry comments
// and tags of other programs.
int interpretTag(Merge *merge, TemplateTag *tag) {
    if (readsOn()) endAtNextClause(&merge->ctx, tag);
    if (tag->clause == CLAUSE_UNREAD) readTag(tag);
    if (tag->clause == CLAUSE_UNKNOWN && readsOn()) merge->ctx.steps += STEPS_HINT;
    if (tag->clause == CLAUSE_UNKNOWN) return MERGE_OK;
    const Clause *clause = clauseIn(merge->ctx.state, tag);
    if (clause == nullptr && wantsHints()) clause = passOver(merge, tag);
    return clause != nullptr ? clause->act(merge, tag) : MERGE_OK;
}

// Starts a loop of one pass with the variable of an iterate clause that failed.
int beginSinglePass(TemplateContext *ctx, std::string_view args) {
    while (!args.empty()) {
        const RawArg arg = takeArg(&args);
        char text[TEMPLATE_NAME_SIZE + sizeof "var="];
        std::snprintf(text, sizeof text, "var=%.*s", static_cast<int>(arg.value.size()),
                      arg.value.data());
        if (arg.name == "var" && !arg.value.empty()) return beginIteration(ctx, text);
    }
    return beginIteration(ctx, {});
}

// Puts a value of no kind in the place of one that failed, so that the row has as many as were
// meant.
void leaveValueOut(Merge *merge) {
    ReportRow *row = &merge->row;
    if (merge->valueIndex >= ROW_MAX_VALUES) return;
    ItemValue *value = &row->values[merge->valueIndex];
    if (row->count > merge->valueIndex) releaseItemValue(value);
    *value = ItemValue{};
    row->count = merge->valueIndex + 1;
}

// Leaves a clause that failed out, so that a check reads on: what it opens is open all the same.
// MERGE_OK, or `result` when the merge cannot go on.
int leaveOut(Merge *merge, const TemplateTag *tag, int result) {
    TemplateContext *ctx = &merge->ctx;
    if (result == DUMP_WRITE_FAILED || result == DUMP_NO_DOCUMENT || ctx->failed ||
        ctx->steps > TEMPLATE_MAX_STEPS || tag->clause < 0)
        return result;
    const std::string_view name = clauses[tag->clause].name;
    if (name == "report") {
        ctx->state = INSIDE_REPORT;
        merge->hadReport = true;
        merge->reportPlace = currentPlace(ctx);
    } else if (name == "include") {
        ctx->cursor = ctx->lineEnd;  // as behind a file that is there
    } else if (name == "section") {
        return ctx->sectionLevel < TEMPLATE_MAX_SECTIONS ? pushSection(ctx, {}) : MERGE_OK;
    } else if (name == "iterate") {
        return ctx->iterDepth < TEMPLATE_MAX_ITERATIONS ? beginSinglePass(ctx, tag->args)
                                                        : MERGE_OK;
    } else if (name == "row") {
        ctx->rowPlace = currentPlace(ctx);
        ctx->state = INSIDE_ROW;
        merge->rowIsSpoiled = true;
    } else if (name == "value") {
        ctx->state = INSIDE_VALUE;
        leaveValueOut(merge);
    }
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
        if (result != MERGE_OK && readsOn()) result = leaveOut(merge, ctx->tag, result);
        if (result == MERGE_OK && ctx->failed) result = MERGE_TEMPLATE_ERROR;
        ctx->steps += STEPS_TAG + takePrintWork();
        if (readsOn()) ctx->steps += std::int64_t{STEPS_HINT} * takeHintCount();
        countRowTag(ctx);
        if (result == MERGE_OK && ctx->steps > TEMPLATE_MAX_STEPS)
            result = templateError(ctx, MERGE_TEMPLATE_ERROR, "the template takes too many steps.");
    }
    return result;
}

void locateFinding(const void *user, ReportFinding *finding) {
    const auto *merge = static_cast<const Merge *>(user);
    const TemplateContext *ctx = &merge->ctx;
    const TemplateFile *file = currentFile(ctx);
    const bool isLate = file == nullptr || merge->latePlace.path[0] != '\0';
    const char *path = isLate ? merge->latePlace.path : file->path;
    if (path[0] == '\0') return;
    finding->folder = templateFolder(ctx, path);
    finding->path = path;
    finding->line = isLate ? merge->latePlace.lineNo : file->lineNo;
}

using OpenList = char[4096];  // a message has no more

// Adds "name (place)" to a list of what is still open.
void listOpen(const TemplateContext *ctx, OpenList &list, const char *what,
              const TemplatePlace *place) {
    const std::size_t length = std::strlen(list);
    std::snprintf(list + length, sizeof list - length, "%s%s (%s%s:%d)", length > 0 ? ", " : "",
                  what, templateFolder(ctx, place->path), place->path, place->lineNo);
}

void warnUnclosed(TemplateContext *ctx) {
    OpenList list = "";
    for (std::int32_t i = 0; i < ctx->sectionLevel; ++i)
        listOpen(ctx, list, "section", &ctx->sectionPlaces[i]);
    for (std::int32_t i = 0; i < ctx->iterDepth; ++i)
        listOpen(ctx, list, "iterate", &ctx->iterationPlaces[i]);
    if (ctx->rowPlace.path[0] != '\0') listOpen(ctx, list, "row", &ctx->rowPlace);
    if (list[0] != '\0')
        templateFinding(ctx, FINDING_UNCLOSED, "template ends with open clauses: %s.", list);
}

// The place of the first that is still open.
TemplatePlace firstOpen(const Merge *merge) {
    const TemplateContext *ctx = &merge->ctx;
    if (ctx->sectionLevel > 0) return ctx->sectionPlaces[0];
    if (ctx->iterDepth > 0) return ctx->iterationPlaces[0];
    return ctx->rowPlace.path[0] != '\0' ? ctx->rowPlace : merge->reportPlace;
}

// Everything of a merge after its files are open and the back-end is ready.
int runMerge(Merge *merge, const char *dictName) {
    TemplateContext *ctx = &merge->ctx;
    // The encoding of the PDF fonts lacks the letters of many languages: those reports are in
    // English.
    const char *lang = ctx->backend.format == RPT_FMT_PDF ? "en" : nullptr;
    dictResolvCreate(&ctx->dict, dictName, lang, opt_dflt_lang_id);

    if (reportSink != nullptr) findingPlace = {locateFinding, merge};
    merge->reportPlace = currentPlace(ctx);  // until there is one: the first line
    merge->reportPlace.lineNo = 1;
    int result = interpretTemplate(merge);
    merge->latePlace = merge->reportPlace;
    if (result == MERGE_OK && reportSink != nullptr) hintEnd(ctx, merge->hadReport);
    merge->latePlace = wantsHints() ? firstOpen(merge) : TemplatePlace{};
    if (result == MERGE_OK) warnUnclosed(ctx);
    merge->latePlace = {};
    dmon_log(2, "Template merged (ret: %d).\n", result);

    releaseRowValues(&merge->row);
    const int finished = dumpFree(&ctx->backend);
    unloadPlugins(ctx);
    if (result == MERGE_OK && ctx->failed) result = MERGE_TEMPLATE_ERROR;  // in a plug-in's end
    dictResolvFree(&ctx->dict);
    if (reportSink != nullptr) findingPlace = {nullptr, nullptr};
    return result != MERGE_OK ? result : finished;
}

}  // namespace

int mergeTemplate(const Results *results, std::FILE *templateFile, std::FILE *report,
                  const char *templatePath, std::uint32_t format, KvStore *userVars,
                  const char *dictName, const char *reportName, const char *folder) {
    // Some 120 KiB: too much for the small stacks of other people's threads.
    const HeapGuard<Merge> merge(static_cast<Merge *>(std::calloc(1, sizeof(Merge))));
    if (!merge) {
        tellFinding(TELL_ERROR, "no memory to merge template '%s'.", templatePath);
        return MERGE_TEMPLATE_ERROR;
    }
    TemplateContext *ctx = &merge->ctx;
    ctx->results = results;
    ctx->reportName = reportName;
    ctx->folder = folder;
    ctx->plans = &merge->plans;
    merge->userVars = userVars;

    IncludeSpec spec{};
    copyPath(spec.file, sizeof spec.file, templatePath, tellCutPath);
    int result = pushTemplateFile(ctx, &spec, templateFile);
    if (result == MERGE_OK) result = dumpInit(&ctx->backend, report, format);
    if (result == MERGE_OK) result = runMerge(merge.get(), dictName);
    while (ctx->fileDepth > 0) popTemplateFile(ctx);
    return result;
}
