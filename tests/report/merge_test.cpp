// SPDX-License-Identifier: MIT
#include "report/merge.h"

#include <gtest/gtest.h>

#include "report/template_context.h"
#include "support/merge_run.h"
#include "util/guards.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\n"
    "app ifstats start=1700000000 stop=1700003600\n"
    "reg u32 rxFrames value=123456 min=1 max=200000\n"
    "reg u32 dead value=1 invalid\n";

struct Case {
    const char *what;
    const char *text;  // of the template
    const char *report;
    int result;
    const char *log;
};

void expectCases(std::initializer_list<Case> cases) {
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        MergeRun run(RESULTS);
        const MergeOutcome outcome = run.merge(c.text);
        EXPECT_EQ(outcome.result, c.result);
        EXPECT_EQ(outcome.report, c.report);
        EXPECT_EQ(outcome.log, c.log);
    }
}

TEST(Merge, WritesRowsAndSectionsOfTheReportAndNothingElse) {
    expectCases({
        {"the small template",
         "<report>\n<section id=totals, top=2>\n<row cstyle='%-10s %8u'><value>Frames</value>"
         "<value link=ifstats@rxFrames></value></row>\n</section>\n</report>\n",
         "\r\n\r\nFrames       123456\r\n\r\n", MERGE_OK, ""},
        {"no report clause", "<row cstyle=x></row>", "", MERGE_OK, ""},
        {"outside the report", "<report></report>\n<row cstyle='%s'><value>x</value></row>", "",
         MERGE_OK, ""},
        {"comments and foreign tags",
         "<!-- note --><!--tight--><b>\n<report>< ><xyz a=b><row><!-- in a row --></row></report>",
         "\r\n", MERGE_OK, ""},
        {"a tag without its end is dropped", "<report>\n<row cstyle=x\n<row></row></report>",
         "\r\n", MERGE_OK, ""},
        {"a register without value", "<report><row cstyle='%8d|'><value link=dead></value></row>",
         "    ----|\r\n", MERGE_OK, ""},
        {"the report may begin again", "<report><row></row></report><report><row></row></report>",
         "\r\n\r\n", MERGE_OK, ""},
    });
}

TEST(Merge, SaysWhatIsWrongWithAClauseAndStops) {
    expectCases({
        {"report argument", "<report x=1>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:1: unknown argument 'x' in 'report' clause.\n"},
        {"report without dictionary", "<report dict=>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:1: missing dictionary specification in 'dict' argument.\n"},
        {"css argument", "<report>\n<css font=x>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:2: unknown argument 'font' in 'css' clause.\n"},
        {"css without style", "<report>\n<css style=''>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:2: missing 'style' value in template.\n"},
        {"css property", "<report>\n<css style=color:red>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:2: unknown style argument 'color' in css clause.\n"},
        {"row argument", "<report>\n\n<row style=x>", "", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: unknown argument 'style' in 'row' clause.\n"},
        {"values against cstyle",
         "<report>\n<row cstyle='%s %s'><value>one</value></row>\n<row></row>", "",
         MERGE_TEMPLATE_ERROR,
         "Error: number of values in row doesn't match 'cstyle' arguments.\n"
         "Error in template main.tpl:2: Could not format output.\n"},
    });
}

TEST(Merge, OnlyWarnsOfNestedReportsRowsAndValues) {
    expectCases({
        {"nested",
         "<report><report>\n<row cstyle='%s'><row cstyle=no><value>a<value>b</value></row>",
         "a\r\n", MERGE_OK,
         "Warning in template main.tpl:1: nested 'report' clause.\n"
         "Warning in template main.tpl:2: nested 'row' clause.\n"
         "Warning in template main.tpl:2: nested 'value' clause.\n"},
    });
}

TEST(Merge, SaysOnceWhatIsStillOpenAtTheEnd) {
    MergeRun run;
    const MergeOutcome outcome =
        run.merge("<report>\n<section id=a>\n<iterate to=3>\n<row cstyle=x>\n", 2);
    EXPECT_EQ(outcome.result, MERGE_OK);
    EXPECT_EQ(outcome.report, "\r\n");
    EXPECT_EQ(outcome.log,
              "Warning: template ends with open clauses: section (main.tpl:2), "
              "iterate (main.tpl:3), row (main.tpl:4).\n"
              "Template merged (ret: 0).\n");
}

TEST(Merge, PassesAFailingStreamAndAnUnknownFormatOn) {
    MergeRun run;
    run.file("main.tpl", "<report><row></row></report>");
    const auto mergeInto = [](const char *path, std::uint32_t format) {
        const FileGuard text(std::fopen("main.tpl", "rt"));
        const FileGuard out(std::fopen(path, "wt"));
        std::setvbuf(out.get(), nullptr, _IONBF, 0);
        return mergeTemplate(nullptr, text.get(), out.get(), "main.tpl", format, nullptr, "");
    };
    EXPECT_EQ(mergeInto("/dev/full", RPT_FMT_TXT), DUMP_WRITE_FAILED);
    EXPECT_EQ(mergeInto("out", 2), DUMP_UNKNOWN_FORMAT);
}

}  // namespace
