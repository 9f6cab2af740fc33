// SPDX-License-Identifier: MIT
// Loads hostile results files, reads all that came of them and finds every item again. One that is
// refused must get one message with its line.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include "base/guards.h"
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

// loadResultsFile; *log gets what it says. The driver writes to a copy of standard error.
int loadAndListen(const char *path, Results **results, std::string *log) {
    static const DescriptorGuard file(memfd_create("log", MFD_CLOEXEC));
    const DescriptorGuard saved(dup(STDERR_FILENO));
    if (ftruncate(file.get(), 0) != 0 || lseek(file.get(), 0, SEEK_SET) != 0) __builtin_trap();
    dup2(file.get(), STDERR_FILENO);
    dmon_set_level(1);
    const int result = loadResultsFile(path, results);
    dmon_set_level(0);
    dup2(saved.get(), STDERR_FILENO);
    log->resize(static_cast<std::size_t>(lseek(file.get(), 0, SEEK_CUR)));
    if (pread(file.get(), log->data(), log->size(), 0) < 0) __builtin_trap();
    return result;
}

void checkMessage(std::string_view log, std::string_view path) {
    constexpr std::string_view dropped = "Error: too many registers in results file.\n";
    constexpr std::size_t stamp = 27;  // the time and the level in front of each message
    while (log.substr(std::min(stamp, log.size())).starts_with(dropped))
        log.remove_prefix(stamp + dropped.size());
    const std::string start = "Error loading results file '" + std::string(path) + "': line ";
    if (!log.substr(std::min(stamp, log.size())).starts_with(start)) __builtin_trap();
    if (log.find('\n') != log.size() - 1) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const MemoryFile file(data, size);
    Results *results = nullptr;
    std::string log;
    if (loadAndListen(file.path(), &results, &log) != RESULTS_OK) {
        if (results != nullptr) __builtin_trap();
        checkMessage(log, file.path());
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
