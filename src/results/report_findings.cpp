// SPDX-License-Identifier: MIT
#include "results/report_findings.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include "dmon/dmon.h"

const ReportSink *reportSink = nullptr;
FindingPlace findingPlace = {nullptr, nullptr};

namespace {

constexpr std::size_t FINDING_SIZE = 4096;  // longer than any text; the log cuts there, too

constexpr FindingForm plainForms[] = {
    {FOUND_CAUSE, 1, false, "Error: "},      // TELL_CAUSE
    {FOUND_CAUSE, 1, false, ""},             // TELL_FREE_CAUSE
    {FOUND_ERROR, 1, false, "Error: "},      // TELL_ERROR
    {FOUND_ERROR, 1, false, ""},             // TELL_FREE_ERROR
    {FOUND_WARNING, 2, false, "Warning: "},  // TELL_WARNING
    {FOUND_WARNING, 2, false, ""},           // TELL_FREE_WARNING
    {FOUND_WARNING, 1, false, "Warning: "},  // TELL_PATH
};
static_assert(std::size(plainForms) == PLAIN_FINDING_COUNT);
constexpr FindingForm hintForm = {FOUND_HINT, 0, true, "Warning in "};
constexpr FindingForm hintDetailForm = {FOUND_DETAIL, 0, false, nullptr};
constexpr FindingForm hiddenCauseForm = {FOUND_CAUSE, 0, false, nullptr};

std::int32_t hintCount = 0;  // a sink has one thread

// A format that only passes a text on says nothing of its kind.
bool passesOn(const char *format) {
    return std::strcmp(format, "%s") == 0 || std::strcmp(format, "%.*s") == 0;
}

void handOver(const FindingForm *form, const char *format, const char *text) {
    ReportFinding finding = {form, "", nullptr, 0, passesOn(format) ? text : format, text};
    if (findingPlace.locate != nullptr) findingPlace.locate(findingPlace.merge, &finding);
    reportSink->take(reportSink->user, finding);
}

}  // namespace

bool isFindingRead(const FindingForm *form) {
    if (reportSink != nullptr) return true;
    return form->level > 0 && (dmon_level == nullptr || form->level <= dmon_level());
}

void tellReport(const FindingForm *form, const char *place, const char *format, va_list arguments) {
    if (!isFindingRead(form)) return;
    char text[FINDING_SIZE];
    std::vsnprintf(text, sizeof text, format, arguments);
    if (reportSink != nullptr)
        handOver(form, format, text);
    else if (form->hasPlace)
        dmon_log(form->level, "%s%s: %s\n", form->opening, place, text);
    else
        dmon_log(form->level, "%s%s\n", form->opening, text);
}

void tellFinding(PlainFinding kind, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tellReport(&plainForms[kind], nullptr, format, arguments);
    va_end(arguments);
}

void tellCutPath(const char *path, std::size_t limit) {
    tellFinding(TELL_PATH, "path '%s' was cut at %zu characters.", path, limit);
}

void tellHint(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (wantsHints()) {
        ++hintCount;
        tellReport(&hintForm, nullptr, format, arguments);
    }
    va_end(arguments);
}

void tellPlainHint(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (reportSink != nullptr) tellReport(&hintForm, nullptr, format, arguments);
    va_end(arguments);
}

void tellHintDetail(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (wantsHints()) tellReport(&hintDetailForm, nullptr, format, arguments);
    va_end(arguments);
}

void tellHiddenCause(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (reportSink != nullptr) tellReport(&hiddenCauseForm, nullptr, format, arguments);
    va_end(arguments);
}

std::int32_t takeHintCount() {
    return std::exchange(hintCount, 0);
}
