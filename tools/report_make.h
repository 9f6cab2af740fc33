// SPDX-License-Identifier: MIT
// Makes one report of the author's tool, with the service's engine, into a file or a stream.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/guards.h"
#include "report_findings.h"
#include "results/results.h"

struct ReportOrder {
    std::string results;
    std::string templateFile;  // "-": standard input
    std::string output;        // "-": standard output
    std::uint32_t format;      // ReportFormat
    std::string dict;          // default dictionary
    std::string lang;          // of a text report
    bool overwrite;            // an earlier report is replaced, not moved aside
    bool strict;               // a warning is an error
    bool quiet;                // warnings and the outcome are not told
    bool oneOfMany;            // only a failure is told, in one line, and the caller syncs
    bool ownName;              // `report-name` is not set by the user
    std::string reportName;    // of this report; empty: as the user variables say
};

// Makes the report, whole or not at all, and tells on standard error what was found and which
// report was written. The user variables are those of kv_urv. False after a message.
bool makeReport(const ReportOrder &order);

// Tells that one of many reports was not made: one line on standard error.
void tellFailure(const std::string &results, const std::string &reason);

// Whether a path names what can be read once only, or by its number: "-" for a standard stream, a
// FIFO, a device, an open file.
bool isStream(const std::string &path);

// Opens a template for reading, or a copy of it when it is a stream. Null with errno set.
FileGuard openTemplate(const std::string &path);

// Loads results, of a stream as well; false after a message, or with the reason in `fault` when it
// is not null.
bool loadResults(const std::string &path, ResultsGuard *results, ResultsFault *fault = nullptr);

// What `report-name` is unless it is set: the name of the results file without its ending.
std::string reportNameOf(const std::string &results);

// How messages name a template or results.
std::string shownInput(const std::string &path);
