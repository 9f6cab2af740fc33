// SPDX-License-Identifier: MIT
// A loaded results file and the look-up of its items. A list belongs to the report that loaded it
// and is read-only from then on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>

#include "vorn/plugin.h"

enum ResultsResult : int {
    RESULTS_OK = 0,
    RESULTS_NOT_LOADED = -9,
};

// The fields of a register as item texts name them, by VORN_FIELD_...
constexpr std::string_view fieldNames[] = {"value", "secs", "rate", "min", "max"};
static_assert(std::size(fieldNames) == VORN_FIELD_MAX + 1);

// The times of an application as global variables name them.
struct GlobalVariable {
    std::string_view name;
    std::uint32_t Results::*seconds;
};
constexpr GlobalVariable globalVariables[] = {
    {"%start-time", &Results::startTime},         {"%stop-time", &Results::stopTime},
    {"%restart-time", &Results::restartTime},     {"%elapsed-time", &Results::elapsedTime},
    {"%powerfail-time", &Results::powerfailTime},
};

// Prepares the application manager's register-name tables, once at start-up. RESULTS_OK, or
// RESULTS_NOT_LOADED after a message.
int initResultsLoader();

// Why a results file cannot be loaded.
struct ResultsFault {
    std::uint32_t line;  // of the file; 0: none is to blame
    char reason[280];
};

// Loads a results file. On RESULTS_OK *results is the first application (null for a file without
// any), which the caller releases with freeResults; on RESULTS_NOT_LOADED, after a message, it is
// null.
//   shown  names the file in messages; null: the path does
//   fault  gets the reason in place of the message; null: that is told
int loadResultsFile(const char *path, Results **results, const char *shown = nullptr,
                    ResultsFault *fault = nullptr);

// Releases a list that loadResultsFile made; null is allowed.
void freeResults(Results *results);

struct ResultsFreer {
    void operator()(Results *results) const { freeResults(results); }
};
using ResultsGuard = std::unique_ptr<Results, ResultsFreer>;

// Finds a register by [application@]item[:field] or [application@]item[index], in a time that does
// not grow with the number of registers. Of equal names the first counts.
//   itemSpec  changed in place: what separates its parts becomes NUL
//   results   a list of loadResultsFile, or null
//   field     gets VORN_FIELD_...; may be null
//   index     gets the index, -1 when none is given; may be null
// Returns the register, or null after a message at level 1.
const RegisterRecord *getAppItemResult(char *itemSpec, const Results *results, std::int32_t *field,
                                       std::int32_t *index);

// The register of a name, without field or index, of an application of such a list; null, without
// a message, when there is none.
const RegisterRecord *findRegister(const Results *app, std::string_view name);

// The same for a record of which nobody knows where it is from: a later one of a list, or a copy.
// That takes a time that grows with the list and the table, unless it is a list's first after all.
const RegisterRecord *getForeignItemResult(char *itemSpec, const Results *results,
                                           std::int32_t *field);

// The number of bytes behind an array register's data: its length times the size of its elements.
// 0 for other registers.
std::size_t resultsArrayBytes(const RegisterRecord *reg);
