// SPDX-License-Identifier: MIT
#include "report/merge.h"

#include <gtest/gtest.h>

#include "base/guards.h"
#include "report/template_context.h"
#include "support/log_capture.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\n"
    "app ifstats start=1700000000 stop=1700003600\n"
    "reg u32 rxFrames value=123456\n";

TEST(Merge, WritesRowsAndSectionsOfTheReportAndNothingElse) {
    struct Case {
        const char *text, *report, *log;
    };
    const Case cases[] = {
        {"<report>\n<section id=totals, top=2>\n<row cstyle='%-10s %8u'><value>Frames</value>"
         "<value link=ifstats@rxFrames></value></row>\n</section>\n</report>\n",
         "\r\n\r\nFrames       123456\r\n\r\n", ""},
        {"<row cstyle=x></row>", "", ""},
        {"<report></report>\n<row cstyle='%s'><value>x</value></row>", "", ""},
        {"<!-- note --><!--tight--><b>\n<report>< ><xyz a=b><row><!-- in a row --></row></report>",
         "\r\n", ""},
        {"<report>\n<row cstyle=x\n<row></row></report>", "\r\n", ""},  // a tag without its end
        {"<report><row></row></report><report><row></row></report>", "\r\n\r\n", ""},
        {"<report x=1>", "", "Error in main.tpl:1: unknown argument 'x' in 'report' clause.\n"},
        {"<report>\n<row cstyle='%s %s'><value>one</value></row>\n<row></row>", "",
         "Error: number of values in row doesn't match 'cstyle' arguments.\n"
         "Error in template main.tpl:2: Could not format output.\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        const MergeOutcome outcome = MergeRun(RESULTS).merge(c.text);
        EXPECT_EQ(outcome.result, *c.log == '\0' ? MERGE_OK : MERGE_TEMPLATE_ERROR);
        EXPECT_EQ(outcome.report, c.report);
        EXPECT_EQ(outcome.log, c.log);
    }
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
    const auto mergeInto = [](const char *path, std::uint32_t format,
                              const char *from = "main.tpl") {
        const FileGuard text(std::fopen(from, "rt"));
        const FileGuard out(std::fopen(path, "wt"));
        std::setvbuf(out.get(), nullptr, _IONBF, 0);
        return mergeTemplate(nullptr, text.get(), out.get(), "main.tpl", format, nullptr, "");
    };
    EXPECT_EQ(mergeInto("/dev/full", RPT_FMT_TXT), DUMP_WRITE_FAILED);
    EXPECT_EQ(mergeInto("out", 2), DUMP_UNKNOWN_FORMAT);
    const LogCapture log;
    EXPECT_EQ(mergeInto("out", RPT_FMT_TXT, "."), MERGE_TEMPLATE_ERROR);  // reading it fails
    EXPECT_EQ(log.text(), "Error in main.tpl:0: the file cannot be read: Is a directory.\n");
}

}  // namespace
