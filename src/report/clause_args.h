// SPDX-License-Identifier: MIT
// The arguments of a clause as a table: name, message for a missing value, what the value does.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "report/template_context.h"
#include "report/template_params.h"

// Never defined: a call stops the compiler where a ClauseMessage is not fit for use.
void clauseMessageHoldsAnotherConversion();

// A message of a clause table: checked when the program is compiled to hold no conversion but "%s",
// at most two, which get the template's place and the argument's name.
struct ClauseMessage {
    const char *text;

    consteval ClauseMessage(std::nullptr_t) : text(nullptr) {}
    consteval ClauseMessage(const char *message) : text(message) {
        int conversions = 0;
        for (const char *c = message; *c != '\0'; ++c) {
            if (*c != '%') continue;
            if (*++c != 's' || ++conversions > 2) clauseMessageHoldsAnotherConversion();
        }
    }
};

template <class Target>
struct ClauseArg {
    std::string_view name;
    ClauseMessage missing;  // for an empty value; null: the value may be empty
    // A NUL follows the value.
    int (*apply)(TemplateContext *ctx, std::string_view value, Target *target);
};

// Logs a clause's message at level 1 and returns MERGE_TEMPLATE_ERROR.
int refuseClauseArg(TemplateContext *ctx, ClauseMessage message, std::string_view name);

// Applies one argument. MERGE_OK, also for one without a name, which is passed over; the code of
// its `apply`; or MERGE_TEMPLATE_ERROR, after a message, when it is unknown or its value missing.
template <class Target, std::size_t N>
int applyClauseArg(TemplateContext *ctx, const RawArg &raw, const ClauseArg<Target> (&known)[N],
                   ClauseMessage unknown, Target *target) {
    ParsedArg arg;
    // A failed expansion was reported; the clause goes on with the unexpanded value.
    static_cast<void>(expandArg(ctx, raw, TEMPLATE_TEXT_SIZE, &arg));
    if (arg.name.empty()) return MERGE_OK;

    const auto *row = std::find_if(std::begin(known), std::end(known),
                                   [&arg](const auto &k) { return k.name == arg.name; });
    if (row == std::end(known)) return refuseClauseArg(ctx, unknown, arg.name);
    if (row->missing.text != nullptr && arg.value.empty())
        return refuseClauseArg(ctx, row->missing, arg.name);
    return row->apply(ctx, arg.value, target);
}

// Applies each argument of a clause in its order. MERGE_OK, or the code of the first that fails.
template <class Target, std::size_t N>
int parseClauseArgs(TemplateContext *ctx, std::string_view args,
                    const ClauseArg<Target> (&known)[N], ClauseMessage unknown, Target *target) {
    int result = MERGE_OK;
    while (result == MERGE_OK && !args.empty())
        result = applyClauseArg(ctx, takeArg(&args), known, unknown, target);
    return result;
}

// The same for a tag whose arguments were split when it was found.
template <class Target, std::size_t N>
int parseClauseArgs(TemplateContext *ctx, const TemplateTag *tag,
                    const ClauseArg<Target> (&known)[N], ClauseMessage unknown, Target *target) {
    int result = MERGE_OK;
    for (std::int32_t i = 0; i < tag->argCount && result == MERGE_OK; ++i)
        result = applyClauseArg(ctx, tag->split[i], known, unknown, target);
    return result == MERGE_OK ? parseClauseArgs(ctx, tag->furtherArgs, known, unknown, target)
                              : result;
}
