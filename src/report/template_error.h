// SPDX-License-Identifier: MIT
// The gate of the merge's messages: each is made here, from its kind, the place in the template and
// a text, and here it goes to the log. Good templates cause few of them, which the compiler knows.
#pragma once

#include "report/template_context.h"

enum FindingKind : std::uint8_t {
    FINDING_ERROR,          // stops the merge, or spoils what it stands in
    FINDING_OUTPUT_ERROR,   // the back-end refused what it got
    FINDING_ROW_ERROR,      // of a text value; names no place
    FINDING_DETAIL,         // says more of the error before it
    FINDING_WARNING,        // the merge goes on as if nothing were
    FINDING_NESTED_CLAUSE,  // a clause that does not count where it stands
    FINDING_UNCLOSED,       // clauses that are open at the end; names no place
    FINDING_KIND_COUNT
};

// Logs a message as its kind says. `format` has no line end.
[[gnu::cold, gnu::format(printf, 3, 4)]] void templateFinding(TemplateContext *ctx,
                                                              FindingKind kind, const char *format,
                                                              ...);

// Logs "Error in PLACE: TEXT" at level 1 and returns `code`.
[[gnu::cold, gnu::format(printf, 3, 4)]] int templateError(TemplateContext *ctx, int code,
                                                           const char *format, ...);

// Says where the back-end refused what it got; passes its code on.
inline int reportOutput(TemplateContext *ctx, int result) {
    if (result != DUMP_OK) templateFinding(ctx, FINDING_OUTPUT_ERROR, "Could not format output.");
    return result;
}

// Logs as an error that there is no memory, and ends the merge, whatever the clause makes of it.
// MERGE_TEMPLATE_ERROR.
[[gnu::cold]] int templateNoMemory(TemplateContext *ctx);

// Logs "Warning in PLACE: TEXT" at level 2.
[[gnu::cold, gnu::format(printf, 2, 3)]] void templateWarning(TemplateContext *ctx,
                                                              const char *format, ...);
