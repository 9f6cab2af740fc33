// SPDX-License-Identifier: MIT
// The error codes of the host's application manager and their texts.
#pragma once

#include "okra/okra.h"

enum OkraError : int {
    OKRA_OK = 0,
    OKRA_NOT_READY = -1,  // the manager's directory is not there
    OKRA_NOT_RUNNING = APX_NOT_RUNNING,
    OKRA_DISABLED = APX_DISABLED,
    OKRA_BAD_REQUEST = -4,  // an argument or a request record that makes no sense
    OKRA_BAD_FILE = -5,     // a results file, or a file of the manager, breaks its rules
    OKRA_FILE_ERROR = -6,   // a file or a queue cannot be had, read or written
    OKRA_NO_MEMORY = -7,
    OKRA_NO_LIST = -8,       // no such change list
    OKRA_NONE_RUNNING = -9,  // none of the applications to save runs
};

// Keeps a text for the code, which APX_Error gives to this thread until its next failure;
// okraFailAt with the number of a line in front. Returns the code.
[[gnu::format(printf, 2, 3)]] int okraFail(OkraError code, const char *format, ...);
[[gnu::format(printf, 3, 4)]] int okraFailAt(unsigned line, OkraError code, const char *format,
                                             ...);
