// SPDX-License-Identifier: MIT
// Reads a configuration as the service would and tells everything that is wrong with it.
#pragma once

#include <string>
#include <vector>

// The findings: `file:line: text`, or `path: text` where there is no line. Writes nothing and
// starts nothing. Called once a process.
//   root  stands in front of fixed paths, as VORN_ROOT does
std::vector<std::string> checkConfig(const std::string &root);
