// SPDX-License-Identifier: MIT
#include "report/iterations.h"

#include <cstring>

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/item_values.h"
#include "report/plugins.h"
#include "report/template_params.h"
#include "report/template_reader.h"
#include "storage/strings.h"

namespace {

int setVar(TemplateContext *, std::string_view value, TemplateIteration *iteration) {
    copyPiece(iteration->var, value);
    return MERGE_OK;
}

int setFrom(TemplateContext *ctx, std::string_view value, TemplateIteration *iteration) {
    return evalTemplateInt(ctx, value.data(), &iteration->from);
}

int setTo(TemplateContext *ctx, std::string_view value, TemplateIteration *iteration) {
    return evalTemplateInt(ctx, value.data(), &iteration->to);
}

constexpr ClauseArg<TemplateIteration> iterateArgs[] = {
    {"var", "Error in %s: missing iteration 'var' in template.\n", setVar},
    {"from", "Error in %s: missing iteration '%s' in template.\n", setFrom},
    {"to", "Error in %s: missing iteration '%s' in template.\n", setTo},
};

TemplateIteration *innermost(TemplateContext *ctx) {
    return ctx->iterDepth > 0 ? &ctx->iterations[ctx->iterDepth - 1] : nullptr;
}

bool isSkipped(const TemplateIteration *iteration) {
    return iteration->counter > iteration->to;
}

void setIterationVar(TemplateContext *ctx, const TemplateIteration *iteration) {
    TemplateParam **params = currentParams(ctx);
    if (params != nullptr) setTemplateParamInt(params, iteration->var, iteration->counter);
}

// The first four bytes of a value as a number. Every value has as many: numbers have, and a text
// that fetchItemValue made.
std::int32_t firstWord(const ItemValue *value) {
    std::int32_t word = 0;
    std::memcpy(&word, value->data, sizeof word);
    return word;
}

int evalItem(TemplateContext *ctx, const char *text, std::int32_t *number) {
    ItemValue value{};
    const int result = fetchItemValue(ctx, text, &value);
    if (result == MERGE_OK) *number = value.data == nullptr ? 1 : firstWord(&value);
    releaseItemValue(&value);
    return result;
}

int evalPlugin(TemplateContext *ctx, const char *text, std::int32_t *number) {
    ItemValue value{};
    int result = callPlugin(ctx, text, &value);
    if (result != MERGE_OK) {
        dmon_log(1, "Error in %s: plugin returned error.\n", getTemplateLine(ctx));
    } else if (value.type != VORN_TYPE_INT32 || value.data == nullptr) {
        dmon_log(1, "Error in %s: Plugin must return an INT32 value.\n", getTemplateLine(ctx));
        result = MERGE_TEMPLATE_ERROR;
    } else {
        *number = firstWord(&value);
    }
    releaseItemValue(&value);
    return result;
}

}  // namespace

int evalTemplateInt(TemplateContext *ctx, const char *text, std::int32_t *number) {
    if (std::strchr(text, '@') != nullptr) return evalItem(ctx, text, number);
    if (std::strchr(text, '.') != nullptr) return evalPlugin(ctx, text, number);
    *number = toInt32(text);
    return MERGE_OK;
}

int parseIterateClause(TemplateContext *ctx, std::string_view args, TemplateIteration *iteration) {
    *iteration = TemplateIteration{};
    const int result =
        parseClauseArgs(ctx, args, iterateArgs,
                        "Error in %s: unknown argument '%s' in 'iterate' clause.\n", iteration);
    iteration->filePos = templateTell(ctx);
    iteration->lineNo = currentPlace(ctx).lineNo;
    return result;
}

int pushIteration(TemplateContext *ctx, const TemplateIteration *iteration) {
    if (ctx->iterDepth == TEMPLATE_MAX_ITERATIONS) {
        dmon_log(1, "Error in %s: too many nested 'iterate' clauses.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    TemplateIteration *entry = &ctx->iterations[ctx->iterDepth];
    *entry = *iteration;
    entry->counter = entry->from;
    setIterationVar(ctx, entry);
    ctx->iterationPlaces[ctx->iterDepth] = currentPlace(ctx);
    ++ctx->iterDepth;
    return MERGE_OK;
}

int beginIteration(TemplateContext *ctx, std::string_view args) {
    TemplateIteration iteration{};
    const TemplateIteration *outer = innermost(ctx);
    if (outer != nullptr && isSkipped(outer)) {
        iteration.from = 1;
        iteration.to = 0;
    } else {
        const int result = parseIterateClause(ctx, args, &iteration);
        if (result != MERGE_OK) return result;
    }
    const int result = pushIteration(ctx, &iteration);
    if (result != MERGE_OK) return result;
    TemplateIteration *entry = innermost(ctx);
    if (isSkipped(entry)) {
        entry->savedState = ctx->state;
        ctx->state = MERGE_SKIPPED;
    }
    return MERGE_OK;
}

int nextIteration(TemplateContext *ctx) {
    TemplateIteration *iteration = innermost(ctx);
    if (iteration == nullptr || iteration->counter == INT32_MAX) return ITERATION_OVER;
    ++iteration->counter;
    setIterationVar(ctx, iteration);
    if (iteration->counter > iteration->to) return ITERATION_OVER;
    if (++ctx->passes > TEMPLATE_MAX_PASSES) {
        dmon_log(1, "Error in %s: too many iterations.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    templateSeek(ctx, iteration->filePos, iteration->lineNo);
    return ITERATION_AGAIN;
}

int popIteration(TemplateContext *ctx) {
    const TemplateIteration *iteration = innermost(ctx);
    if (iteration == nullptr) {
        dmon_log(1, "Error in %s: not in an 'iteration' clause.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    if (ctx->state == MERGE_SKIPPED) ctx->state = iteration->savedState;
    --ctx->iterDepth;
    return MERGE_OK;
}
