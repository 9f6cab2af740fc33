// SPDX-License-Identifier: MIT
// The words of the control socket: status, describe, debug N, stop, and those that the
// service adds.
#pragma once

#include <string_view>

#include "dmon/dmon.h"

namespace dmon {

struct Reply {
    char text[4096];  // one line, with its end
    bool stop;        // the process is to end once the client has the text
};

// Answers a line, which comes without its end. A word that is unknown or lacks its number gets a
// reply that begins with "error".
void answerControlLine(const DmonOps *ops, std::string_view line, Reply *reply);

}  // namespace dmon
