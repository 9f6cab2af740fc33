// SPDX-License-Identifier: MIT
// The configuration file: read once at the start, never written.
#pragma once

#include "core/findings.h"

enum ConfigResult : int { CONFIG_OK = 0, CONFIG_FAILED = -1 };

// Reads a file's keys into the options, the later of two equal keys counting. An unknown key is a
// warning. CONFIG_FAILED, after one finding with its place, when the file cannot be read or a line
// is wrong; what stood before that line stays applied.
int loadConfigFile(const char *path, const FindingSink &sink = logFindings);
