// SPDX-License-Identifier: MIT
// The output back-end of one report: passes rows, styles and sections on to the operations of its
// format. Used by the one thread that makes the report.
#pragma once

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "output/report_records.h"

enum ReportFormat : std::uint32_t { RPT_FMT_TXT = 0, RPT_FMT_PDF = 1 };

// What people call a format, and how the name of such a report ends, behind a dot.
constexpr const char *reportFormatWords[] = {"txt", "pdf"};
static_assert(std::size(reportFormatWords) == RPT_FMT_PDF + 1);

// Whether a file's name, which is more than that, ends as that of a report of the format.
constexpr bool isReportName(std::string_view name, ReportFormat format) {
    const std::string_view word = reportFormatWords[format];
    return name.size() > word.size() + 1 && name.ends_with(word) &&
           name[name.size() - word.size() - 1] == '.';
}
constexpr bool isReportName(std::string_view name) {
    return isReportName(name, RPT_FMT_TXT) || isReportName(name, RPT_FMT_PDF);
}

enum DumpResult : int {
    DUMP_OK = 0,
    DUMP_NO_DOCUMENT = -10,    // the document could not be created or closed
    DUMP_ROW_MISMATCH = -11,   // the row's values do not match its cstyle
    DUMP_WRITE_FAILED = -18,   // a write to the report stream failed
    DUMP_UNKNOWN_FORMAT = -19  // neither text nor PDF
};

struct DumpBackend {
    std::uint32_t format;  // ReportFormat
    void *state;           // text: the report stream; PDF: the document
};

// All return DUMP_OK or the back-end's code; with an unknown format they do nothing. The stream
// stays the caller's, who opened it empty and keeps it open until after dumpFree. Order: dumpInit
// once; then for each clause of the template; dumpFree once, after every dumpInit that succeeded.
int dumpInit(DumpBackend *backend, std::FILE *stream, std::uint32_t format);
int dumpOutputStyle(DumpBackend *backend, const OutputStyle *style);
int dumpSectionHeader(DumpBackend *backend, const TemplateSection *section);
int dumpRow(DumpBackend *backend, const ReportRow *row);
int dumpSectionFooter(DumpBackend *backend, const TemplateSection *section);
int dumpFree(DumpBackend *backend);
