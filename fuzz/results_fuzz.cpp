// SPDX-License-Identifier: MIT
// Loads hostile results files, reads all that came of them and finds every item again.
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "dmon/dmon.h"
#include "memory_file.h"
#include "results/results.h"

namespace {

// Reads every byte that a register owns, so that one out of bounds is noticed.
std::size_t touch(const RegisterRecord &reg) {
    std::size_t sum = std::strlen(reg.name);
    if (reg.kind == VORN_REG_SELECTION && reg.as.selection.label != nullptr)
        sum += std::strlen(reg.as.selection.label);
    if (reg.kind == VORN_REG_BITSET)
        for (std::int32_t i = 0; i < reg.as.bitSet.labelCount; ++i)
            if (reg.as.bitSet.labels[i] != nullptr) sum += std::strlen(reg.as.bitSet.labels[i]);
    for (std::size_t i = 0; i < resultsArrayBytes(&reg); ++i) sum += reg.as.array.data[i];
    return sum;
}

// Whether a name cannot be mistaken for a place, a field or an index.
bool isPlain(std::string_view name) {
    return name.find_first_of("@:[") == std::string_view::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    dmon_set_level(0);
    const MemoryFile file(data, size);
    Results *results = nullptr;
    if (loadResultsFile(file.path(), &results) != RESULTS_OK) {
        if (results != nullptr) __builtin_trap();
        return 0;
    }
    volatile std::size_t sum = 0;
    for (const Results *app = results; app != nullptr; app = app->next) {
        for (std::int32_t i = 0; i < app->regCount; ++i) {
            const RegisterRecord &reg = app->regs[i];
            sum = sum + touch(reg);
            if (!isPlain(app->name) || !isPlain(reg.name)) continue;
            std::string item = std::string(app->name) + "@" + reg.name;
            const RegisterRecord *found = getAppItemResult(item.data(), results, nullptr, nullptr);
            // Another application or register of that name may come first; one there must be.
            if (found != nullptr ? std::strcmp(found->name, reg.name) != 0 : app == results)
                __builtin_trap();
        }
    }
    freeResults(results);
    return 0;
}
