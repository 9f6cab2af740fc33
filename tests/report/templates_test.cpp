// SPDX-License-Identifier: MIT
// What templates mean, case by case, and what a merge does with files that fail.
#include <gtest/gtest.h>

#include "base/guards.h"
#include "core/options.h"
#include "report/merge.h"
#include "report/template_context.h"
#include "storage/strings.h"
#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\n"
    "app ifstats start=1000 stop=4661 restart=5 powerfail=7\n"
    "reg u32 rxFrames value=123456 min=1 max=200000\nreg i32 minus value=-1 min=-10 max=10\n"
    "reg u32 two value=2\nreg u64 big value=18446744073709551615 min=3 max=4\n"
    "reg f32 ratio value=0.5\nreg f64 jitter value=0.125\n"
    "reg counter rxBytes value=100 time=4 mult=8 div=1 secs=9\nreg u8-secs errored secs=60\n"
    "reg sel link value=1 labels=\"down|up\"\nreg sel bare value=7\n"
    "reg bits alarms value=0x15 labels=\"LOS|AIS|RDI\"\nreg a32 hist data=1,7,4294967295\n"
    "reg a8 name data=72,105\nreg a8 quad data=0,0,64,64\nreg a8 bytes data=2,0,0,0,9\n"
    "reg u32 dead value=1 invalid\nreg bits none value=0\n"
    "reg sel r9 value=0 labels=nine\nreg u32 r10 value=10\nreg i32 r11 value=-11\n";

// Labels that fill 63 characters, and that are longer.
std::string wideLabels() {
    const std::string thirty(30, 'a');
    return "reg bits fits value=7 labels=\"" + thirty + "|" + thirty +
           "|x\"\nreg bits long value=3 labels=\"" + std::string(63, 'b') + "|c\"\n";
}

TEST(Templates, MeanWhatTheirCasesSay) {
    runCases("report/cases/templates.txt", 1, [](const CaseFields &given) {
        MergeRun run(RESULTS + wideLabels() +
                     "app iface2 start=1 stop=2\nreg u32 rxFrames value=2\n");
        copyPiece(opt_dictdir, run.dir().path());
        run.file("dict_en.lxc",
                 "[1]\nkey = one\nup = up in words\nDUT = DUT in words\n[2:3]\nkey = two\n"
                 "[16]\nkey = sixteen\n");
        run.file("other_en.lxc", "[1]\nkey = other\n");
        run.setVar("site", "Lab 2");
        run.setVar("label", "DUT");
        for (const char *file : {"s1.tpl", "s3.tpl"})
            run.file(file, "<row cstyle='%s'><value>a${p}</value></row>\n");
        run.file("s2.tpl", "<row cstyle='b%s'><value>${p}</value></row>\n");
        // Its row stands where the includer's next one does.
        run.file("far.tpl", std::string(31, '\n') + "<row cstyle='b%s'><value>sub</value></row>\n");
        // A loop that ends in it reads it again from a place that cuts the section clause in two.
        run.file("long.tpl",
                 std::string(1030, 'x') + "<tag>x<section top=3, bottom=0></iterate>\n");
        return run.caseOutcome(given[0]);
    });
}

TEST(Templates, SayOnceWhatIsStillOpenAtTheEndAndTraceSections) {
    MergeRun run;
    EXPECT_EQ(run.merge("<report>\n<section id=a>\n<iterate to=3>\n<row cstyle=x>\n", 2).log,
              "Warning: template ends with open clauses: section (main.tpl:2), "
              "iterate (main.tpl:3), row (main.tpl:4).\n"
              "Template merged (ret: 0).\n");
    EXPECT_EQ(run.report("<section id=a-name-of-more-than-19, bottom=0>\n</section>", 3).log,
              "Push section 'a-name-of-more-than' at level 0.\n"
              "Pop section 'a-name-of-more-than' at level 0.\n"
              "Template merged (ret: 0).\n");
}

// Two rows that begin at the same place of two windows.
TEST(Templates, AreReadAnewWhereTheWindowWasReplaced) {
    const auto row = [](const char *text) {
        return std::string("<row cstyle='%s'><value>") + text + "</value></row>\n";
    };
    const std::string head = "<iterate var=i, from=1, to=3>\n" + row("a${i}");
    const std::size_t before = std::string("<report>\n").size();
    std::string text = head + std::string(TEMPLATE_WINDOW_SIZE - before - head.size(), '\n');
    text += std::string(before + head.size() - row("a${i}").size(), '\n') + row("b${i}");
    EXPECT_EQ(MergeRun().report(text + "</iterate>\n").report,
              "a1\r\nb1\r\na2\r\nb2\r\na3\r\nb3\r\n");
}

TEST(Templates, PassAFailingStreamAndAnUnknownFormatOn) {
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
