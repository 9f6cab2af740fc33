// SPDX-License-Identifier: MIT
// Where the sources and the built programs of this build stand.
#pragma once

#include <string>

std::string sourceDir();
std::string binDir();
