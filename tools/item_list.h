// SPDX-License-Identifier: MIT
// What a template can ask of a results file: every application and register, with the text that
// reaches each value.
#pragma once

#include <string>

#include "vorn/plugin.h"

// The list as JSON; keys and their meaning stand in docs/vorn-report.md.
std::string itemListJson(const Results *results);

// The list for reading, a line a value.
std::string itemListText(const Results *results);
