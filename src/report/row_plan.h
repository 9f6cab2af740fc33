// SPDX-License-Identifier: MIT
// Rows in loops, worked out once.
//
// A loop runs the same row again and again: the same tags on the same lines, whose clauses mostly
// mean the same each time. So when a row is run in a loop, the merge writes down what it did: a
// plan. The next pass that comes to the row follows the plan, and reads no tag of it.
//
// A plan holds what no pass can change: which value clauses the row has, on which lines, and where
// the reader stands behind the row. For each value it holds as much as is certain:
//   - a clause without references ${name} always means the same, so it is kept as it was read;
//   - a text without references is printed as it stands here;
//   - of a link without references the register is kept, since results never change in a merge;
//   - of a link like "ports@frames${i}:max" the application, the texts on both sides of the
//     reference, the parameter and the field are kept: a pass puts the name together and looks the
//     register up;
//   - any other clause with references is kept taken apart, and is read anew in each pass.
// Whatever a pass finds other than planned, such as a register that is not there, is done the plain
// way from the clause on, by the same functions that rows without a plan use: so values, messages
// and the places in them are the same with and without plans.
//
// A row that does anything but take values (includes, loops and nested clauses in it) has no plan.
// Plans live in one block of ROW_PLAN_ROOM bytes a merge; a row that does not fit in is read anew
// in each pass. They point into the stretch of the template that the reader holds, and are
// forgotten with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "output/row_format.h"
#include "report/template_context.h"
#include "report/value_clause.h"
#include "vorn/plugin.h"

constexpr std::size_t ROW_PLAN_ROOM = std::size_t{48} * 1024;
constexpr std::size_t ROW_PLAN_SLOTS = 128;

// How much of a value is certain.
enum PlannedKind : std::uint8_t {
    PLANNED_CLAUSE,    // the clause
    PLANNED_TEXT,      // and that the text is printed as it is
    PLANNED_REGISTER,  // and its register
    PLANNED_LINK,      // the parts of a link around one reference
    PLANNED_READING,   // nothing: the clause is read anew
};

struct PlannedValue {
    PlannedValue *next;
    PlannedKind kind;
    std::int32_t lines;      // from the row clause's line down to this one
    std::int32_t textLines;  // from there down to the end of the text
    char *text;              // the literal text, of a clause without a source
    const TemplateTag *tag;  // taken apart; null for a clause without references
    const RegisterRecord *reg;
    const Results *app;          // of a link: where its register is,
    const TemplateParam *param;  // and the parameter in the register's name
    std::string_view head;       // of the register's name, before the parameter
    std::string_view tail;       // and behind it, without field or index
    std::int32_t field;
    std::int32_t index;
    std::int64_t steps;  // of the search for the parameter
    ValueClause clause;
};

// Where the reader stands in its window.
struct ReaderPosition {
    const char *cursor;
    const char *lineEnd;
    std::size_t windowPos;
};

struct RowPlan {
    bool isComplete;    // else the row has none
    std::int32_t tags;  // from the row clause to its end, without one of the two
    ReaderPosition start;
    ReaderPosition end;
    std::int32_t firstLine;  // of the row clause, while the plan is made
    std::int32_t lines;      // from there down to the end
    const TemplateTag *tag;  // the row clause taken apart; null when it has no references
    char cstyle[CFORMAT_SIZE];
    RowFormat format;  // of the cstyle
    PlannedValue *first;
};

// What is known of a row clause of a loop that was met at least once.
struct RowPlanSlot {
    const char *key;
    RowPlan *plan;  // null: the clause was met once
};

// All plans of a merge; all zero, there is none.
struct RowPlans {
    RowPlanSlot slots[ROW_PLAN_SLOTS];  // by the row clause's place in the window
    bool isUsed;                        // a slot is taken
    RowPlan *made;                      // the plan that is being made, or null
    PlannedValue **lastNext;            // where its next value goes
    std::size_t used;
    alignas(std::max_align_t) char room[ROW_PLAN_ROOM];
};

// Without ctx->plans they all do nothing.

// The plan for the row clause that was just found, or null. The row's plan then is complete, and
// the reader stands where it stood when the plan was made.
RowPlan *findRowPlan(TemplateContext *ctx, const TemplateTag *tag);

// Begins a plan for a row clause that was just read, when a loop comes to it again.
void beginRowPlan(TemplateContext *ctx, const TemplateTag *tag, const ReportRow *row);

// Adds a value that was just added to the row.
//   line  of the clause
//   text  its literal text, or null
void planRowValue(TemplateContext *ctx, const TemplateTag *tag, std::int32_t line,
                  const ValueClause *clause, const char *text);

// Completes the plan: the reader stands behind the row.
void endRowPlan(TemplateContext *ctx);

// Notes that the merge has acted on a tag.
void countRowTag(TemplateContext *ctx);

// Gives the plan up that is being made: the row does what plans do not know.
void dropRowPlan(TemplateContext *ctx);

// Forgets all plans: what they point to is about to move.
void forgetRowPlans(TemplateContext *ctx);

// Follows a plan: fills the row, and leaves the reader behind it. MERGE_OK, or the code that the
// row or value clause that failed gives, after its messages.
//   row     gets the plan's format, too; the caller writes and releases it
//   clause  for reading into
int runRowPlan(TemplateContext *ctx, RowPlan *plan, ReportRow *row, ValueClause *clause,
               KvStore *userVars);
