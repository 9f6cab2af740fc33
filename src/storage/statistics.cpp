// SPDX-License-Identifier: MIT
#include "storage/statistics.h"

#include <atomic>

namespace {

std::atomic<std::uint32_t> values[STATISTIC_COUNT];

}  // namespace

void statCount(Statistic statistic) {
    values[statistic].fetch_add(1, std::memory_order_relaxed);
}

void statHighest(Statistic statistic, std::uint32_t value) {
    std::uint32_t seen = values[statistic].load(std::memory_order_relaxed);
    while (seen < value && !values[statistic].compare_exchange_weak(seen, value)) continue;
}

std::uint32_t statValue(Statistic statistic) {
    return values[statistic].load(std::memory_order_relaxed);
}
