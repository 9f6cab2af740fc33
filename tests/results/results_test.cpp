// SPDX-License-Identifier: MIT
// Loading results files and finding their items.
#include "results/results.h"

#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

struct ResultsFreer {
    void operator()(Results *results) const { freeResults(results); }
};
using ResultsOwner = std::unique_ptr<Results, ResultsFreer>;

ResultsOwner load(const std::string &content) {
    const TempDir dir;
    Results *results = nullptr;
    EXPECT_EQ(loadResultsFile(dir.write("a.res", content).c_str(), &results), RESULTS_OK);
    return ResultsOwner(results);
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

TEST(ResultsLoader, TurnsEachRegisterTypeIntoItsKind) {
    const std::pair<const char *, const char *> cases[] = {
        {"u8 r value=200 min=1 max=255", "u32 r 200 1 255"},
        {"i8 r value=-1 min=-128 max=127", "i32 r 255 128 127"},  // not extended
        {"u16 r value=60000 min=1 max=2", "u32 r 60000 1 2"},
        {"i16 r value=-0x8000 min=1 max=2", "i32 r 32768 1 2"},
        {"u32 r value=4294967295 min=1 max=2", "u32 r 4294967295 1 2"},
        {"i32 r value=-2147483648 min=-7 max=2", "i32 r -2147483648 -7 2"},
        {"f32 r value=0.5", "f32 r 0.500000"},
        {"f64 r value=-0.25", "f64 r -0.250000"},
        {"sel r value=1 labels=down|up", "sel r 1 up"},
        {"sel-b r value=2 labels=down|up", "sel r 2 -"},
        {"sel-c r value=1 labels=down||up", "sel r 1 -"},
        {"counter r value=100 time=8 mult=4 div=5 secs=6", "counter r 100 10.000000 6"},
        {"counter r value=100 time=8 mult=4 secs=6", "counter r 100 0.000000 6"},
        {"counter r value=0x8000000000000001 time=1 mult=2 div=1",
         "counter r 9223372036854775809 2.000000 0"},  // the product wraps at 64 bits
        {"u8-secs r value=9 secs=70000", "secs r 9 70000"},
        {"a8 r data=1,2,255", "array r 3 1 2 255"},
        {"a16 r data=1,0x203", "array r 2 1 0 3 2"},
        {"a8-b r data=", "array r 0"},
        {"a16-b r data=5", "array r 1 5 0"},
        {"u64 r value=0xFFFFFFFFFFFFFFFF min=1 max=2", "u64 r 18446744073709551615 1 2"},
        {"u32-b r value=3 min=1 max=2", "u32 r 3 1 2"},
        {"i32-b r value=-3 min=1 max=2", "i32 r -3 1 2"},
        {"a32 r data=0x04030201", "array r 1 1 2 3 4"},
        {"a32-b r data=1 invalid", "array r invalid 1 1 0 0 0"},
        {"bits r value=0x80000005 labels=LOS|AIS|RDI", "bits r 2147483653 LOS RDI -"},
        {"bits r value=0 labels=LOS", "bits r 0 null"},
    };
    for (const auto &[line, shown] : cases) {
        SCOPED_TRACE(line);
        const ResultsOwner results = load("okra 1\napp a\nreg " + std::string(line));
        ASSERT_EQ(results->regCount, 1);
        EXPECT_EQ(show(results->regs[0]), shown);
    }
}

TEST(ResultsLoader, KeepsTheApplicationsInOrderWithTheirTimes) {
    const ResultsOwner results = load(
        "okra 1\n"
        "app one start=100 stop=350 restart=3 powerfail=4 status=255\n"
        "app a-longer-name-than-fits start=2 stop=1\n");
    ASSERT_NE(results, nullptr);
    std::string shown;
    for (const Results *app = results.get(); app != nullptr; app = app->next) {
        shown += app->name;
        for (const std::uint32_t word :
             {app->startTime, app->stopTime, app->restartTime, std::uint32_t{app->status},
              app->powerfailTime, app->elapsedTime})
            shown += " " + std::to_string(word);
        shown += "\n";
    }
    EXPECT_EQ(shown, "one 100 350 3 255 4 250\na-longer-name-t 2 1 0 0 0 4294967295\n");
    EXPECT_EQ(load("okra 1\n"), nullptr);
}

TEST(ResultsLoader, BelievesADeclaredCountOnlyAsALimit) {
    const LogCapture log;
    const ResultsOwner results = load(
        "okra 1\n"
        "app few regs=1\nreg u8 a value=1\nreg u8 b value=2\n"
        "app negative regs=-1\nreg u8 a\n"
        "app huge regs=2147483647\nreg u8 a value=3\n");
    EXPECT_EQ(log.text(),
              "Error: too many registers in results file.\n"
              "Error: too many registers in results file.\n");
    ASSERT_EQ(results->regCount, 1);
    EXPECT_EQ(show(results->regs[0]), "u32 a 1 0 0");
    EXPECT_EQ(results->next->regCount, 0);
    EXPECT_EQ(results->next->next->regCount, 1);
}

TEST(ResultsLoader, LeavesNothingOfAFileThatCannotBeLoaded) {
    const TempDir dir;
    const LogCapture log;
    Results untouched{};
    Results *results = &untouched;
    const std::string path =
        dir.write("a.res", "okra 1\napp a\nreg a8 x data=1\nreg a8 y data=z\n");
    EXPECT_EQ(loadResultsFile(path.c_str(), &results), RESULTS_NOT_LOADED);
    EXPECT_EQ(results, nullptr);
    EXPECT_EQ(log.text(), "Error loading results file '" + path +
                              "': line 4: 'z' of attribute 'data' is no number (-5)\n");
    EXPECT_EQ(initResultsLoader(), RESULTS_OK);
}

TEST(ItemLookUp, FindsItemsByTheirText) {
    const ResultsOwner results = load(
        "okra 1\n"
        "app ifstats\nreg counter rxBytes\nreg u8 rxBytes\nreg a32 hist\nreg u8 \"hist[3]\"\n"
        "reg u8 \"a@b\"\n"
        "app second\nreg u8 \"\xC3\xA4 b\"\nreg u8 only\n"
        "app ifstats\nreg u8 only\n");
    struct Case {
        const char *spec, *found, *log;
    };
    const Case cases[] = {
        {"ifstats@rxBytes:rate", "ifstats.rxBytes 2 -1", ""},
        {"rxBytes", "ifstats.rxBytes 0 -1", ""},
        {"rxBytes:secs", "ifstats.rxBytes 1 -1", ""},
        {"rxBytes:min", "ifstats.rxBytes 3 -1", ""},
        {"rxBytes:max", "ifstats.rxBytes 4 -1", ""},
        {"hist[3]", "ifstats.hist 0 3", ""},
        {"hist[ -2x", "ifstats.hist 0 -2", ""},
        {"hist[]", "ifstats.hist 0 0", ""},
        {"hist[99999999999]", "ifstats.hist 0 2147483647", ""},
        {"hist[3]:max", "ifstats.hist[3] 4 -1", ""},
        {"second@\xC3\xA4 b", "second.\xC3\xA4 b 0 -1", ""},
        {"rxBytes:avg", "null", "Error: unknown field 'avg' in 'link' argument.\n"},
        {"rxBytes:", "null", "Error: unknown field '' in 'link' argument.\n"},
        {"only", "null", "Error: item 'only' not found in application 'ifstats'.\n"},
        {"ifstats@only[1]", "null", "Error: item 'only' not found in application 'ifstats'.\n"},
        {"@rxBytes", "null", "Error: application '' not found in result file.\n"},
        {"ifstatsifstatsifstats@x:avg", "null",
         "Error: application 'ifstatsifstatsifstats' not found in result file.\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.spec);
        const LogCapture log;
        EXPECT_EQ(find(results.get(), c.spec), c.found);
        EXPECT_EQ(log.text(), c.log);
    }

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
            content += "reg u32 aRegisterName" + std::to_string(reg) +
                       " value=" + std::to_string(1000 * app + reg) + "\n";
    }
    const ResultsOwner results = load(content);
    for (int app = 0; app < 300; ++app) {
        for (int reg = 0; reg < app; ++reg) {
            std::string spec = "app" + std::to_string(app) + "@aRegisterName" + std::to_string(reg);
            const RegisterRecord *found =
                getAppItemResult(spec.data(), results.get(), nullptr, nullptr);
            ASSERT_NE(found, nullptr);
            ASSERT_EQ(found->as.u32.value, static_cast<std::uint32_t>(1000 * app + reg));
        }
    }
}
