// SPDX-License-Identifier: MIT
// Runs one merge on files of a test's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/case_runner.h"
#include "support/temp_dir.h"
#include "vorn/plugin.h"

struct MergeOutcome {
    int result;
    std::string report;  // what the back-end wrote, without the byte-order mark
    std::string log;
};

// A directory with a template "main.tpl" and what it includes, results and dictionaries. The test
// runs in it, so messages name plain files.
class MergeRun {
public:
    explicit MergeRun(std::string_view results = "okra 1\n");
    ~MergeRun();

    void file(std::string_view name, std::string_view content) { dir_.write(name, content); }
    void setVar(const char *name, const char *text);

    // Merges a text as main.tpl.
    MergeOutcome merge(std::string_view text, int logLevel = 1, const char *dictName = "dict");
    // Merges `body` within a report clause on line 1; the body begins on line 2.
    MergeOutcome report(std::string_view body, int logLevel = 1);
    // The same for a row of a case file: "`FORMAT ARGS`" in the body is a row with one value,
    // "`=TEXT`" one that shows a literal text. Gives the report with "/" for each end of a line,
    // and the log, with "%" for the place of line 2, without its last end of a line, and with the
    // result when it is not 0.
    CaseFields caseOutcome(std::string_view body);

    [[nodiscard]] const TempDir &dir() const { return dir_; }

private:
    TempDir dir_;
    KvStore vars_;
};
