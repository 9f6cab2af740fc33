// SPDX-License-Identifier: MIT
#include "report/row_plan.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "report/item_values.h"
#include "report/row_clause.h"
#include "report/row_values.h"
#include "report/template_params.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

constexpr std::string_view REFERENCE = "${";

// More than a row takes, with texts, labels and messages of each value: a row in which the limit
// may be reached is run tag by tag, so that it is reached at the same tag.
constexpr std::int64_t MOST_STEPS = 1'000'000;

// Characters of a parameter that cannot change what a link means around them.
constexpr std::array<bool, 256> nameCharacters = [] {
    std::array<bool, 256> is{};
    for (unsigned c = '0'; c <= '9'; ++c) is[c] = true;
    for (unsigned c = 'A'; c <= 'Z'; ++c) is[c] = true;
    for (unsigned c = 'a'; c <= 'z'; ++c) is[c] = true;
    is['-'] = is['_'] = true;
    return is;
}();

bool isName(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return nameCharacters[static_cast<unsigned char>(c)]; });
}

// ---- room ----

void *takeRoom(RowPlans *plans, std::size_t size) {
    constexpr std::size_t unit = alignof(std::max_align_t);
    size = (size + unit - 1) / unit * unit;
    if (size > sizeof plans->room - plans->used) return nullptr;
    void *taken = plans->room + plans->used;
    plans->used += size;
    return taken;
}

// Room for a record, or null.
template <class Record>
Record *takeRecord(RowPlans *plans) {
    void *taken = takeRoom(plans, sizeof(Record));
    return taken != nullptr ? new (taken) Record{} : nullptr;
}

const TemplateTag *keepTag(RowPlans *plans, const TemplateTag *tag) {
    auto *kept = takeRecord<TemplateTag>(plans);
    if (kept != nullptr) *kept = *tag;
    return kept;
}

char *keepText(RowPlans *plans, std::string_view text) {
    auto *kept = static_cast<char *>(takeRoom(plans, text.size() + 1));
    if (kept != nullptr) kept[text.copy(kept, text.size())] = '\0';
    return kept;
}

// ---- the place of a row ----

// A row has some 64 bytes or more, so few share a slot.
RowPlanSlot *planSlot(TemplateContext *ctx, const TemplateFile *file, const TemplateTag *tag) {
    return &ctx->plans->slots[windowOffset(file, tag->text.data()) / 64 % ROW_PLAN_SLOTS];
}

ReaderPosition readerPosition(const TemplateContext *ctx) {
    return {ctx->cursor, ctx->lineEnd, currentFile(ctx)->windowPos};
}

bool samePosition(const ReaderPosition &a, const ReaderPosition &b) {
    return a.cursor == b.cursor && a.lineEnd == b.lineEnd && a.windowPos == b.windowPos;
}

// ---- making a plan ----

bool hasReferences(const TemplateTag *tag) {
    return tag->args.find(REFERENCE) != std::string_view::npos;
}

const Results *applicationOf(const Results *results, const RegisterRecord *reg) {
    while (results != nullptr && (reg < results->regs || reg >= results->regs + results->regCount))
        results = results->next;
    return results;
}

const RegisterRecord *registerOf(const TemplateContext *ctx, const char *link,
                                 PlannedValue *value) {
    char item[sizeof ValueClause::sourceText];
    copyPiece(item, link);
    return getAppItemResult(item, ctx->results, &value->field, &value->index);
}

// Takes the one reference of a link out of it. False when the link is of another form.
bool splitLink(TemplateContext *ctx, std::string_view link, PlannedValue *value) {
    const std::size_t open = link.find(REFERENCE);
    const std::size_t close = link.find('}', open);
    if (open == std::string_view::npos || close == std::string_view::npos) return false;
    const std::string_view name = link.substr(open + REFERENCE.size(), close - open - 2);
    value->head = link.substr(0, open);
    value->tail = link.substr(close + 1);
    value->param = findTemplateParam(*currentParams(ctx), name, &value->steps);
    if (value->param == nullptr) return false;
    // What was read must be these parts, whole: no part was cut or ends early.
    std::string_view whole = value->clause.sourceText;
    const std::string_view number = value->param->value;
    if (!isName(number)) return false;
    return link.size() + sizeof value->param->value < sizeof value->clause.sourceText &&
           whole.size() == value->head.size() + number.size() + value->tail.size() &&
           value->tail.find('$') == std::string_view::npos &&
           value->head.find('$') == std::string_view::npos;
}

