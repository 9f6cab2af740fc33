// SPDX-License-Identifier: MIT
// The merge and what it is made of, beside plain loops that do the same work by hand: 100,000 rows
// of four values, taken from 1,000 registers by name.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guards.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "output/row_format.h"
#include "output/text_output.h"
#include "report/merge.h"
#include "report/user_vars.h"
#include "results/dict_resolver.h"
#include "results/results.h"

namespace {

constexpr int PORTS = 250;  // four registers each
constexpr int ROWS = 100'000;
constexpr char CSTYLE[] = "%-16s %10u %12llu %10.3f";

struct Files {
    Files() = default;
    Files(const Files &) = delete;
    Files &operator=(const Files &) = delete;
    ~Files() { std::filesystem::remove_all(folder); }

    std::string folder;
    std::string results;
    std::string text;
};

std::string resultsText() {
    std::string text = "okra 1\napp ports start=1700000000 stop=1700003600\n";
    for (int i = 0; i < PORTS; ++i) {
        const std::string n = std::to_string(i);
        text += "reg sel state" + n + " value=" + std::to_string(i % 2) + " labels=\"down|up\"\n";
        text +=
            "reg u32 frames" + n + " value=" + std::to_string(i * 7919) + " min=0 max=9999999\n";
        text += "reg u64 bytes" + n + " value=" + std::to_string(i * 104729LL * 1000) + "\n";
        text += "reg f64 jitter" + n + " value=" + std::to_string(i * 0.173) + "\n";
    }
    return text;
}

std::string templateText(int rows) {
    const int passes = rows / PORTS;
    const int ports = passes > 0 ? PORTS : rows;
    return "<report>\n<iterate from=1, to=" + std::to_string(passes > 0 ? passes : 1) +
           ">\n<iterate var=i, from=0, to=" + std::to_string(ports - 1) + ">\n<row cstyle='" +
           CSTYLE +
           "'>\n<value link=ports@state${i}></value>\n<value link=ports@frames${i}></value>\n"
           "<value link=ports@bytes${i}></value>\n<value link=ports@jitter${i}></value>\n</row>\n"
           "</iterate>\n</iterate>\n</report>\n";
}

void writeFile(const std::string &path, const std::string &content) {
    const FileGuard file(std::fopen(path.c_str(), "w"));
    std::fwrite(content.data(), 1, content.size(), file.get());
}

const Files &files() {
    static Files f;
    if (f.folder.empty()) {
        char folder[] = "/tmp/vornbenchXXXXXX";
        f.folder = mkdtemp(folder);
        f.results = f.folder + "/in.res";
        f.text = f.folder + "/t.tpl";
        setDefaults();
        initResultsLoader();
        writeFile(f.results, resultsText());
    }
    return f;
}

Results *load() {
    Results *results = nullptr;
    if (loadResultsFile(files().results.c_str(), &results) != RESULTS_OK) std::abort();
    return results;
}

const RegisterRecord *find(const Results *results, const char *name, int number) {
    char item[64];
    std::snprintf(item, sizeof item, "ports@%s%d", name, number);
    return getAppItemResult(item, results, nullptr, nullptr);
}

// ---- whole reports ----

void mergeInto(std::FILE *out, int rows, const Results *results) {
    writeFile(files().text, templateText(rows));
    const FileGuard text(std::fopen(files().text.c_str(), "r"));
    if (mergeTemplate(results, text.get(), out, "t.tpl", RPT_FMT_TXT, nullptr, "") != 0)
        std::abort();
    std::fflush(out);
}

void plainLoopInto(std::FILE *out, int rows, const Results *results) {
    std::fputs("\xEF\xBB\xBF", out);
    for (int row = 0; row < rows; ++row) {
        const int i = row % PORTS;
        std::fprintf(out, "%-16s %10u %12llu %10.3f\r\n",
                     find(results, "state", i)->as.selection.label,
                     find(results, "frames", i)->as.u32.value,
                     static_cast<unsigned long long>(find(results, "bytes", i)->as.u64.value),
                     find(results, "jitter", i)->as.f64.value);
    }
    std::fflush(out);
}

template <void (*WRITE)(std::FILE *, int, const Results *)>
void writeRows(benchmark::State &state) {
    Results *results = load();
    const std::string path = files().folder + "/out.txt";
    for (auto _ : state) {
        const FileGuard out(std::fopen(path.c_str(), "w"));
        WRITE(out.get(), ROWS, results);
    }
    state.SetItemsProcessed(state.iterations() * ROWS);
    freeResults(results);
}
BENCHMARK(writeRows<plainLoopInto>)->Name("rows/plain_fprintf_loop")->Unit(benchmark::kMillisecond);
BENCHMARK(writeRows<mergeInto>)->Name("rows/merge")->Unit(benchmark::kMillisecond);

bool sameFiles(const std::string &a, const std::string &b) {
    const FileGuard first(std::fopen(a.c_str(), "r"));
    const FileGuard second(std::fopen(b.c_str(), "r"));
    int c = 0;
    while ((c = std::getc(first.get())) == std::getc(second.get()))
        if (c == EOF) return true;
    return false;
}

// The two write the same bytes, or their times could not be compared.
void checkSameBytes(benchmark::State &state) {
    Results *results = load();
    const std::string a = files().folder + "/a.txt";
    const std::string b = files().folder + "/b.txt";
    for (auto _ : state) {
        mergeInto(FileGuard(std::fopen(a.c_str(), "w")).get(), ROWS, results);
        plainLoopInto(FileGuard(std::fopen(b.c_str(), "w")).get(), ROWS, results);
        if (!sameFiles(a, b)) state.SkipWithError("the merge and the loop differ");
    }
    freeResults(results);
}
BENCHMARK(checkSameBytes)->Name("rows/same_bytes")->Iterations(1);

// Peak memory in KiB of a process that makes a report of so many rows.
double peakMemory(int rows) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        Results *results = load();
        const FileGuard out(std::fopen((files().folder + "/m.txt").c_str(), "w"));
        mergeInto(out.get(), rows, results);
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return static_cast<double>(usage.ru_maxrss);
}

