// SPDX-License-Identifier: MIT
#include "report/report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/whole_file.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "output/dump_backend.h"
#include "report/merge.h"
#include "results/results.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/statistics.h"

namespace {

// The report quota's handle; -1 until initReports installs it, and when the quota table is full.
int reportQuotaId = QUOTA_NONE;

int isReportFile(const struct dirent *entry) {
    return entry->d_type == DT_REG && isReportName(entry->d_name) ? 1 : 0;
}

// Oldest first; of reports made within a second, those whose names sort first.
int compareFileAge(const DatedEntry *a, const DatedEntry *b) {
    if (a->seconds != b->seconds) return a->seconds < b->seconds ? -1 : 1;
    return std::strcmp(a->entry->d_name, b->entry->d_name);
}

int countReportFiles(void *) {
    return countDirFiles(opt_rptdir, isReportFile);
}

int purgeReportFiles(void *, int keep) {
    return purgeDirFiles(opt_rptdir, isReportFile, compareFileAge, keep);
}

std::uint16_t reportMax() {
    return static_cast<std::uint16_t>(opt_max_rpt.load());
}
std::uint8_t reportAction() {
    return static_cast<std::uint8_t>(opt_fullact_rpt.load());
}

// Loads the results and merges them into the open report file.
int fillReport(std::FILE *report, const char *resultsPath, std::FILE *templateFile,
               const char *templatePath, std::uint32_t format, KvStore *userVars,
               const char *dictName, const char *name) {
    Results *loaded = nullptr;
    if (loadResultsFile(resultsPath, &loaded) != RESULTS_OK) return REPORT_NO_INPUT;
    const ResultsGuard results(loaded);
    return mergeTemplate(results.get(), templateFile, report, templatePath, format, userVars,
                         dictName, name);
}

// What a report that fillReport gave up counts as. A number of the output says that the document
// could not be written to its end, whatever ReportResult means by it.
Statistic failureOf(int result) {
    switch (result) {
        case REPORT_NO_INPUT:
            return STAT_REPORTS_NO_INPUT;
        case DUMP_NO_DOCUMENT:
        case DUMP_WRITE_FAILED:
            return STAT_REPORTS_NOT_WRITTEN;
        default:
            return STAT_REPORTS_NOT_MERGED;
    }
}

// Counts a report that was tried; passes its result on.
int counted(Statistic statistic, int result) {
    statCount(statistic);
    return result;
}

}  // namespace

int beginReportFile(WholeFile *file, const char *reportPath, PartTarget earlier, PartSync sync) {
    if (isPartName(reportPath)) return EINVAL;
    struct stat status;
    if (stat(reportPath, &status) == 0 && !S_ISREG(status.st_mode))
        return S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
    if (earlier == TARGET_KEPT && backup_file(reportPath, sync) != 0)
        return errno == ENAMETOOLONG ? EEXIST : errno;
    return file->begin(reportPath, PART_REFUSE);
}

int initReports() {
    reportQuotaId =
        quotaInstall(reportMax(), reportAction(), purgeReportFiles, countReportFiles, nullptr);
    quotaSetName(reportQuotaId, "reports");
    removeLeftParts(opt_rptdir);
    return initResultsLoader();
}

int generateReport(const char *resultsPath, const char *templatePath, const char *reportPath,
                   std::uint32_t /*flags*/, std::uint32_t format, KvStore *userVars,
                   const char *dictName, const char *name) {
    quotaRefreshCount(reportQuotaId);
    if (quotaCheckBefore(reportQuotaId, 1) == QUOTA_REFUSED) {
        dmon_log(1, "Error: too many report files.\n");
        return counted(STAT_REPORTS_REFUSED, REPORT_QUOTA_FULL);
    }
    const FileGuard templateFile = openForReading(templatePath);
    if (!templateFile) {
        dmon_log(1, "Error opening template file '%s': %s\n", templatePath, std::strerror(errno));
        return counted(STAT_REPORTS_NO_INPUT, REPORT_NO_INPUT);
    }
    WholeFile report;
    int error = beginReportFile(&report, reportPath, TARGET_KEPT);
    if (error != 0) {
        dmon_log(1, "Error creating report file '%s': %s\n", reportPath, std::strerror(error));
        return counted(STAT_REPORTS_NOT_CREATED, REPORT_NOT_CREATED);
    }
    int result = fillReport(report.stream(), resultsPath, templateFile.get(), templatePath, format,
                            userVars, dictName, name);
    Statistic statistic = STAT_REPORTS;
    if (result != REPORT_OK) {
        statistic = failureOf(result);
        report.drop();
    } else if (error = report.commit(TARGET_KEPT); error != 0) {
        dmon_log(1, "Error writing report file '%s': %s\n", reportPath, std::strerror(error));
        statistic = STAT_REPORTS_NOT_WRITTEN;
        result = REPORT_NOT_WRITTEN;
    } else {
        quotaAddCount(reportQuotaId, 1);
    }
    if (result != REPORT_NO_INPUT) sync();
    return counted(statistic, result);
}

int deleteAllReports() {
    quotaDeleteAll(reportQuotaId);
    return 0;
}

int updateReportQuota() {
    quotaSetLimits(reportQuotaId, reportMax(), reportAction());
    return 0;
}

int getReportCount() {
    return quotaGetCount(reportQuotaId);
}