// Plans a link whose reference stands in the register's name: behind the application, and before
// field or index.
bool planLink(TemplateContext *ctx, std::string_view link, PlannedValue *value) {
    if (!splitLink(ctx, link, value)) return false;
    const RegisterRecord *reg = registerOf(ctx, value->clause.sourceText, value);
    value->app = reg != nullptr ? applicationOf(ctx->results, reg) : nullptr;
    const std::size_t at = value->head.find('@');
    if (value->app == nullptr || value->tail.find('@') != std::string_view::npos) return false;
    if (at != std::string_view::npos) value->head.remove_prefix(at + 1);
    if (value->head.find_first_of(":[") != std::string_view::npos) return false;
    std::size_t end = value->tail.find(':');
    if (end == std::string_view::npos) end = value->tail.find('[');
    value->tail = value->tail.substr(0, end);
    return true;
}

// The value of the argument that alone has references and alone names a source, a link; else a text
// without data.
std::string_view onlyLink(const TemplateTag *tag) {
    std::string_view link;
    for (std::int32_t i = 0; i < tag->argCount; ++i) {
        const RawArg &arg = tag->split[i];
        if (arg.name == "conv" || arg.name == "dict") {
            if (arg.hasReference) return {};
        } else if (arg.name == "link" && link.data() == nullptr) {
            link = arg.value;
        } else {
            return {};
        }
    }
    return tag->furtherArgs.empty() ? link : std::string_view();
}

// Whether the text means nothing but itself: it is neither translated, expanded nor cut.
bool isPlainText(const PlannedValue *value) {
    if (value->text == nullptr || (value->clause.flags & VALUE_USE_DICT) != 0) return false;
    const std::string_view text = value->text;
    return text.size() < sizeof TemplateContext::expansion &&
           text.find(REFERENCE) == std::string_view::npos;
}

PlannedKind planKind(TemplateContext *ctx, const TemplateTag *tag, PlannedValue *value) {
    if (value->tag != nullptr) {
        const std::string_view link = onlyLink(tag);
        return link.data() != nullptr && planLink(ctx, link, value) ? PLANNED_LINK
                                                                    : PLANNED_READING;
    }
    if (isPlainText(value)) return PLANNED_TEXT;
    if (value->clause.source != SOURCE_LINK) return PLANNED_CLAUSE;
    value->reg = registerOf(ctx, value->clause.sourceText, value);
    return value->reg != nullptr ? PLANNED_REGISTER : PLANNED_CLAUSE;
}

// ---- following a plan ----

// The register of a planned link in this pass; null when it must be found the plain way.
const RegisterRecord *plannedRegister(const PlannedValue *value) {
    if (value->kind == PLANNED_REGISTER) return value->reg;
    if (value->kind != PLANNED_LINK) return nullptr;
    char name[sizeof ValueClause::sourceText];
    char *end = name + value->head.copy(name, value->head.size());
    for (const char *from = value->param->value; *from != '\0'; ++from) {
        if (!nameCharacters[static_cast<unsigned char>(*from)]) return nullptr;
        *end++ = *from;
    }
    end += value->tail.copy(end, value->tail.size());
    return findRegister(value->app, {name, static_cast<std::size_t>(end - name)});
}

// Takes a planned text or the value of a planned link; ITEM_HAS_NO_FIELD, without a message, when
// it must be taken the plain way.
int takePlanned(TemplateContext *ctx, const PlannedValue *planned, ReportRow *row) {
    if (row->count == ROW_MAX_VALUES) return ITEM_HAS_NO_FIELD;
    if (planned->kind == PLANNED_TEXT) {
        row->values[row->count++] = {VORN_TYPE_STRING, planned->text, 0, 0};
        return MERGE_OK;
    }
    const RegisterRecord *reg = plannedRegister(planned);
    if (reg == nullptr) return ITEM_HAS_NO_FIELD;
    ItemValue *value = &row->values[row->count];
    const int result = takeItemValue(ctx, reg, planned->field, planned->index, value);
    if (result == ITEM_HAS_NO_FIELD) return result;
    ctx->steps += planned->steps;
    ++row->count;
    return result == MERGE_OK ? applyDataConversions(ctx, &planned->clause, value) : result;
}

int addPlanned(TemplateContext *ctx, const PlannedValue *planned, ReportRow *row,
               ValueClause *clause, KvStore *userVars) {
    const int result = takePlanned(ctx, planned, row);
    if (result != ITEM_HAS_NO_FIELD) return result;
    const ValueClause *read = &planned->clause;
    if (planned->tag != nullptr) {
        if (parseValueClause(ctx, planned->tag, clause) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
        read = clause;
    }
    currentFile(ctx)->lineNo += planned->textLines;
    return addRowValue(ctx, row, read, userVars, planned->text);
}

}  // namespace

