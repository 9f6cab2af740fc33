// SPDX-License-Identifier: MIT
// Loading results files and finding their items.
#include "results/results.h"

#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

struct ResultsFreer {
    void operator()(Results *results) const { freeResults(results); }
};
using ResultsOwner = std::unique_ptr<Results, ResultsFreer>;

// Loads a file of this content. With `error` it may fail, and what is said of it is left there.
ResultsOwner load(const std::string &content, std::string *error = nullptr) {
    const TempDir dir;
    const std::string path = dir.write("a.res", content);
    Results untouched{};
    Results *results = &untouched;
    std::optional<LogCapture> log;
    if (error != nullptr) log.emplace();
    if (loadResultsFile(path.c_str(), &results) == RESULTS_OK) return ResultsOwner(results);
    EXPECT_EQ(results, nullptr);
    const std::string said = log ? log->text() : "an error";
    const std::string start = "Error loading results file '" + path + "': ";
    const std::string end = " (-5)\n";
    EXPECT_TRUE(said.starts_with(start) && said.ends_with(end)) << said;
    if (error != nullptr)
        *error = said.substr(start.size(), said.size() - start.size() - end.size());
    return nullptr;
}

// Shows what a register holds, its kind's fields in their order.
std::string show(const RegisterRecord &reg) {
    const auto line = [&](std::string kind, auto... fields) {
        kind += std::string(" ") + reg.name + (reg.valid != 0 ? "" : " invalid");
        ((kind += " " + std::to_string(fields)), ...);
        return kind;
    };
    const auto label = [](const char *text) { return std::string(" ") + (text ? text : "-"); };
    const auto &as = reg.as;
    switch (reg.kind) {
        case VORN_REG_SELECTION:
            return line("sel", as.selection.selValue) + label(as.selection.label);
        case VORN_REG_BITSET: {
            std::string text = line("bits", as.bitSet.bits);
            for (int i = 0; i < as.bitSet.labelCount; ++i) text += label(as.bitSet.labels[i]);
            return text + (as.bitSet.labels == nullptr ? " null" : "");
        }
        case VORN_REG_UINT32:
            return line("u32", as.u32.value, as.u32.min, as.u32.max);
        case VORN_REG_INT32:
            return line("i32", as.i32.value, as.i32.min, as.i32.max);
        case VORN_REG_UINT64:
            return line("u64", as.u64.value, as.u64.min, as.u64.max);
        case VORN_REG_FLOAT:
            return line("f32", as.f32.value);
        case VORN_REG_DOUBLE:
            return line("f64", as.f64.value);
        case VORN_REG_COUNTER:
            return line("counter", as.counter.value, as.counter.rate, as.counter.secs);
        case VORN_REG_UINT32_SECS:
            return line("secs", as.u32Secs.value, as.u32Secs.secs);
        default: {
            std::string text = line("array", as.array.length);
            for (std::size_t i = 0; i < resultsArrayBytes(&reg); ++i)
                text += " " + std::to_string(as.array.data[i]);
            return text;
        }
    }
}

// One look-up: "APP.ITEM field index", or "null"; of values left alone -7 stays.
std::string find(const Results *results, std::string spec) {
    std::int32_t field = -7;
    std::int32_t index = -7;
    const RegisterRecord *reg = getAppItemResult(spec.data(), results, &field, &index);
    if (reg == nullptr) return field == -7 && index == -7 ? "null" : "null, but written";
    for (const Results *app = results; app != nullptr; app = app->next)
        if (reg >= app->regs && reg < app->regs + app->regCount)
            return std::string(app->name) + "." + reg->name + " " + std::to_string(field) + " " +
                   std::to_string(index);
    return "a register of no application";
}

}  // namespace

TEST(ResultsLoader, TurnsEachRegisterIntoItsKindOrNamesLineAndReason) {
    runCases("results/cases/results_files.txt", 1, [](const CaseFields &row) -> CaseFields {
        const std::string start = row[0].starts_with("reg") ? "okra 1\napp a\n" : "";
        std::string error;
        const ResultsOwner results = load(start + row[0], &error);
        return {results == nullptr ? error : show(results->regs[0])};
    });
}

