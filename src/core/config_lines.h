// SPDX-License-Identifier: MIT
// The lines of configuration and subscription files: a key and a value, separated by blanks and
// tabs. What follows them on the line is ignored; lines that begin with '#' are comments.
#pragma once

#include <cstdio>

#include "core/findings.h"

// Longer lines go on as the next line, with the next line number.
constexpr int CONFIG_LINE_SIZE = 128;

// One line. Begins all zero; `number` counts every line that was read.
struct ConfigLine {
    int number;
    char text[CONFIG_LINE_SIZE];
    char *key;    // in `text`, as the value is
    char *value;  // null when the line has none
    char *extra;  // the first of the words that are ignored, null when there are none
    bool cut;     // the rest comes as the next line
};

// Reads on to the next line that has a key. False at the end of the file or when a read fails,
// which ferror tells apart.
bool readConfigLine(std::FILE *file, ConfigLine *line);

// Tells what of a line is not taken as its writer may think.
void tellIgnored(const FindingSink &sink, const Place &at, const ConfigLine &line);
