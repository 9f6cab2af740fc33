// SPDX-License-Identifier: MIT
// What other programs make of a PDF file.
#pragma once

#include <cstdio>
#include <string>

#include <sys/wait.h>

// Runs a command of the shell and returns all that it prints; its exit status stands behind it
// when that is not 0.
inline std::string runCommand(const std::string &command) {
    std::string output;
    std::FILE *pipe = popen((command + " 2>&1").c_str(), "r");
    for (int c; (c = std::getc(pipe)) != EOF;) output += static_cast<char>(c);
    const int status = pclose(pipe);
    if (status != 0) output += "exit status " + std::to_string(WEXITSTATUS(status)) + "\n";
    return output;
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
