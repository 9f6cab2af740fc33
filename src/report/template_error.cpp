// SPDX-License-Identifier: MIT
#include "report/template_error.h"

#include <cstdarg>
#include <iterator>

#include "report/template_place.h"
#include "results/report_findings.h"

namespace {

// By FindingKind.
constexpr FindingForm forms[] = {
    {FOUND_ERROR, 1, true, "Error in "},               // FINDING_ERROR
    {FOUND_ERROR, 1, true, "Error in template "},      // FINDING_OUTPUT_ERROR
    {FOUND_ERROR, 1, false, "Error: "},                // FINDING_ROW_ERROR
    {FOUND_DETAIL, 1, false, ""},                      // FINDING_DETAIL
    {FOUND_WARNING, 2, true, "Warning in "},           // FINDING_WARNING
    {FOUND_WARNING, 1, true, "Warning in template "},  // FINDING_NESTED_CLAUSE
    {FOUND_WARNING, 2, false, "Warning: "},            // FINDING_UNCLOSED
};
static_assert(std::size(forms) == FINDING_KIND_COUNT);

[[gnu::format(printf, 3, 0)]] void report(TemplateContext *ctx, FindingKind kind,
                                          const char *format, va_list arguments) {
    ctx->steps += STEPS_FINDING;
    const FindingForm *form = &forms[kind];
    if (isFindingRead(form)) tellReport(form, getTemplateLine(ctx), format, arguments);
}

}  // namespace

void templateFinding(TemplateContext *ctx, FindingKind kind, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(ctx, kind, format, arguments);
    va_end(arguments);
}

int templateError(TemplateContext *ctx, int code, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(ctx, FINDING_ERROR, format, arguments);
    va_end(arguments);
    return code;
}

int templateNoMemory(TemplateContext *ctx) {
    ctx->failed = true;
    return templateError(ctx, MERGE_TEMPLATE_ERROR, "no memory.");
}

void templateWarning(TemplateContext *ctx, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(ctx, FINDING_WARNING, format, arguments);
    va_end(arguments);
}
