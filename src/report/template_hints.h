// SPDX-License-Identifier: MIT
// What a check of a template looks for besides the merge's own messages. Each tells a sink that
// wants hints, and nobody else.
#pragma once

#include <string_view>

#include "report/template_context.h"
#include "results/report_findings.h"

// Whether a template is looked at without results: items have no value then, sections that they
// decide on appear, and functions of plug-ins are found but not called.
inline bool withoutResults() {
    return reportSink != nullptr && reportSink->withoutResults;
}

// Whether wrong clauses are left out and all that follows is read, as a check does.
inline bool readsOn() {
    return reportSink != nullptr && reportSink->goOn;
}

// Whether a name was most likely meant to be another: one or two letters differ.
bool isNearName(std::string_view name, std::string_view known);

// Tells of a clause that is passed over in the merge's state.
void hintIgnored(const TemplateContext *ctx, std::string_view clause);

// Tells of text behind a tag whose line is not read on.
void hintRestOfLine(const TemplateContext *ctx, std::string_view clause);

// Tells of a value whose quotes a "," splits.
void hintSplitQuotes(std::string_view args);

// Tells of a value of which `room` - 1 characters are used. `what` is in the singular.
void tellCut(std::string_view value, std::size_t room, const char *what);
inline void hintCut(std::string_view value, std::size_t room, const char *what) {
    if (wantsHints()) tellCut(value, room, what);
}

// Tells of a css property that changes nothing.
void hintNoEffect(std::string_view property, std::string_view value);

// Tells of a text that was read as a number and is not one, as an item without "@".
void hintNumber(std::string_view text, std::int32_t number);

// Tells of a font that PDF readers do not have.
void hintFont(const char *family);

// Tells of what is missing at the end of a template.
void hintEnd(const TemplateContext *ctx, bool hadReport);
