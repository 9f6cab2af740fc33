// SPDX-License-Identifier: MIT
#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "report/section_clause.h"
#include "storage/strings.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\napp ifstats\nreg u32 rx value=1\nreg u32 dead value=1 invalid\n";

// A row that shows where it stands.
std::string row(const char *text) {
    return std::string("<row cstyle='%s'><value>") + text + "</value></row>\n";
}

TEST(Sections, AreSwitchedByItemsNumbersAndWords) {
    const char *const shown[] = {"",
                                 "enabled=YES",
                                 "enabled-by=ifstats@rx",
                                 "enabled-by=!ifstats@dead",
                                 "enabled-by=!0",
                                 "enabled-by=-1",
                                 "enabled=no, enabled-by=1"};  // the later one decides
    const char *const hidden[] = {
        "enabled=yes ", "enabled=no",      "enabled-by=!ifstats@rx",  "enabled-by=ifstats@dead",
        "enabled-by=0", "enabled-by=word", "enabled-by=1, enabled=no"};
    std::string body;
    std::string expected;
    const auto add = [&body](const char *args) {
        body +=
            "<section top=0, bottom=0, " + std::string(args) + ">\n" + row(args) + "</section>\n";
    };
    for (const char *args : shown) {
        add(args);
        expected += std::string(args) + "\r\n";
    }
    for (const char *args : hidden) add(args);
    const MergeOutcome outcome = MergeRun(RESULTS).report(body);
    EXPECT_EQ(outcome.report, expected);
    EXPECT_EQ(outcome.log, "");
}

TEST(Sections, InsideDisabledOnesAreNotRead) {
    MergeRun run(RESULTS);
    const MergeOutcome outcome = run.report(
        "<section enabled=no>\n<section enabled-by=no@such, dict=none, wrong=1>\n" + row("1") +
        "</section>\n" + row("2") + "<report><css style=color:red>\n</section>\n" +
        "<section top=1, bottom=2>\n<section top=0, bottom=0>\n</section>\n" + row("3") +
        "</section>\n</section>\n");  // one too many
    EXPECT_EQ(outcome.report, "\r\n3\r\n\r\n\r\n");
    EXPECT_EQ(outcome.log, "Error in main.tpl:14: not in a 'section' clause.\n");
}

TEST(Sections, NestEightDeepAndAreTraced) {
    std::string nested;
    for (int i = 1; i <= TEMPLATE_MAX_SECTIONS; ++i)
        nested += "<section id=s" + std::to_string(i) + ", top=0, bottom=0>\n";
    MergeRun run;
    EXPECT_EQ(run.report(nested).result, MERGE_OK);
    EXPECT_EQ(run.report(nested + "<section>\n").log,
              "Error in main.tpl:10: too many nested 'section' clauses.\n");

    const MergeOutcome traced =
        run.report("<section id=a-name-of-more-than-19, bottom=0>\n</section>", 3);
    EXPECT_EQ(traced.report, "\r\n");
    EXPECT_EQ(traced.log,
              "Push section 'a-name-of-more-than' at level 0.\n"
              "Pop section 'a-name-of-more-than' at level 0.\n"
              "Template merged (ret: 0).\n");
}

TEST(Sections, BringDictionariesThatGoWhenTheyEnd) {
    MergeRun run;
    run.file("dict_en.lxc", "[1]\nkey = one\n[2:3]\nkey = two\n[0x10]\nkey = sixteen\n");
    run.file("other_en.lxc", "[1]\nkey = other\n");
    copyPiece(opt_dictdir, run.dir().path());
    const std::string key = "<row cstyle='%s'><value dict>key</value></row>\n";
    const auto inSection = [&key](const char *dict) {
        return "<section top=0, bottom=0, dict=" + std::string(dict) + ">\n" + key + "</section>\n";
    };
    const MergeOutcome outcome =
        run.merge("<report dict=[1]>\n" + key + inSection("[2:3]") + inSection("' other [ ; 1 ]'") +
                  inSection("[0x10;2:3]") + inSection("[1],dict=[020]") + inSection("[;]") + key +
                  "</report>\n");
    EXPECT_EQ(outcome.report, "one\r\ntwo\r\nother\r\ntwo\r\nsixteen\r\none\r\none\r\n");
    EXPECT_EQ(outcome.log, "");
}

}  // namespace
