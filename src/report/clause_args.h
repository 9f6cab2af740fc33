// SPDX-License-Identifier: MIT
// The arguments of a clause as a table: name, message for a missing value, what the value does.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "report/template_context.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_params.h"

template <class Target>
struct ClauseArg {
    std::string_view name;
    const char *missing;  // message for an empty value; null: the value may be empty
    // A NUL follows the value.
    int (*apply)(TemplateContext *ctx, std::string_view value, Target *target);
};

// Applies one argument. MERGE_OK, also for one without a name, which is passed over; the code of
// its `apply`; or MERGE_TEMPLATE_ERROR, after a message, when it is unknown or its value missing.
template <class Target, std::size_t N>
int applyClauseArg(TemplateContext *ctx, const RawArg &raw, const char *clause,
                   const ClauseArg<Target> (&known)[N], Target *target) {
    ParsedArg arg;
    // A failed expansion was reported; the clause goes on with the unexpanded value.
    static_cast<void>(expandArg(ctx, raw, TEMPLATE_TEXT_SIZE, &arg));
    if (arg.name.empty()) return MERGE_OK;

    const auto *row = std::find_if(std::begin(known), std::end(known),
                                   [&arg](const auto &k) { return k.name == arg.name; });
    if (row == std::end(known)) {
        const auto *near = std::find_if(std::begin(known), std::end(known), [&arg](const auto &k) {
            return isNearName(arg.name, k.name);
        });
        if (near != std::end(known)) tellHiddenCause("'%s' is one", near->name.data());
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "unknown argument '%.*s' in '%s' clause.",
                             static_cast<int>(arg.name.size()), arg.name.data(), clause);
    }
    if (row->missing != nullptr && arg.value.empty())
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "%s", row->missing);
    return row->apply(ctx, arg.value, target);
}

// Applies an argument after others that gave `result`; after one that failed only a check looks at
// it. Returns the code of the first that failed.
template <class Target, std::size_t N>
int applyNextArg(TemplateContext *ctx, const RawArg &raw, const char *clause,
                 const ClauseArg<Target> (&known)[N], Target *target, int result) {
    if (result != MERGE_OK && !readsOn()) return result;
    const int next = applyClauseArg(ctx, raw, clause, known, target);
    return result == MERGE_OK ? next : result;
}

// Applies each argument of a clause in its order. MERGE_OK, or the code of the first that fails.
//   clause  its name, for messages
//   result  of arguments before
template <class Target, std::size_t N>
int parseClauseArgs(TemplateContext *ctx, std::string_view args, const char *clause,
                    const ClauseArg<Target> (&known)[N], Target *target, int result = MERGE_OK) {
    while (!args.empty()) result = applyNextArg(ctx, takeArg(&args), clause, known, target, result);
    return result;
}

// The same for a tag whose arguments were split before.
template <class Target, std::size_t N>
int parseClauseArgs(TemplateContext *ctx, const TemplateTag *tag, const char *clause,
                    const ClauseArg<Target> (&known)[N], Target *target) {
    int result = MERGE_OK;
    for (std::int32_t i = 0; i < tag->argCount; ++i)
        result = applyNextArg(ctx, tag->split[i], clause, known, target, result);
    return parseClauseArgs(ctx, tag->furtherArgs, clause, known, target, result);
}
