// SPDX-License-Identifier: MIT
// Does a job again whenever a file changes that it reads. For one thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Takes down a file that the engine opens, while there is a watch; a ReportSink's `opens`.
void noteReportFile(const char *path);

// Does the job, and again after each change of one of the files, or of one that was noted while the
// job was done. Of `files` none may be missing: the job waits until they are all there. Tells on
// standard error what changed unless it is to be quiet. Never returns.
//   job  tells itself what came of it
[[noreturn]] void watchFiles(const std::vector<std::string> &files, bool quiet,
                             const std::function<void()> &job);
