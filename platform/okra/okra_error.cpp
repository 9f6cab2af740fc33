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
    char text[240];
};
thread_local LastFailure lastFailure;

}  // namespace

int okraFail(OkraError code, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(lastFailure.text, sizeof lastFailure.text, format, arguments);
    va_end(arguments);
    lastFailure.code = code;
    return code;
}

const char *APX_Error(int code) {
    if (code != OKRA_OK && code == lastFailure.code) return lastFailure.text;
    if (code > 0 || code < OKRA_NONE_RUNNING) return "unknown error";
    return texts[-code];
}
