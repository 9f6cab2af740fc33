// SPDX-License-Identifier: MIT
// Formats of reports on a command line.
#pragma once

#include <iterator>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "output/dump_backend.h"

// The parser's check for the word of a format.
inline CLI::Validator isReportFormat() {
    return CLI::IsMember(
        std::vector<std::string>(std::begin(reportFormatWords), std::end(reportFormatWords)));
}