void memoryGrowth(benchmark::State &state) {
    files();
    for (auto _ : state) {
        state.counters["KiB_40_rows"] = peakMemory(40);
        state.counters["KiB_100000_rows"] = peakMemory(ROWS);
    }
}
BENCHMARK(memoryGrowth)->Name("rows/peak_memory")->Iterations(1);

// ---- its parts ----

void formatRows(benchmark::State &state) {
    const FileGuard out(std::fopen("/dev/null", "w"));
    char name[] = "up";
    std::uint32_t frames = 791900;
    std::uint64_t bytes = 104729000;
    double jitter = 17.3;
    ReportRow row{};
    RowFormat format{};
    row.format = &format;  // as in a merge
    std::snprintf(row.cstyle, sizeof row.cstyle, "%s", CSTYLE);
    row.values[row.count++] = {VORN_TYPE_STRING, name, 0, 0};
    row.values[row.count++] = {VORN_TYPE_UINT32, &frames, 0, 0};
    row.values[row.count++] = {VORN_TYPE_UINT64, &bytes, 0, 0};
    row.values[row.count++] = {VORN_TYPE_DOUBLE, &jitter, 0, 0};
    for (auto _ : state) benchmark::DoNotOptimize(dumpTextRow(out.get(), &row));
}
BENCHMARK(formatRows)->Name("row_format/dumpTextRow");

void formatByFprintf(benchmark::State &state) {
    const FileGuard out(std::fopen("/dev/null", "w"));
    volatile std::uint32_t frames = 791900;
    volatile unsigned long long bytes = 104729000;
    volatile double jitter = 17.3;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            std::fprintf(out.get(), "%-16s %10u %12llu %10.3f\r\n", "up", frames, bytes, jitter));
}
BENCHMARK(formatByFprintf)->Name("row_format/plain_fprintf");

void loadResults(benchmark::State &state) {
    files();
    for (auto _ : state) freeResults(load());
}
BENCHMARK(loadResults)->Name("load/1000_registers")->Unit(benchmark::kMicrosecond);

// Looking an item up in files of different sizes: the time must not grow with the file.
void lookUpItem(benchmark::State &state) {
    const auto registers = static_cast<int>(state.range(0));
    const std::string path = files().folder + "/lookup.res";
    std::string text = "okra 1\napp ports\n";
    for (int i = 0; i < registers; ++i) text += "reg u32 frames" + std::to_string(i) + " value=1\n";
    writeFile(path, text);
    Results *results = nullptr;
    if (loadResultsFile(path.c_str(), &results) != RESULTS_OK) std::abort();
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(results, "frames", i));
        i = (i + 7919) % registers;
    }
    freeResults(results);
}
// The last is near the most registers that an application may have.
BENCHMARK(lookUpItem)->Name("look_up/item")->Arg(10)->Arg(1000)->Arg(65'000);

void lookUpKey(benchmark::State &state) {
    const auto entries = static_cast<int>(state.range(0));
    std::string text = "[1]\n";
    for (int i = 0; i < entries; ++i)
        text += "key" + std::to_string(i) + " = text " + std::to_string(i) + "\n";
    writeFile(files().folder + "/d_en.lxc", text);
    std::snprintf(opt_dictdir, sizeof opt_dictdir, "%s", files().folder.c_str());
    DictResolver resolver;
    dictResolvCreate(&resolver, "d", "en", nullptr);
    if (dictResolvPush(&resolver, nullptr, 1, 0) != 0) std::abort();
    int i = 0;
    char key[32];
    for (auto _ : state) {
        std::snprintf(key, sizeof key, "key%d", i);
        benchmark::DoNotOptimize(dictResolvGet(&resolver, key));
        i = (i + 7919) % entries;
    }
    dictResolvFree(&resolver);
}
BENCHMARK(lookUpKey)->Name("look_up/dictionary_key")->Arg(10)->Arg(1000)->Arg(100'000);

}  // namespace
