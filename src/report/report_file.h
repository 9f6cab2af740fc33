// SPDX-License-Identifier: MIT
// The file of one report: written beside its name, it takes its name when it is complete, or is
// gone.
#pragma once

#include <climits>
#include <cstdio>

#include "util/guards.h"

struct ReportFile {
    FileGuard stream;
    char partPath[PATH_MAX];  // ".NAME.part" in the report's folder; a long NAME is shortened
};

// Creates the file to write to; what a killed process left under that name goes. False, with errno
// set: EEXIST when a file has the report's name, which the caller moves aside before; EBUSY when
// another report of that name is being written.
bool createReportFile(ReportFile *file, const char *reportPath);

// Checks every write, brings the file to the disk and gives it its name. False, with errno set,
// when any of it failed; nothing is left then.
bool finishReportFile(ReportFile *file, const char *reportPath);

// Closes and removes the file.
void dropReportFile(ReportFile *file);

// Removes the half-written report files that killed processes left in a directory.
void sweepReportFiles(const char *directory);
