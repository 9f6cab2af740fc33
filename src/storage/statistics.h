// SPDX-License-Identifier: MIT
// What the process has done so far, in numbers that begin at 0 with it. Any thread.
#pragma once

#include <cstdint>

enum Statistic : int {
    STAT_SAVES,          // results files saved
    STAT_SAVES_REFUSED,  // by a full quota
    STAT_SAVES_FAILED,
    STAT_REPORTS,          // reports made
    STAT_REPORTS_REFUSED,  // by the full quota
    STAT_REPORTS_NO_INPUT,
    STAT_REPORTS_NOT_CREATED,
    STAT_REPORTS_NOT_WRITTEN,
    STAT_REPORTS_NOT_MERGED,  // template and results do not fit each other
    STAT_EVENTS,              // received from the registry's queue
    STAT_EVENTS_DROPPED,      // found no place in the command queue
    STAT_QUEUE_MAX,           // most commands that waited at once
    STATISTIC_COUNT
};

void statCount(Statistic statistic);

// Keeps the highest value.
void statHighest(Statistic statistic, std::uint32_t value);

std::uint32_t statValue(Statistic statistic);
