// SPDX-License-Identifier: MIT
// A root of the process's own in front of all fixed paths.
#pragma once

#include <cstdlib>

#include "support/temp_dir.h"

// The directory that VORN_ROOT names from the first call on. The service reads the variable once,
// so the tests of one process share it.
inline const TempDir &testRoot() {
    static const TempDir root;
    static const int set = setenv("VORN_ROOT", root.path().c_str(), 1);
    static_cast<void>(set);
    return root;
}
