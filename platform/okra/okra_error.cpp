// SPDX-License-Identifier: MIT
#include "okra/okra_error.h"

#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "okra/okra.h"

namespace {

// By the code's distance from 0.
constexpr const char *texts[] = {
    "no error",
    "the application manager is not ready",
    "no such application",
    "measurements are disabled",
    "bad request",
    "bad file",
    "file error",
    "no memory",
    "no such change list",
    "none of the applications runs",
};
static_assert(std::size(texts) == 1 - OKRA_NONE_RUNNING);

// The last failure of this thread that had more to say than its code.
struct LastFailure {
    int code;
    unsigned line;   // 0: none
    int lineLength;  // of what says so in the text
    char text[240];
};
thread_local LastFailure lastFailure;

[[gnu::format(printf, 2, 0)]] int keep(OkraError code, const char *format, va_list arguments) {
    const auto start = static_cast<std::size_t>(lastFailure.lineLength);
    std::vsnprintf(lastFailure.text + start, sizeof lastFailure.text - start, format, arguments);
    lastFailure.code = code;
    return code;
}

}  // namespace

int okraFail(OkraError code, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    lastFailure.line = 0;
    lastFailure.lineLength = 0;
    keep(code, format, arguments);
    va_end(arguments);
    return code;
}

int okraFailAt(unsigned line, OkraError code, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    lastFailure.line = line;
    lastFailure.lineLength =
        std::snprintf(lastFailure.text, sizeof lastFailure.text, "line %u: ", line);
    keep(code, format, arguments);
    va_end(arguments);
    return code;
}

const char *APX_Error_Reason(int code, std::uint32_t *line) {
    const bool isLast = code != OKRA_OK && code == lastFailure.code;
    *line = isLast ? lastFailure.line : 0;
    return APX_Error(code) + (isLast ? lastFailure.lineLength : 0);
}

const char *APX_Error(int code) {
    if (code != OKRA_OK && code == lastFailure.code) return lastFailure.text;
    if (code > 0 || code < OKRA_NONE_RUNNING) return "unknown error";
    return texts[-code];
}
