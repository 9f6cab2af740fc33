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
    "reg u32 rxFrames value=123456 min=1 max=200000\n"
    "reg i32 temp value=-5 min=-10 max=10\n"
    "reg u64 big value=18446744073709551615 min=3 max=4\n"
    "reg f32 ratio value=0.5\n"
    "reg f64 jitter value=0.125\n"
    "reg counter rxBytes value=100 time=4 mult=8 div=1 secs=9\n"
    "reg u8-secs errored value=3 secs=60\n"
    "reg sel link value=1 labels=\"down|up\"\n"
    "reg sel bare value=7\n"
    "reg bits alarms value=0x15 labels=\"LOS|AIS|RDI\"\n"
    "reg a32 hist data=1,2,4294967295\n"
    "reg a8 name data=72,105\n"
    "reg a8 quad data=0,0,64,64\n"
    "reg u32 dead value=1 invalid\n"
    "app iface2 start=1 stop=2\n"
    "reg u32 rxFrames value=2\n";

// The values of one row, each printed with one conversion.
MergeOutcome print(MergeRun *run, const std::string &cstyle, const std::string &values,
                   int logLevel = 1) {
    return run->report("<row cstyle='" + cstyle + "'>\n" + values + "</row>", logLevel);
}

TEST(RowValues, ComeFromRegistersByFieldAndKind) {
    struct Case {
        const char *link;
        const char *conversion;
        const char *text;
    };
    const Case cases[] = {
        {"ifstats@rxFrames", "%u", "123456"},
        {"rxFrames", "%u", "123456"},
        {"iface2@rxFrames", "%u", "2"},
        {"rxFrames:value", "%u", "123456"},
        {"rxFrames:min", "%u", "1"},
        {"ifstats@rxFrames:max", "%u", "200000"},
        {"temp", "%d", "-5"},
        {"temp:min", "%d", "-10"},
        {"big", "%llu", "18446744073709551615"},
        {"big:max", "%llu", "4"},
        {"ratio", "%.2f", "0.50"},
        {"jitter", "%.3f", "0.125"},
        {"rxBytes", "%llu", "100"},
        {"rxBytes:rate", "%.1f", "200.0"},
        {"rxBytes:secs", "%u", "9"},
        {"errored", "%u", "3"},
        {"errored:secs", "%u", "60"},
        {"link", "%s", "up"},
        {"bare", "%s", "7"},
        {"alarms", "%s", "LOS,RDI,4"},  // bit 4 has no label
        {"hist[2]", "%u", "4294967295"},
        {"name", "%s", "Hi"},
        {"dead", "%u", "----"},
        {"dead:rate", "%u", "----"},
        {"${which}", "%u", "123456"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.link);
        MergeRun run(RESULTS);
        const MergeOutcome outcome =
            run.report("<iterate var=n>\n<include file=sub.tpl(which:rxFrames), optional>\n" +
                       std::string("<row cstyle='") + c.conversion + "'><value link=" + c.link +
                       "></value></row>\n</iterate>");
        if (std::string(c.link) == "${which}") {
            run.file("sub.tpl", "<row cstyle='%u'><value link=${which}></value></row>\n");
            EXPECT_EQ(run.report("<include file=sub.tpl(which:rxFrames)>").report, "123456\r\n");
            continue;
        }
        EXPECT_EQ(outcome.report, c.text + std::string("\r\n"));
        EXPECT_EQ(outcome.result, MERGE_OK);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST(RowValues, JoinTheLabelsOfABitSetAsFarAsTheyFit) {
    // 30 + "," + 30 = 61 characters leave no room for ",x" and the end.
    const std::string thirty(30, 'a');
    MergeRun run("okra 1\napp a\nreg bits fits value=7 labels=\"" + thirty + "|" + thirty +
                 "|x\"\nreg bits none value=0\nreg bits long value=3 labels=\"" +
                 std::string(63, 'b') + "|c\"\n");
    EXPECT_EQ(print(&run, "%s/%s/%s",
                    "<value link=fits></value><value link=none></value><value link=long></value>")
                  .report,
              thirty + "," + thirty + ",x//\r\n");
}

TEST(RowValues, ShowTimesOfAnApplication) {
    MergeRun run(RESULTS);
    EXPECT_EQ(print(&run, "%u %u %u %s %u|%u",
                    "<value global=%start-time></value><value global=%stop-time></value>"
                    "<value global=%restart-time></value>"
                    "<value global=%elapsed-time, conv=time></value>"
                    "<value global=%powerfail-time></value><value global=ifa@%stop-time></value>")
                  .report,
              "1000 4661 5 01:01:01 7|2\r\n");
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
        "</iterate>\n",
        2);
    EXPECT_EQ(outcome.report, "[ a  b ][Trames][Lab 4][Appareil][][haut]\r\n");
    EXPECT_EQ(outcome.log,
              "Warning in main.tpl:3: user variable 'missing' not defined.\n"
              "Template merged (ret: 0).\n");
}

TEST(RowValues, GoOnWithoutALiteralThatCannotBeAdded) {
    MergeRun run;
    EXPECT_EQ(print(&run, "%s|%s|", "<value>${none}</value><value>b</value>").report, "|b|\r\n");
    std::string formats;
    std::string values;
    for (int i = 0; i < ROW_MAX_VALUES; ++i) {
        formats += "%s";
        values += "<value>x</value>";
    }
    const MergeOutcome outcome = print(&run, formats, values + "<value>dropped</value>");
    EXPECT_EQ(outcome.result, MERGE_OK);
    EXPECT_EQ(outcome.report, "xxxxxxxxxxxxxxxx\r\n");
    EXPECT_EQ(outcome.log, "Error: too many values in row clause.\n");
}

TEST(RowValues, AreConvertedAsTheClauseSays) {
    MergeRun run(RESULTS);
    run.setVar("ignored", "x");
    EXPECT_EQ(print(&run, "%s|%s|%.1f|%s|%s",
                    "<value link=rxFrames, conv=bitmap(0x40?on:off)></value>"
                    "<value link=rxFrames, conv=units(=1:%.0f;k=1000)></value>"
                    "<value link=quad, conv=arrayFloat></value>"
                    "<value link=big, conv=mac-addr></value><value link=dead, conv=time></value>")
                  .report,
              "on|123 k|3.0|FF:FF:FF:FF:FF:FF|----\r\n");
}

TEST(RowValues, SayWhatIsWrongAndStop) {
    std::string many;
    for (int i = 0; i < ROW_MAX_VALUES; ++i) many += "<value link=temp></value>";
    struct Case {
        std::string value;
        int result;
        const char *log;
    };
    const Case cases[] = {
        {"<value link=>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: missing 'link' value in template.\n"},
        {"<value global=>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: missing 'global' value in template.\n"},
        {"<value var=>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: missing 'var' value in template.\n"},
        {"<value plugin=>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: missing 'plugin' value in template.\n"},
        {"<value conv=>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: missing 'type' value in template.\n"},
        {"<value item=x>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: unknown argument 'item' in 'value' clause.\n"},
        {"<value link=temp, conv=hex>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: unknown conversion type 'hex' in template.\n"},
        {"<value link=none>", MERGE_ITEM_NOT_FOUND,
         "Error: item 'none' not found in application 'ifstats'.\n"
         "Error in main.tpl:3: application item not found.\n"},
        {"<value link=ifstats@hist[3]>", MERGE_ITEM_NOT_FOUND,
         "Error in main.tpl:3: array element out of range (3).\n"},
        {"<value link=hist[-2]>", MERGE_ITEM_NOT_FOUND,
         "Error in main.tpl:3: array element out of range (-2).\n"},
        {"<value link=name[0]>", MERGE_ITEM_NOT_FOUND,
         "Error in main.tpl:3: array element out of range (0).\n"},
        {"<value link=ifstats@temp:rate>", MERGE_NO_SUCH_FIELD,
         "Error in main.tpl:3: application item 'ifstats@temp' has no 'rate' field.\n"},
        {"<value link=link:secs>", MERGE_NO_SUCH_FIELD,
         "Error in main.tpl:3: application item 'link' has no 'secs' field.\n"},
        {"<value link=ratio:min>", MERGE_NO_SUCH_FIELD,
         "Error in main.tpl:3: application item 'ratio' has no 'min' field.\n"},
        {"<value link=hist:max>", MERGE_NO_SUCH_FIELD,
         "Error in main.tpl:3: application item 'hist' has no 'max' field.\n"},
        {"<value link=temp:avg>", MERGE_ITEM_NOT_FOUND,
         "Error: unknown field 'avg' in 'link' argument.\n"
         "Error in main.tpl:3: application item not found.\n"},
        {"<value global=%uptime>", MERGE_UNKNOWN_GLOBAL,
         "Error in main.tpl:3: unknown global variable '%uptime'.\n"},
        {"<value global=lat@%stop-time>", MERGE_NO_APPLICATION,
         "Error in main.tpl:3: application 'lat@%stop-time' not found in result file.\n"},
        {"<value var=${none}>", MERGE_TEMPLATE_ERROR,
         "Error in main.tpl:3: Parameter 'none' not defined.\n"
         "Error in main.tpl:3: Parameter 'none' not defined.\n"},
        {"<value link=temp, conv=time>", -15,
         "Error in main.tpl:3: 'time' conversion is only supported for UINT32 type.\n"},
        {many + "<value link=temp>", MERGE_TOO_MANY_VALUES,
         "Error in main.tpl:3: too many values in row clause.\n"},
        {many + "<value global=%stop-time>", MERGE_TOO_MANY_VALUES,
         "Error in main.tpl:3: too many values in row clause.\n"},
        {many + "<value var=x>", MERGE_TOO_MANY_VALUES, "Error: too many values in row clause.\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.value);
        MergeRun run(RESULTS);
        const MergeOutcome outcome = print(&run, "", c.value);
        EXPECT_EQ(outcome.result, c.result);
        EXPECT_EQ(outcome.log, c.log);
    }
    MergeRun empty;
    EXPECT_EQ(print(&empty, "", "<value global=%stop-time>").log,
              "Error in main.tpl:3: No global variables available.\n");
}

}  // namespace
