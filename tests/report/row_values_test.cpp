// SPDX-License-Identifier: MIT
#include "report/row_values.h"

#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "storage/strings.h"
#include "support/merge_run.h"

namespace {

constexpr char RESULTS[] =
    "okra 1\n"
    "app ifstats start=1000 stop=4661 restart=5 powerfail=7\n"
    "reg u32 rxFrames value=123456 min=1 max=200000\nreg i32 temp value=-5 min=-10 max=10\n"
    "reg u64 big value=18446744073709551615 min=3 max=4\n"
    "reg f32 ratio value=0.5\nreg f64 jitter value=0.125\n"
    "reg counter rxBytes value=100 time=4 mult=8 div=1 secs=9\nreg u8-secs errored secs=60\n"
    "reg sel link value=1 labels=\"down|up\"\nreg sel bare value=7\n"
    "reg bits alarms value=0x15 labels=\"LOS|AIS|RDI\"\nreg a32 hist data=1,2,4294967295\n"
    "reg a8 name data=72,105\nreg a8 quad data=0,0,64,64\nreg u32 dead value=1 invalid\n"
    "app iface2 start=1 stop=2\nreg u32 rxFrames value=2\n";

TEST(RowValues, ComeFromRegistersByFieldAndKindAndAreConverted) {
    struct Case {
        const char *clause, *format, *text;
    };
    const Case cases[] = {
        {"link=ifstats@rxFrames", "%u", "123456"},
        {"link=iface2@rxFrames", "%u", "2"},
        {"link=${reg}:min", "%u", "1"},
        {"link=rxFrames:max", "%u", "200000"},
        {"link=temp", "%d", "-5"},
        {"link=temp:min", "%d", "-10"},
        {"link=temp:max", "%d", "10"},
        {"link=big", "%llu", "18446744073709551615"},
        {"link=big:min", "%llu", "3"},
        {"link=big:max", "%llu", "4"},
        {"link=ratio", "%.2f", "0.50"},
        {"link=jitter", "%.3f", "0.125"},
        {"link=rxBytes", "%llu", "100"},
        {"link=rxBytes:rate", "%.1f", "200.0"},
        {"link=rxBytes:secs", "%u", "9"},
        {"link=errored:secs", "%u", "60"},
        {"link=link", "%s", "up"},
        {"link=bare", "%s", "7"},
        {"link=alarms", "%s", "LOS,RDI,4"},  // bit 4 has no label
        {"link=hist[2]", "%u", "4294967295"},
        {"link=name", "%s", "Hi"},
        {"link=dead:rate", "%u", "----"},
        {"global=%start-time", "%u", "1000"},
        {"global=ifa@%stop-time", "%u", "2"},
        {"global=%restart-time", "%u", "5"},
        {"global=%powerfail-time", "%u", "7"},
        {"global=%elapsed-time, conv=time", "%s", "01:01:01"},
        {"link=rxFrames, conv=bitmap(0x40?on:off)", "%s", "on"},
        {"link=rxFrames, conv=units(=1:%.0f;k=1000)", "%s", "123 k"},
        {"link=quad, conv=arrayFloat", "%.1f", "3.0"},
        {"link=big, conv=mac-addr", "%s", "FF:FF:FF:FF:FF:FF"},
        {"link=dead, conv=time", "%s", "----"},
    };
    std::string rows;
    std::string expected;
    for (const Case &c : cases) {
        rows +=
            std::string("<row cstyle='") + c.format + "'><value " + c.clause + "></value></row>\n";
        expected += std::string(c.text) + "\r\n";
    }
    MergeRun run(RESULTS);
    run.file("sub.tpl", rows);
    const MergeOutcome outcome = run.report("<include file=sub.tpl(reg:rxFrames)>");
    EXPECT_EQ(outcome.report, expected);
    EXPECT_EQ(outcome.log, "");
}

TEST(RowValues, JoinTheLabelsOfABitSetAsFarAsTheyFit) {
    // 30 + "," + 30 = 61 characters leave no room for ",x" and the end.
    const std::string thirty(30, 'a');
    MergeRun run("okra 1\napp a\nreg bits fits value=7 labels=\"" + thirty + "|" + thirty +
                 "|x\"\nreg bits none value=0\nreg bits long value=3 labels=\"" +
                 std::string(63, 'b') + "|c\"\n");
    EXPECT_EQ(run.report("<row cstyle='%s/%s/%s'><value link=fits></value><value link=none></value>"
                         "<value link=long></value></row>")
                  .report,
              thirty + "," + thirty + ",x//\r\n");
}

TEST(RowValues, TakeLiteralTextsAndUserVariables) {
    MergeRun run(RESULTS);
    run.file("dict_fr.lxc", "[1]\nTotal frames = Trames\nDUT = Appareil\nup = haut\n");
    copyPiece(opt_dictdir, run.dir().path());
    opt_lang_id.set("fr");
    copyPiece(opt_dflt_lang_id, "");
    run.setVar("site", "Lab ${n}");
    run.setVar("label", "DUT");
    const MergeOutcome outcome = run.merge(
        "<report dict=[1]>\n<iterate var=n, from=4, to=4>\n<row cstyle='[%s][%s][%s][%s][%s][%s]'>"
        "<value> a  b </value><value dict>Total frames</value><value var=site></value>"
        "<value var=label, dict></value><value var=missing></value><value "
        "link=link></value></row>\n"
        "</iterate>\n");
    EXPECT_EQ(outcome.report, "[ a  b ][Trames][Lab 4][Appareil][][haut]\r\n");
}

// The codes; vorn-report's tests see the messages.
TEST(RowValues, StopWithTheCodeOfTheirFault) {
    std::string many;
    for (int i = 0; i < ROW_MAX_VALUES; ++i) many += "<value link=temp></value>";
    const std::pair<std::string, int> cases[] = {
        {many, MERGE_OK},
        {many + "<value global=%stop-time>", MERGE_TOO_MANY_VALUES},
        {"<value item=x>", MERGE_TEMPLATE_ERROR},
        {"<value link=none>", MERGE_ITEM_NOT_FOUND},
        {"<value link=hist[-2]>", MERGE_ITEM_NOT_FOUND},
        {"<value link=name[0]>", MERGE_ITEM_NOT_FOUND},
        {"<value link=hist:max>", MERGE_NO_SUCH_FIELD},
        {"<value global=%uptime>", MERGE_UNKNOWN_GLOBAL},
        {"<value global=lat@%stop-time>", MERGE_NO_APPLICATION},
        {"<value link=temp, conv=time>", -15},
    };
    for (const auto &[values, result] : cases) {
        EXPECT_EQ(MergeRun(RESULTS).report("<row>" + values).result, result) << values;
    }
}

}  // namespace
