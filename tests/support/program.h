// SPDX-License-Identifier: MIT
// Runs one of the built programs to its end and keeps what it said.
#pragma once

#include <string>
#include <vector>

struct Outcome {
    int status;       // exit status, or 128 and the number of the signal that ended it
    std::string out;  // standard output
    std::string err;  // standard error; log lines without their time stamps
};

// Runs a program in UTC and with standard input empty.
//   words    its path, or a name to look for in PATH, and its arguments
//   workDir  the directory it starts in; empty: the test's own
Outcome runProgram(const std::vector<std::string> &words, const std::string &workDir = "");
