// SPDX-License-Identifier: MIT
#include <string>

#include <gtest/gtest.h>

#include "report/iterate_clause.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\napp loop\nreg u32 three value=3\nreg i32 minus value=-1\nreg a32 ports data=7,8,9\n"
    "reg u32 dead value=9 invalid\nreg sel word value=0 labels=a\n"
    "reg a8 bytes data=2,0,0,0,9\n";

const std::string ROW = "<row cstyle='%s'><value>${i}</value></row>\n";

TEST(Iterations, RunTheirBodyOnceForEachCount) {
    const std::pair<const char *, const char *> cases[] = {
        {"var=i, from=1, to=3", "123"},
        {"var=i", "0"},
        {"var=i, from=2, to=1", ""},
        {"var=i, to=loop@three", "0123"},
        {"var=i, from=loop@minus, to=1", "-101"},
        {"var=i, from=7, to=loop@ports[0]", "7"},
        {"var=i, to=loop@dead", "01"},  // holds nothing: 1
        {"var=i, from=2147483646, to=2147483647", "21474836462147483647"},
        {"var=i, from=97, to=loop@word", "97"},  // the first bytes of the text "a"
        {"var=i, from=2, to=loop@bytes", "2"},   // its first four bytes
    };
    for (const auto &[args, expected] : cases) {
        SCOPED_TRACE(args);
        MergeRun run(RESULTS);
        const MergeOutcome outcome =
            run.report("<iterate " + std::string(args) + ">\n" + ROW + "</iterate>");
        std::string counts;
        for (const char character : outcome.report)
            if (character != '\r' && character != '\n') counts += character;
        EXPECT_EQ(counts, expected);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST(Iterations, NestAndSkipWhatStandsInAnEmptyOne) {
    MergeRun run;
    const std::string cell = "<row cstyle='%s'><value>${a}${b}</value></row>\n";
    EXPECT_EQ(run.report("<iterate var=a, from=1, to=2>\n<iterate var=b, from=3, to=4>\n" + cell +
                         "</iterate>\n</iterate>")
                  .report,
              "13\r\n14\r\n23\r\n24\r\n");
    // Nothing in an empty one is read but iterations; its variable keeps its first value.
    EXPECT_EQ(run.report("<iterate var=a, from=3, to=1>\n<iterate to=${x}, wrong>\n<row oops>\n"
                         "<include file=none></iterate>\n<section></iterate>\n"
                         "<row cstyle='%s'><value>${a}</value></row>")
                  .report,
              "3\r\n");
    std::string eight;
    for (int i = 0; i < TEMPLATE_MAX_ITERATIONS; ++i) eight += "<iterate>";
    EXPECT_EQ(run.report(eight + "<row></row>").report, "\r\n");
    EXPECT_EQ(run.report(eight + "<iterate><row></row>").result, MERGE_TEMPLATE_ERROR);
    // Values of one row can be iterated, and the counter stands one past the end afterwards.
    EXPECT_EQ(
        run.report("<row cstyle='%s-%s-%s'><iterate var=a, from=1, to=2>\n<value>${a}</value>\n"
                   "</iterate>\n<value>${a}</value></row>")
            .report,
        "1-2-3\r\n");
}

TEST(Iterations, RunFilesOfTheirOwnAndBodiesLargerThanTheWindow) {
    MergeRun run;
    run.file("sub.tpl", "<row cstyle='%s'><value>${n}</value></row>\n");
    const std::string padding(TEMPLATE_WINDOW_SIZE, '\n');
    const MergeOutcome outcome = run.report(
        "<iterate var=a, from=1, to=2>\n<include file=sub.tpl(n:${a}.)>\n" + padding +
        "<include file=sub.tpl(n:${a}!)>\n<row cstyle='%s'><value>${b}</value></row>\n</iterate>");
    EXPECT_EQ(outcome.report, "1.\r\n1!\r\n\r\n2.\r\n2!\r\n\r\n");
    const std::string line = "Error in main.tpl:8197: Parameter 'b' not defined.\n";
    EXPECT_EQ(outcome.log, line + line);  // lines are counted from the right one again
}

}  // namespace
