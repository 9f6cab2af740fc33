// SPDX-License-Identifier: MIT
// Makes a report file from a results file and a template, within the report quota.
#pragma once

#include <cstdint>

#include "base/whole_file.h"
#include "vorn/plugin.h"

// Beside the merge's codes, of which DUMP_NO_DOCUMENT has the number of REPORT_NOT_CREATED.
enum ReportResult : int {
    REPORT_OK = 0,
    REPORT_QUOTA_FULL = -5,
    REPORT_NO_INPUT = -9,      // template or results cannot be read
    REPORT_NOT_CREATED = -10,  // the report file cannot be created
    REPORT_NOT_WRITTEN = -18,  // a write failed
};

// Installs the report quota, sweeps files that a killed process left half written in the reports
// directory, and prepares the results loader. Called once, before the first report of a service; a
// program that does not call it makes reports without a limit. RESULTS_OK or RESULTS_NOT_LOADED.
int initReports();

// Begins a report's file. An earlier report that is kept is moved aside under a numbered name; one
// that cannot be moved stays. So does what is no regular file: a device or a folder is nobody's
// earlier report. A name that the next start would sweep away is refused. 0 or the errno.
//   sync  of the earlier report's move, as of WholeFile::commit
int beginReportFile(WholeFile *file, const char *reportPath, PartTarget earlier,
                    PartSync sync = SYNC_NOW);

// Makes one report. The file appears at reportPath when it is complete, or not at all; an earlier
// one is moved aside under a numbered name, also when the new one fails. May run in several threads
// at once.
//   flags     shown in logs by the callers; not used here
//   format    ReportFormat
//   userVars  user variables of the templates
//   dictName  default dictionary (15 characters are used)
//   name      what this report shows as `report-name`, whatever other threads set meanwhile; null:
//             as the user variables say
// Returns REPORT_OK or a negative code: ReportResult, or the merge's.
int generateReport(const char *resultsPath, const char *templatePath, const char *reportPath,
                   std::uint32_t flags, std::uint32_t format, KvStore *userVars,
                   const char *dictName, const char *name = nullptr);

// Deletes every report file. Always 0.
int deleteAllReports();

// Takes maximum and full action of the report quota from the options. Always 0.
int updateReportQuota();

// The report quota's count as last known, or -1 when there is no quota.
int getReportCount();
