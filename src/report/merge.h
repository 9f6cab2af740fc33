// SPDX-License-Identifier: MIT
// The merge of a template with results: reads the template's tags in order and hands styles,
// sections and rows to the report's back-end.
#pragma once

#include <cstdint>
#include <cstdio>

#include "vorn/plugin.h"

// Merges a template into a report.
//   results       the loaded results, read only; null: no applications
//   templateFile  the template, open for reading; stays the caller's
//   report        the report, open for writing and empty; stays the caller's, who closes it
//   templatePath  names the template in messages; relative includes count from its folder
//   format        ReportFormat
//   userVars      read by value clauses
//   dictName      dictionary where a clause names none (15 characters are used)
//   reportName    goes before the user variable of that name; null: none
//   folder        empty or ended by '/': goes before templatePath and all relative paths of
//                 template files, and places in messages are whole, however long it is. Null:
//                 none, and places have at most 47 characters
// Returns 0 (MERGE_OK) or a negative code, after a message at level 1: MergeResult,
// ConversionResult, DumpResult. Several merges may run at once, each on a thread of its own.
int mergeTemplate(const Results *results, std::FILE *templateFile, std::FILE *report,
                  const char *templatePath, std::uint32_t format, KvStore *userVars,
                  const char *dictName, const char *reportName = nullptr,
                  const char *folder = nullptr);
