// SPDX-License-Identifier: MIT
#include "report/iterate_clause.h"

#include "report/clause_args.h"
#include "report/evaluate.h"
#include "report/template_hints.h"
#include "report/template_params.h"
#include "report/template_place.h"
#include "report/template_reader.h"
#include "storage/strings.h"

namespace {

int setVar(TemplateContext *, std::string_view value, TemplateIteration *iteration) {
    hintCut(value, sizeof iteration->var, "the loop's variable");
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
    {"var", "missing iteration 'var' in template.", setVar},
    {"from", "missing iteration 'from' in template.", setFrom},
    {"to", "missing iteration 'to' in template.", setTo},
};

TemplateIteration *innermost(TemplateContext *ctx) {
    return ctx->iterDepth > 0 ? &ctx->iterations[ctx->iterDepth - 1] : nullptr;
}

bool isSkipped(const TemplateIteration *iteration) {
    return iteration->counter > iteration->to;
}

int setIterationVar(TemplateContext *ctx, const TemplateIteration *iteration) {
    TemplateParam **params = currentParams(ctx);
    if (params == nullptr) return MERGE_OK;
    if (setTemplateParamInt(params, iteration->var, iteration->counter) != MERGE_OK)
        return templateNoMemory(ctx);
    // Each pass may have named another variable.
    std::int64_t count = 0;
    for (const TemplateParam *param = *params; param != nullptr; param = param->next) ++count;
    ctx->steps += count / STEPS_PARAMETERS;
    return MERGE_OK;
}

}  // namespace

int parseIterateClause(TemplateContext *ctx, std::string_view args, TemplateIteration *iteration) {
    *iteration = TemplateIteration{};
    const int result = parseClauseArgs(ctx, args, "iterate", iterateArgs, iteration);
    iteration->filePos = templateTell(ctx);
    iteration->lineNo = currentPlace(ctx).lineNo;
    return result;
}

int pushIteration(TemplateContext *ctx, const TemplateIteration *iteration) {
    if (ctx->iterDepth == TEMPLATE_MAX_ITERATIONS)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "too many nested 'iterate' clauses.");
    TemplateIteration *entry = &ctx->iterations[ctx->iterDepth];
    *entry = *iteration;
    entry->counter = entry->from;
    const int result = setIterationVar(ctx, entry);
    if (result != MERGE_OK) return result;
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
        ctx->state = INSIDE_SKIPPED;
    }
    return MERGE_OK;
}

int nextIteration(TemplateContext *ctx) {
    TemplateIteration *iteration = innermost(ctx);
    if (iteration == nullptr || iteration->counter == INT32_MAX) return ITERATION_OVER;
    ++iteration->counter;
    const int result = setIterationVar(ctx, iteration);
    if (result != MERGE_OK) return result;
    if (iteration->counter > iteration->to) return ITERATION_OVER;
    if (++ctx->passes > TEMPLATE_MAX_PASSES)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "too many iterations.");
    templateSeek(ctx, iteration->filePos, iteration->lineNo);
    return ITERATION_AGAIN;
}

int popIteration(TemplateContext *ctx) {
    const TemplateIteration *iteration = innermost(ctx);
    if (iteration == nullptr)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "not in an 'iteration' clause.");
    if (ctx->state == INSIDE_SKIPPED) ctx->state = iteration->savedState;
    --ctx->iterDepth;
    return MERGE_OK;
}
