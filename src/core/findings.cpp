// SPDX-License-Identifier: MIT
#include "core/findings.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/config_lines.h"
#include "dmon/dmon.h"
#include "storage/strings.h"

namespace {

constexpr std::size_t TEXT_SIZE = CONFIG_LINE_SIZE + 80;  // a word of a line, and words of ours

const char *severityName(Severity severity) {
    return severity == SEVERITY_ERROR ? "Error" : "Warning";
}

void logFinding(void * /*user*/, const Finding &finding) {
    if (finding.severity == SEVERITY_APPLIED || finding.severity == SEVERITY_HINT) return;
    if (finding.logged != nullptr)
        dmon_log(1, "%s\n", finding.logged);
    else
        dmon_log(1, "%s in [%s:%d]: %s\n", severityName(finding.severity), finding.place.path,
                 finding.place.line, finding.text);
}

}  // namespace

const FindingSink logFindings = {logFinding, nullptr, STOP_AT_ERROR};

void tell(const FindingSink &sink, const Finding &finding) {
    sink.take(sink.user, finding);
}

void tellText(const FindingSink &sink, Severity severity, const Place &place, const char *format,
              ...) {
    char text[TEXT_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    tell(sink, {severity, place, text, nullptr});
}

void tellPlain(const FindingSink &sink, Severity severity, const Place &place, const char *format,
               ...) {
    char logged[TEXT_SIZE];
    const int head = std::snprintf(logged, sizeof logged, "%s: ", severityName(severity));
    char *text = logged + head;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof logged - static_cast<std::size_t>(head), format, arguments);
    va_end(arguments);
    tell(sink, {severity, place, text, logged});
}

void takePath(const FindingSink &sink, const Place &place, char *out, unsigned size,
              const char *path) {
    safe_strncpy(out, path, size);
    if (std::strlen(path) >= size)
        tellPlain(sink, SEVERITY_WARNING, place, "path '%s' was cut at %u characters.", out,
                  size - 1);
}
