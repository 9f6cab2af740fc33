// SPDX-License-Identifier: MIT
// Loading a results file, and finding items in it, by the number of registers.
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "results/results.h"

namespace {

// One application of so many registers of the usual types, in a file of its own.
class ResultsFile {
public:
    explicit ResultsFile(std::int64_t registers) {
        std::string text = "okra 1\napp ifstats start=1700000000 stop=1700003600\n";
        for (std::int64_t i = 0; i < registers; ++i) {
            const std::string number = std::to_string(i);
            const std::string lines[] = {
                "reg u32 rxFrames" + number + " value=123456 min=0 max=200000\n",
                "reg counter rxBytes" + number + " value=987654321 time=3600 mult=8 div=1\n",
                "reg sel linkState" + number + " value=1 labels=\"down|up\"\n",
                "reg f64 jitter" + number + " value=0.125\n"};
            text += lines[i % 4];
        }
        std::FILE *file = fdopen(mkstemp(path_), "w");
        std::fwrite(text.data(), 1, text.size(), file);
        std::fclose(file);
    }
    ResultsFile(const ResultsFile &) = delete;
    ResultsFile &operator=(const ResultsFile &) = delete;
    ~ResultsFile() { std::remove(path_); }

    Results *load() const {
        Results *results = nullptr;
        if (loadResultsFile(path_, &results) != RESULTS_OK) std::abort();
        return results;
    }

private:
    char path_[24] = "/tmp/vornbenchXXXXXX";
};

void loadAndFree(benchmark::State &state) {
    const ResultsFile file(state.range(0));
    for (auto _ : state) freeResults(file.load());
}
BENCHMARK(loadAndFree)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

void findItem(benchmark::State &state) {
    const ResultsFile file(state.range(0));
    Results *results = file.load();
    std::int32_t at = 0;
    for (auto _ : state) {
        char item[64] = "ifstats@";
        std::strcpy(item + 8, results->regs[at].name);
        benchmark::DoNotOptimize(getAppItemResult(item, results, nullptr, nullptr));
        if (++at == results->regCount) at = 0;
    }
    freeResults(results);
}
BENCHMARK(findItem)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
