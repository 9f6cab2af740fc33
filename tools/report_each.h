// SPDX-License-Identifier: MIT
// Many reports from one template, by several processes.
#pragma once

#include <string>
#include <vector>

#include "report_make.h"

// Makes a report of each results file into the folder `order.output`, under the name of the results
// file, with `jobs` processes. Tells each failure and a summary on standard error, with a bar on a
// terminal. The reports are on the disk when it returns. False when one could not be made.
bool makeEach(const ReportOrder &order, const std::vector<std::string> &results, unsigned jobs);

// The names that standard input lists, one a line or each ended by a NUL.
std::vector<std::string> readNames(bool endedByNul);
