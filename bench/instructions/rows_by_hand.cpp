// SPDX-License-Identifier: MIT
// The text report of bench/instructions/run as a programmer would write it by hand: the same
// values, looked up by the same names, in the same bytes.
//   rows_by_hand printf|own RESULTS ROWS OUT
// "printf" leaves the lines to the C library, "own" makes the numbers itself.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/guards.h"
#include "core/options.h"
#include "results/results.h"

namespace {

constexpr int PORTS = 250;  // of the results file, four registers each

const RegisterRecord *find(const Results *results, std::string_view name, int number) {
    char item[64];
    char *end = std::copy(name.begin(), name.end(), item);
    *std::to_chars(end, std::end(item), number).ptr = '\0';
    return getAppItemResult(item, results, nullptr, nullptr);
}

// ---- by the C library ----

void printRow(std::FILE *out, const Results *results, int i) {
    std::fprintf(out, "%-16s %10u %12llu %10.3f\r\n",
                 find(results, "ports@state", i)->as.selection.label,
                 find(results, "ports@frames", i)->as.u32.value,
                 static_cast<unsigned long long>(find(results, "ports@bytes", i)->as.u64.value),
                 find(results, "ports@jitter", i)->as.f64.value);
}

// ---- by itself ----

// Writes a number to the right of a field; returns the place behind it.
char *putRight(char *to, int width, std::string_view digits) {
    const int blanks = std::max(0, width - static_cast<int>(digits.size()));
    std::memset(to, ' ', static_cast<std::size_t>(blanks));
    return std::copy(digits.begin(), digits.end(), to + blanks);
}

char *putWhole(char *to, int width, unsigned long long number) {
    char digits[24];
    const char *end = std::to_chars(digits, std::end(digits), number).ptr;
    return putRight(to, width, {digits, static_cast<std::size_t>(end - digits)});
}

void printRowOwn(std::FILE *out, const Results *results, int i) {
    char line[256];
    const std::string_view label = find(results, "ports@state", i)->as.selection.label;
    std::memset(line, ' ', 17);
    std::copy(label.begin(), label.end(), line);
    char *to = putWhole(line + 17, 10, find(results, "ports@frames", i)->as.u32.value);
    *to++ = ' ';
    to = putWhole(to, 12, find(results, "ports@bytes", i)->as.u64.value);
    *to++ = ' ';
    char digits[64];
    const double jitter = find(results, "ports@jitter", i)->as.f64.value;
    const char *end =
        std::to_chars(digits, std::end(digits), jitter, std::chars_format::fixed, 3).ptr;
    to = putRight(to, 10, {digits, static_cast<std::size_t>(end - digits)});
    *to++ = '\r';
    *to++ = '\n';
    std::fwrite(line, 1, static_cast<std::size_t>(to - line), out);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 5) return 2;
    Results *results = nullptr;
    if (setDefaults() != 0 || initResultsLoader() != RESULTS_OK ||
        loadResultsFile(argv[2], &results) != RESULTS_OK)
        return 1;
    const FileGuard out(std::fopen(argv[4], "w"));
    if (!out) return 1;
    const bool own = std::strcmp(argv[1], "own") == 0;
    std::fputs("\xEF\xBB\xBF", out.get());
    for (int row = 0; row < std::atoi(argv[3]); ++row)
        (own ? printRowOwn : printRow)(out.get(), results, row % PORTS);
    freeResults(results);
    return 0;
}