TEST(ResultsLoader, KeepsTheApplicationsInOrderWithTheirTimesAndBelievesNoCount) {
    const LogCapture log;
    const ResultsOwner results = load(
        "okra 1\n"
        "app one start=100 stop=350 restart=3 powerfail=4 status=255 regs=1\nreg u8 a\nreg u8 b\n"
        "app a-longer-name-than-fits start=2 stop=1 regs=-1\nreg u8 a\n"
        "app huge regs=2147483647\nreg u8 a\n");
    std::string shown;
    for (const Results *app = results.get(); app != nullptr; app = app->next) {
        shown += app->name;
        for (const std::uint32_t word :
             {app->startTime, app->stopTime, app->restartTime, std::uint32_t{app->status},
              app->powerfailTime, app->elapsedTime, static_cast<std::uint32_t>(app->regCount)})
            shown += " " + std::to_string(word);
        shown += "\n";
    }
    EXPECT_EQ(shown,
              "one 100 350 3 255 4 250 1\na-longer-name-t 2 1 0 0 0 4294967295 0\n"
              "huge 0 0 0 0 0 0 1\n");
    const std::string tooMany = "Error: too many registers in results file.\n";
    EXPECT_EQ(log.text(), tooMany + tooMany);
    EXPECT_EQ(load("okra 1\n"), nullptr);
}

TEST(ResultsLoader, BoundsArraysAndLinesAndCountsRegistersAcrossThePiecesItReads) {
    const std::string head = "okra 1\napp a\n";
    std::string array = head + "reg a32 x data=0xFFFFFFFF";
    for (int i = 1; i < 65535; ++i) array += ",4294967295";
    EXPECT_EQ(load(array)->regs[0].as.array.length, 65535);
    std::string error;
    load(array + ",1", &error);
    EXPECT_EQ(error, "line 3: more than 65535 elements in attribute 'data'");
    load(head + "#" + std::string(1100000, '#'), &error);
    EXPECT_EQ(error, "line 3: longer than 1048576 bytes");
    std::string most = head;
    for (int reg = 0; reg < 65536; ++reg) most += "reg u8 x\n";
    EXPECT_EQ(load(most)->regCount, 65536);
    load(most + "reg u8 x", &error);
    EXPECT_EQ(error, "line 65539: more than 65536 registers in an application");
}

TEST(ItemLookUp, FindsItemsByTheirText) {
    const ResultsOwner results = load(
        "okra 1\n"
        "app ifstats\nreg counter rxBytes\nreg u8 rxBytes\nreg a32 hist\nreg u8 \"hist[3]\"\n"
        "reg u8 \"a@b\"\n"
        "app second\nreg u8 \"\xC3\xA4 b\"\nreg u8 only\n"
        "app ifstats\nreg u8 only\n");
    runCases("results/cases/items.txt", 1, [&](const CaseFields &row) -> CaseFields {
        const LogCapture log;
        const std::string found = find(results.get(), row[0]);
        return {found, log.text()};
    });
    const LogCapture log;
    EXPECT_EQ(find(nullptr, "item:avg"), "null");
    EXPECT_EQ(log.text(), "Error: No applications found in result file.\n");
    std::string text = "rxBytes:rate";
    EXPECT_EQ(getAppItemResult(text.data(), results.get(), nullptr, nullptr), &results->regs[0]);
}

TEST(ItemLookUp, TakesFromPluginsALaterRecordOrACopy) {
    const ResultsOwner results =
        load("okra 1\napp first\nreg u8 a\napp second\nreg u8 b\nreg u8 c\n");
    const Results copy = *results->next;
    for (const Results *record : {static_cast<const Results *>(results->next), &copy}) {
        char qualified[] = "second@c";
        EXPECT_EQ(vorn_get_result_item(qualified, record, nullptr), &copy.regs[1]);
        char first[] = "b";
        EXPECT_EQ(vorn_get_result_item(first, record, nullptr), &copy.regs[0]);
        char earlier[] = "first@a";
        EXPECT_EQ(vorn_get_result_item(earlier, record, nullptr), nullptr);
    }
}

TEST(ItemLookUp, FindsEachOfManyNames) {
    std::string content = "okra 1\n";
    for (int app = 0; app < 300; ++app) {
        content += "app app" + std::to_string(app) + "\n";
        for (int reg = 0; reg < app; ++reg)
            content += "reg u32 aRegisterName" + std::to_string(reg) + "\n";
    }
    const ResultsOwner results = load(content);
    for (const Results *app = results.get(); app != nullptr; app = app->next) {
        for (std::int32_t reg = 0; reg < app->regCount; ++reg) {
            std::string spec = std::string(app->name) + "@aRegisterName" + std::to_string(reg);
            ASSERT_EQ(getAppItemResult(spec.data(), results.get(), nullptr, nullptr),
                      &app->regs[reg]);
        }
    }
}
