// SPDX-License-Identifier: MIT
// Reads a configuration as the service would and tells what is wrong with it.
#pragma once

#include <string>
#include <vector>

struct CheckFinding {
    bool error;  // the service does not start, or cannot save; else a hint
    std::string file;
    int line;  // 0: the file, or folder, as a whole
    std::string text;
};

// Writes nothing and starts nothing. Called once a process.
//   root        stands in front of fixed paths, as VORN_ROOT does
//   configFile  as the service's -c; empty: the default
std::vector<CheckFinding> checkConfig(const std::string &root, const std::string &configFile);
