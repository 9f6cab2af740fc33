// SPDX-License-Identifier: MIT
#include "support/build_paths.h"

std::string sourceDir() {
    return VORN_SOURCE_DIR;
}

std::string binDir() {
    return VORN_BIN_DIR;
}
