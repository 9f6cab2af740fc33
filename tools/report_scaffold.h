// SPDX-License-Identifier: MIT
// A first template for a results file.
#pragma once

#include <string>

#include "vorn/plugin.h"

// A template that shows every value of the results, each in a row that fits its kind.
std::string scaffoldFor(const Results *results);
