// SPDX-License-Identifier: MIT
#include "listener/result_names.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>

#include "base/words.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "storage/strings.h"

namespace {

// Replaces the results file's ending, and whatever follows it, by the report format's.
void setReportEnding(char *reportPath, std::int32_t format) {
    char *ending = std::strstr(reportPath, RESULTS_ENDING);
    if (ending == nullptr || format < 0 ||
        format >= static_cast<std::int32_t>(std::size(reportFormatWords)))
        return;
    const std::string_view word = reportFormatWords[format];
    ending[1 + word.copy(ending + 1, sizeof RESULTS_ENDING - 2)] = '\0';
}

}  // namespace

void makeBaseName(char (&base)[BASE_NAME_SIZE], std::int32_t format, std::int32_t syncTime,
                  const char *reference, std::int32_t sequence) {
    if (format == NAME_BY_TIME) {
        const std::time_t time = syncTime;
        std::tm utc{};
        gmtime_r(&time, &utc);
        std::snprintf(base, sizeof base, "%04d-%02d-%02d-%02d%02d%02d", utc.tm_year + 1900,
                      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    } else if (format == NAME_BY_SEQUENCE) {
        std::snprintf(base, sizeof base, "%s%05d", reference, sequence);
    } else {
        copyPiece(base, "report");
    }
}

void makeResultsName(char (&name)[RESULT_NAME_SIZE], const char (&base)[BASE_NAME_SIZE]) {
    std::snprintf(name, sizeof name, "%s%s", base, RESULTS_ENDING);
    make_filename(name);
}

bool makeResultsPath(char (&path)[RESULT_PATH_SIZE], const Subscription *subscription,
                     const char (&base)[BASE_NAME_SIZE]) {
    char name[RESULT_NAME_SIZE];
    makeResultsName(name, base);
    return joinPath(path, sizeof path, subscription->resultsDir, name);
}

void makeReportPath(char (&reportPath)[RESULT_PATH_SIZE], const char *resultsPath,
                    std::int32_t format) {
    // The name ends with the path, so it is ended by its NUL.
    joinPath(reportPath, sizeof reportPath, opt_rptdir, fileNameOf(resultsPath).data());
    setReportEnding(reportPath, format);
}

void makeTemplatePath(char (&templatePath)[RESULT_PATH_SIZE], const Subscription *subscription) {
    if (subscription->templateName[0] == '/')
        copyPath(templatePath, sizeof templatePath, subscription->templateName);
    else
        joinPath(templatePath, sizeof templatePath, opt_tpldir, subscription->templateName);
}
