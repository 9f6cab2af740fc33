// SPDX-License-Identifier: MIT
#include "report/template_error.h"

#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "dmon/dmon.h"
#include "report/template_place.h"

namespace {

constexpr std::size_t FINDING_SIZE = 4096;  // longer than any text; the log cuts there, too

// How a kind is logged: "OPENING PLACE: TEXT", or "OPENING TEXT" without a place.
struct FindingForm {
    int level;
    bool hasPlace;
    const char *opening;
};

// By FindingKind.
constexpr FindingForm forms[] = {
    {1, true, "Error in "},             // FINDING_ERROR
    {1, true, "Error in template "},    // FINDING_OUTPUT_ERROR
    {1, false, "Error: "},              // FINDING_ROW_ERROR
    {1, false, ""},                     // FINDING_DETAIL
    {2, true, "Warning in "},           // FINDING_WARNING
    {1, true, "Warning in template "},  // FINDING_NESTED_CLAUSE
    {2, false, "Warning: "},            // FINDING_UNCLOSED
};
static_assert(std::size(forms) == FINDING_KIND_COUNT);

[[gnu::format(printf, 3, 0)]] void report(TemplateContext *ctx, FindingKind kind,
                                          const char *format, va_list arguments) {
    ctx->steps += STEPS_FINDING;
    const FindingForm *form = &forms[kind];
    if (form->level > dmon_level()) return;  // nobody reads the text
    char text[FINDING_SIZE];
    std::vsnprintf(text, sizeof text, format, arguments);
    if (form->hasPlace)
        dmon_log(form->level, "%s%s: %s\n", form->opening, getTemplateLine(ctx), text);
    else
        dmon_log(form->level, "%s%s\n", form->opening, text);
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