RowPlan *findRowPlan(TemplateContext *ctx, const TemplateTag *tag) {
    if (ctx->plans == nullptr || ctx->iterDepth == 0) return nullptr;
    if (ctx->steps > TEMPLATE_MAX_STEPS - MOST_STEPS) return nullptr;
    const TemplateFile *file = currentFile(ctx);
    const RowPlanSlot *slot = planSlot(ctx, file, tag);
    RowPlan *plan = slot->key == tag->text.data() ? slot->plan : nullptr;
    const bool found =
        plan != nullptr && plan->isComplete && samePosition(plan->start, readerPosition(ctx));
    // Lines are counted up to the largest number, and then no more.
    return found && file->lineNo < INT32_MAX - static_cast<std::int32_t>(TEMPLATE_WINDOW_SIZE)
               ? plan
               : nullptr;
}

void beginRowPlan(TemplateContext *ctx, const TemplateTag *tag, const ReportRow *row) {
    RowPlans *plans = ctx->plans;
    if (plans == nullptr) return;
    plans->made = nullptr;
    const TemplateFile *file = currentFile(ctx);
    const char *key = tag->text.data();
    if (ctx->iterDepth == 0 || windowOffset(file, key) >= file->windowLength) return;
    RowPlanSlot *slot = planSlot(ctx, file, tag);
    if (slot->key != key) {
        *slot = {key, nullptr};  // it is not known yet whether there will be another pass
        plans->isUsed = true;
        return;
    }
    if (slot->plan != nullptr) return;  // it has none

    auto *plan = takeRecord<RowPlan>(plans);
    if (plan == nullptr) return;
    plan->start = readerPosition(ctx);
    plan->firstLine = file->lineNo;
    copyPiece(plan->cstyle, row->cstyle);
    slot->plan = plan;
    plans->made = plan;
    plans->lastNext = &plan->first;
    if (!hasReferences(tag)) return;
    plan->tag = keepTag(plans, tag);
    if (plan->tag == nullptr) dropRowPlan(ctx);
}

void planRowValue(TemplateContext *ctx, const TemplateTag *tag, std::int32_t line,
                  const ValueClause *clause, const char *text) {
    RowPlans *plans = ctx->plans;
    if (plans == nullptr || plans->made == nullptr) return;
    auto *value = takeRecord<PlannedValue>(plans);
    if (value == nullptr) return dropRowPlan(ctx);
    value->lines = line - plans->made->firstLine;
    value->textLines = currentFile(ctx)->lineNo - line;
    value->clause = *clause;
    if (text != nullptr) value->text = keepText(plans, text);
    if (hasReferences(tag)) value->tag = keepTag(plans, tag);
    if ((text != nullptr && value->text == nullptr) ||
        (hasReferences(tag) && value->tag == nullptr))
        return dropRowPlan(ctx);
    value->kind = planKind(ctx, tag, value);
    *plans->lastNext = value;
    plans->lastNext = &value->next;
}

void endRowPlan(TemplateContext *ctx) {
    RowPlan *plan = ctx->plans != nullptr ? ctx->plans->made : nullptr;
    if (plan == nullptr) return;
    plan->end = readerPosition(ctx);
    plan->lines = currentFile(ctx)->lineNo - plan->firstLine;
    plan->isComplete = true;
    ctx->plans->made = nullptr;
}

void countRowTag(TemplateContext *ctx) {
    if (ctx->plans != nullptr && ctx->plans->made != nullptr) ++ctx->plans->made->tags;
}

void dropRowPlan(TemplateContext *ctx) {
    if (ctx->plans != nullptr) ctx->plans->made = nullptr;
}

void forgetRowPlans(TemplateContext *ctx) {
    RowPlans *plans = ctx->plans;
    if (plans == nullptr) return;
    plans->made = nullptr;
    if (!plans->isUsed) return;
    std::memset(plans->slots, 0, sizeof plans->slots);
    plans->isUsed = false;
    plans->used = 0;
}

int runRowPlan(TemplateContext *ctx, RowPlan *plan, ReportRow *row, ValueClause *clause,
               KvStore *userVars) {
    TemplateFile *file = currentFile(ctx);
    const std::int32_t firstLine = file->lineNo;
    ctx->steps += std::int64_t{STEPS_TAG} * plan->tags;
    row->count = 0;
    row->format = &plan->format;
    if (plan->tag == nullptr)
        std::memcpy(row->cstyle, plan->cstyle, sizeof row->cstyle);
    else if (parseRowClause(ctx, plan->tag, row) != MERGE_OK)
        return MERGE_TEMPLATE_ERROR;

    int result = MERGE_OK;
    for (const PlannedValue *value = plan->first; value != nullptr && result == MERGE_OK;
         value = value->next) {
        file->lineNo = firstLine + value->lines;
        result = addPlanned(ctx, value, row, clause, userVars);
        if (ctx->failed) result = MERGE_TEMPLATE_ERROR;
    }
    if (result != MERGE_OK) return result;
    file->lineNo = firstLine + plan->lines;
    file->windowPos = plan->end.windowPos;
    ctx->cursor = plan->end.cursor;
    ctx->lineEnd = plan->end.lineEnd;
    return MERGE_OK;
}
