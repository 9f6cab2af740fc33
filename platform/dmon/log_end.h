// SPDX-License-Identifier: MIT
// The log's last line.
#pragma once

namespace dmon {

// Writes a line of level 1, unless standard error would keep the caller waiting. May be called by a
// signal handler.
void logEnd(const char *text);

}  // namespace dmon
