// SPDX-License-Identifier: MIT
// Looks at a template without making a report: all mistakes in one run, or the keys that a
// dictionary lacks.
#pragma once

#include <string>

struct CheckOrder {
    std::string templateFile;  // "-": standard input
    std::string results;       // empty: none
    std::string format;        // txt or pdf; empty: both
    std::string dict;          // default dictionary
    bool json;
};

// Prints the findings on standard output, a line each or as JSON, and returns their number. Files
// that cannot be read are findings.
int checkTemplate(const CheckOrder &order);

// Prints the keys that the template looks up and no dictionary has in the language that is set,
// with the place, as lines to fill in. Returns the number of keys, or -1 after a message when the
// template, the results or a dictionary cannot be read.
int listMissingKeys(const CheckOrder &order);
