// SPDX-License-Identifier: MIT
#include "report/sections.h"

#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
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
    struct Case {
        const char *args;
        bool shown;
    };
    const Case cases[] = {
        {"", true},
        {"enabled=YES", true},
        {"enabled=yes ", false},
        {"enabled=no", false},
        {"enabled-by=ifstats@rx", true},
        {"enabled-by=!ifstats@rx", false},
        {"enabled-by=ifstats@dead", false},
        {"enabled-by=!ifstats@dead", true},
        {"enabled-by=0", false},
        {"enabled-by=!0", true},
        {"enabled-by=-1", true},
        {"enabled-by=word", false},
        {"enabled=no, enabled-by=1", true},  // the later one decides
        {"enabled-by=1, enabled=no", false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.args);
        MergeRun run(RESULTS);
        const MergeOutcome outcome = run.report("<section top=0, bottom=0, " + std::string(c.args) +
                                                ">\n" + row("in") + "</section>\n" + row("after"));
        EXPECT_EQ(outcome.result, MERGE_OK);
        EXPECT_EQ(outcome.report, c.shown ? "in\r\nafter\r\n" : "after\r\n");
        EXPECT_EQ(outcome.log, "");
    }
}

TEST(Sections, InsideDisabledOnesAreNotRead) {
    MergeRun run(RESULTS);
    const MergeOutcome outcome = run.report(
        "<section enabled=no>\n<section enabled-by=no@such, dict=none, wrong=1>\n" + row("1") +
        "</section>\n" + row("2") + "<report><css style=color:red>\n</section>\n" +
        "<section top=1, bottom=2>\n<section top=0, bottom=0>\n</section>\n" + row("3") +
        "</section>\n");
    EXPECT_EQ(outcome.result, MERGE_OK);
    EXPECT_EQ(outcome.report, "\r\n3\r\n\r\n\r\n");
    EXPECT_EQ(outcome.log, "");
}

TEST(Sections, NestEightDeepAndAreTraced) {
    std::string nested;
    for (int i = 1; i <= TEMPLATE_MAX_SECTIONS; ++i)
        nested += "<section id=s" + std::to_string(i) + ", top=0, bottom=0>\n";
    MergeRun run;
    std::string closed = nested;
    for (int i = 0; i < TEMPLATE_MAX_SECTIONS; ++i) closed += "</section>\n";
    EXPECT_EQ(run.report(closed).result, MERGE_OK);

    const MergeOutcome ninth = run.report(nested + "<section>\n");
    EXPECT_EQ(ninth.result, MERGE_TEMPLATE_ERROR);
    EXPECT_EQ(ninth.log, "Error in main.tpl:10: too many nested 'section' clauses.\n");

    const MergeOutcome traced =
        run.report("<section id=a-name-of-more-than-19, bottom=0>\n</section>", 3);
    EXPECT_EQ(traced.report, "\r\n");
    EXPECT_EQ(traced.log,
              "Push section 'a-name-of-more-than' at level 0.\n"
              "Pop section 'a-name-of-more-than' at level 0.\n"
              "Template merged (ret: 0).\n");
}

TEST(Sections, SayWhatIsWrongAndStop) {
    struct Case {
        const char *body;
        const char *log;
    };
    const Case cases[] = {
        {"<section id=>", "Error in main.tpl:2: missing section 'id' in template.\n"},
        {"<section enabled-by=>",
         "Error in main.tpl:2: missing application item in 'enabled-by' argument.\n"},
        {"<section enabled=>", "Error in main.tpl:2: missing boolean in 'enabled' argument.\n"},
        {"<section top=>", "Error in main.tpl:2: missing line count in 'top' argument.\n"},
        {"<section bottom=>", "Error in main.tpl:2: missing line count in 'bottom' argument.\n"},
        {"<section dict=>",
         "Error in main.tpl:2: missing dictionary specification in 'dict' argument.\n"},
        {"<section colour=red>",
         "Error in main.tpl:2: unknown argument 'colour' in 'section' clause.\n"},
        {"<section dict=if>",
         "Error in main.tpl:2: missing dictionary group ID in 'dict' argument.\n"},
        {"<section dict=if[1>", "Error in main.tpl:2: missing ']' in 'dict' argument.\n"},
        {"<section enabled-by=ifstats@tx>",
         "Error: item 'tx' not found in application 'ifstats'.\n"
         "Error in main.tpl:2: application item 'ifstats@tx' not found.\n"},
        {"</section>", ""},  // not known at report level
        {"<section>\n</section>\n<section enabled=no>\n</section>\n</section>", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        MergeRun run(RESULTS);
        const MergeOutcome outcome = run.report(c.body);
        EXPECT_EQ(outcome.result, *c.log != '\0' ? MERGE_TEMPLATE_ERROR : MERGE_OK);
        EXPECT_EQ(outcome.log, c.log);
    }
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
    EXPECT_EQ(outcome.result, MERGE_OK);
    EXPECT_EQ(outcome.report, "one\r\ntwo\r\nother\r\ntwo\r\nsixteen\r\none\r\none\r\n");
    EXPECT_EQ(outcome.log, "");

    const MergeOutcome missing = run.report("<section dict=none[1]>");
    EXPECT_EQ(missing.result, MERGE_TEMPLATE_ERROR);
    EXPECT_NE(missing.log.find("Error in main.tpl:2: dictionary 'none' could not be opened.\n"),
              std::string::npos);
}

}  // namespace
