// SPDX-License-Identifier: MIT
// The names of results files, and of the reports made from them. No state.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/subscription.h"
#include "storage/files.h"

constexpr std::size_t RESULT_PATH_SIZE = 64;  // the application manager takes no longer one
constexpr std::size_t BASE_NAME_SIZE = 40;
constexpr std::size_t RESULT_NAME_SIZE = BASE_NAME_SIZE + sizeof RESULTS_ENDING - 1;

// Makes the name that templates show as `report-name`; the file's may differ, as make_filename
// says.
//   format    NameFormat; another value gives "report"
//   syncTime  seconds since 1970-01-01 UTC
void makeBaseName(char (&base)[BASE_NAME_SIZE], std::int32_t format, std::int32_t syncTime,
                  const char *reference, std::int32_t sequence);

// Makes the name of the results file of this base name.
void makeResultsName(char (&name)[RESULT_NAME_SIZE], const char (&base)[BASE_NAME_SIZE]);

// Makes the path of the results file of this base name. False when it was cut, after a warning.
bool makeResultsPath(char (&path)[RESULT_PATH_SIZE], const Subscription *subscription,
                     const char (&base)[BASE_NAME_SIZE]);

// Makes the path of the report on a results file. The ending is the report format's, the results
// file's own for a format that is none.
void makeReportPath(char (&reportPath)[RESULT_PATH_SIZE], const char *resultsPath,
                    std::int32_t format);

// Makes the path of the template for a subscription's automatic reports.
void makeTemplatePath(char (&templatePath)[RESULT_PATH_SIZE], const Subscription *subscription);
