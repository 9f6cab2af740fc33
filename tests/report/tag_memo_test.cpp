// SPDX-License-Identifier: MIT
// Loops whose body means something else in each pass: what is remembered of it must not be.
#include "report/tag_memo.h"

#include <string>

#include <gtest/gtest.h>

#include "report/template_context.h"
#include "support/merge_run.h"

namespace {

std::string row(const std::string &text) {
    return "<row cstyle='%s'><value>" + text + "</value></row>\n";
}

TEST(TagMemo, LetsEachPassMeanSomethingElse) {
    struct Case {
        const char *body;
        const char *report;
    };
    const Case cases[] = {
        // Sections and inner loops that count in some passes only; a third loop in the same lines.
        {"<iterate var=a, from=0, to=2>\n<section enabled-by=${a}, top=0, bottom=0>\n"
         "<iterate var=b, from=2, to=${a}>\n<row cstyle='%s'><value>${a}${b}</value></row>\n"
         "</iterate>\n</section><row cstyle='%s'><value>${a}</value></row>\n</iterate>\n",
         "0\r\n1\r\n22\r\n2\r\n"},
        // Formats, arguments and texts of other lengths.
        {"<iterate var=i, from=9, to=11>\n<row cstyle='%${i}s|%s'><value>${i}</value>\n"
         "<value link=a@r${i}></value></row>\n</iterate>\n",
         "        9|nine\r\n        10|10\r\n         11|-11\r\n"},
        // More arguments than are split beforehand; the last counts.
        {"<iterate var=i, from=9, to=10>\n<row cstyle='%s'>"
         "<value var=x, var=y, var=z, global=x, link=a@r${i}></value></row>\n</iterate>\n",
         "nine\r\n10\r\n"},
        // Other files, whose tags begin at the same places.
        {"<iterate var=i, from=1, to=3>\n<include file=s${i}.tpl(p:${i})>\n"
         "<row cstyle='%s'><value>=</value></row>\n</iterate>\n",
         "a1\r\n=\r\nb2\r\n=\r\na3\r\n=\r\n"},
        // A literal text that is taken from the next line in front of a tag at its start.
        {"<iterate var=i, from=1, to=2>\n<row cstyle='[%s]'>\n<value>\n</value>\n</row>\n"
         "</iterate><row cstyle='-'></row>\n",
         "[]\r\n\r\n[]\r\n\r\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        MergeRun run(
            "okra 1\napp a\nreg sel r9 value=0 labels=nine\nreg u32 r10 value=10\n"
            "reg i32 r11 value=-11\n");
        run.file("s1.tpl", "<row cstyle='%s'><value>a${p}</value></row>\n");
        run.file("s2.tpl", "<row cstyle='b%s'><value>${p}</value></row>\n");
        run.file("s3.tpl", "<row cstyle='%s'><value>a${p}</value></row>\n");
        const MergeOutcome outcome = run.report(c.body);
        EXPECT_EQ(outcome.report, c.report);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST(TagMemo, NamesTheLineOfAnErrorInALaterPass) {
    MergeRun run("okra 1\napp a\nreg u32 r1 value=1\nreg u32 r2 value=2\n");
    const MergeOutcome outcome = run.report(
        "<iterate var=i, from=1, to=3>\n\n<row cstyle='%u%s'>\n\n"
        "<value link=a@r${i}></value><value>\n</value></row></iterate>\n");
    EXPECT_EQ(outcome.report, "1\r\n2\r\n");
    EXPECT_EQ(outcome.log,
              "Error: item 'r3' not found in application 'a'.\n"
              "Error in main.tpl:6: application item not found.\n");
}

TEST(TagMemo, ForgetsTheTagsOfBytesThatAreGone) {
    // Two rows that begin at the same place of two windows.
    const std::string head = "<iterate var=i, from=1, to=3>\n" + row("a${i}");
    const std::size_t reportLine = std::string("<report>\n").size();
    const std::string text = head +
                             std::string(TEMPLATE_WINDOW_SIZE - reportLine - head.size(), '\n') +
                             std::string(reportLine + head.size() - row("a${i}").size(), '\n') +
                             row("b${i}") + "</iterate>\n";
    MergeRun run;
    EXPECT_EQ(run.report(text).report, "a1\r\nb1\r\na2\r\nb2\r\na3\r\nb3\r\n");
    // And of a file that was left: its row stands where the includer's next one does.
    run.file("sub.tpl", std::string(31, '\n') + "<row cstyle='b%s'><value>sub</value></row>\n");
    EXPECT_EQ(run.report("<include file=sub.tpl>\n" + row("a")).report, "bsub\r\na\r\n");
}

TEST(TagMemo, ReadsALongLineInTheNewPiecesThatASeekIntoItGives) {
    // The loop begins at byte 24 of the template and ends in an included file, which is therefore
    // read again from its byte 24: now the end of a piece cuts the section clause in two.
    MergeRun run;
    run.file("sub.tpl", std::string(1030, 'x') + "<tag>x<section top=3, bottom=0></iterate>\n");
    const MergeOutcome outcome = run.report("<iterate to=2>\n<include file=sub.tpl>\n");
    EXPECT_EQ(outcome.report, "\r\n\r\n\r\n");
    EXPECT_EQ(outcome.result, 0);
}

}  // namespace
