// SPDX-License-Identifier: MIT
// Damaged results files: each loads or is refused with one message, whatever was done to it.
#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "results/results.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

const std::string original =
    "okra 1\n"
    "app ifstats start=1700000000 stop=1700003600 restart=0 powerfail=0 status=2 regs=10\n"
    "reg u32 rxFrames value=123456 min=0 max=200000\n"
    "reg counter rxBytes value=987654321 time=3600 mult=8 div=1 secs=3600\n"
    "reg sel \"link \\\"State\" value=1 labels=\"down|up\"\n"
    "reg bits alarms value=0x5 labels=\"LOS|AIS|RDI\"\n"
    "reg a8 mac data=0,17,34,0xFF\n"
    "# \xC3\xA4\n"
    "app second regs=2\n"
    "reg a32 hist data=1,2,3,4\n"
    "reg f64 jitter value=0.125 invalid\n"
    "reg i16 temperature value=-40\n";

// What a mistake, or somebody who looks for one, puts into a file.
const std::string pieces[] = {
    "\"",   "\\",      "=",     ",",     "|",          "\n",
    "app ", "reg ",    "0x",    "-",     "4294967296", "invalid",
    "a32",  "labels=", "data=", "bits ", "regs=-1",    std::string(1, '\0'),
    "\xFF", "1e999",   "#",     "\r\n",  "\t",         "2147483647"};

using Random = std::mt19937;

std::size_t below(Random &random, std::size_t end) {
    return random() % end;
}

std::string mutate(Random &random) {
    std::string text = original;
    for (std::size_t changes = 1 + below(random, 3); changes > 0 && !text.empty(); --changes) {
        const std::size_t at = below(random, text.size());
        const std::size_t length = below(random, 12);
        switch (below(random, 5)) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, length);
                break;
            case 2:
                text.insert(at, pieces[below(random, std::size(pieces))]);
                break;
            case 3:
                text.insert(below(random, text.size()), text.substr(at, 10 * length));
                break;
            default:
                text.resize(at);
                break;
        }
    }
    return text;
}

std::size_t lines(const std::string &text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST(ResultsMutation, ADamagedFileLoadsOrGetsOneMessage) {
    const TempDir dir;
    Random random(20260501);
    int loaded = 0;
    constexpr int RUNS = 500;
    for (int run = 0; run < RUNS; ++run) {
        const std::string content = mutate(random);
        SCOPED_TRACE(content);
        const std::string path = dir.write("a.res", content);
        const LogCapture log;
        Results *results = nullptr;
        if (loadResultsFile(path.c_str(), &results) == RESULTS_OK) {
            ++loaded;
            for (const Results *app = results; app != nullptr; app = app->next)
                for (std::int32_t i = 0; i < app->regCount; ++i)
                    ASSERT_LT(resultsArrayBytes(&app->regs[i]), 1000u);
            freeResults(results);
            continue;
        }
        ASSERT_EQ(results, nullptr);
        std::string text = log.text();
        for (const std::string dropped = "Error: too many registers in results file.\n";
             text.starts_with(dropped);)
            text.erase(0, dropped.size());
        ASSERT_TRUE(text.starts_with("Error loading results file '" + path + "': line ")) << text;
        ASSERT_EQ(lines(text), 1u) << text;
    }
    // Both ways are well trodden.
    EXPECT_GT(loaded, RUNS / 20);
    EXPECT_LT(loaded, RUNS / 2);
}
