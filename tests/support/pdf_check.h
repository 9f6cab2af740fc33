// SPDX-License-Identifier: MIT
// What other programs make of a PDF file.
#pragma once

#include <string>

#include "support/program.h"

// Runs a command of the shell and returns all that it prints; its exit status stands behind it
// when that is not 0.
inline std::string runCommand(const std::string &command) {
    const Outcome outcome = runProgram({"sh", "-c", command + " 2>&1"});
    if (outcome.status == 0) return outcome.out;
    return outcome.out + "exit status " + std::to_string(outcome.status) + "\n";
}

// Complaints of a checker about a PDF file; empty for a sound one.
inline std::string pdfComplaints(const std::string &path) {
    const std::string output = runCommand("qpdf --check '" + path + "'");
    const bool sound = output.find("No syntax or stream encoding errors") != std::string::npos &&
                       output.find("WARNING") == std::string::npos &&
                       output.find("exit status") == std::string::npos;
    return sound ? "" : output;
}

// The text that a reader sees, laid out as on the pages; each page ends with a form feed.
inline std::string pdfText(const std::string &path) {
    return runCommand("pdftotext -layout -enc UTF-8 '" + path + "' -");
}
