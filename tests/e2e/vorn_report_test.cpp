// SPDX-License-Identifier: MIT
// vorn-report as a template author meets it: the real program, real files.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "support/program.h"
#include "support/temp_dir.h"

namespace {

const std::string examples = VORN_SOURCE_DIR "/examples/";
const std::string goldenDir = VORN_SOURCE_DIR "/tests/e2e/golden/";

Outcome vornReport(std::vector<std::string> words, const std::string &workDir = "") {
    words.insert(words.begin(), VORN_BIN_DIR "/vorn-report");
    return runProgram(words, workDir);
}

std::string readFile(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// Compares with a file of tests/e2e/golden; with VORN_UPDATE_GOLDEN set it writes the file instead.
void expectGolden(const std::string &actual, const std::string &name) {
    if (std::getenv("VORN_UPDATE_GOLDEN") != nullptr)
        std::ofstream(goldenDir + name, std::ios::binary) << actual;
    EXPECT_EQ(actual, readFile(goldenDir + name)) << name;
}

// What a text report holds between its byte-order mark and the carriage returns.
std::string reportText(const std::string &file) {
    EXPECT_TRUE(file.starts_with("\xEF\xBB\xBF"));
    std::string text = file.substr(std::min<std::size_t>(3, file.size()));
    std::erase(text, '\r');
    return text;
}

// The names in a directory, in order.
std::string filesIn(const TempDir &dir) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(dir.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string list;
    for (const std::string &name : names) list += (list.empty() ? "" : " ") + name;
    return list;
}

// Lines without the blanks that only place them.
std::vector<std::string> linesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) {
        std::istringstream words(line);
        std::string bare;
        for (std::string word; words >> word;) bare += (bare.empty() ? "" : " ") + word;
        if (!bare.empty()) lines.push_back(bare);
    }
    return lines;
}

std::vector<std::string> exampleReport(const std::string &output) {
    return {"--dict-dir",
            examples + "dicts",
            "--dict",
            "tester",
            "--var",
            "site=Lab 2",
            "--var",
            "operator=Ada",
            "--lang",
            "en",
            examples + "tester.res",
            examples + "tester.tpl",
            output};
}

std::string repeated(const std::string &text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

const char *const smallResults =
    "okra 1\n"
    "app if start=1700000000 stop=1700003600\n"
    "reg u32 frames value=1536 min=0 max=2000\n"
    "reg counter bytes value=600 time=10 mult=1 div=1 secs=60\n"
    "reg a32 hist data=1,2,3\n"
    "reg a8 text data=104,105\n"
    "reg f32 level value=1.5\n"
    "reg u64 mac value=1\n"
    "reg u32 off value=0 invalid\n"
    "reg i32 delta value=-3\n"
    "app lat start=1 stop=2\n"
    "reg u32 max value=9\n";

}  // namespace

TEST(VornReport, MakesTheExampleReportInBothLanguages) {
    TempDir dir;
    for (const char *lang : {"en", "de"}) {
        std::vector<std::string> words = exampleReport(dir.path("out.txt"));
        std::replace(words.begin(), words.end(), std::string("en"), std::string(lang));
        const Outcome outcome = vornReport(words);
        EXPECT_EQ(outcome.status, 0) << lang;
        EXPECT_EQ(outcome.err, "") << lang;
        expectGolden(dir.read("out.txt"), std::string("tester_") + lang + ".txt");
    }
}

TEST(VornReport, MakesAPdfOfSeveralPagesWithEveryLineOfTheTextReport) {
    TempDir dir;
    std::vector<std::string> words = exampleReport(dir.path("out.pdf"));
    std::replace(words.begin(), words.end(), std::string("en"), std::string("de"));
    ASSERT_EQ(vornReport(words).status, 0);

    const Outcome checked = runProgram({"qpdf", "--check", dir.path("out.pdf")});
    EXPECT_EQ(checked.status, 0) << checked.out << checked.err;
    const Outcome read = runProgram({"pdftotext", "-layout", dir.path("out.pdf"), "-"});
    EXPECT_GE(std::count(read.out.begin(), read.out.end(), '\f'), 2);

    const std::vector<std::string> shown = linesOf(read.out);
    auto next = shown.begin();  // in the same order
    for (const std::string &line : linesOf(reportText(readFile(goldenDir + "tester_en.txt")))) {
        const auto found = std::find(next, shown.end(), line);
        EXPECT_NE(found, shown.end()) << line;
        if (found != shown.end()) next = found + 1;
    }
}

TEST(VornReport, NamesFileAndLineOfEveryFaultInATemplateAndLeavesNoReport) {
    struct Case {
        std::string text;  // the template's lines from the second on; the first opens the report
        std::string log;   // "%" stands for "Error in t.tpl:2: "
    };
    const std::string item = "Error: item 'none' not found in application 'if'.\n";
    const Case cases[] = {
        // reading and including
        {"<include file=>", "%missing section 'file' in template.\n"},
        {"<include name=a>", "%unknown argument 'name' in 'include' clause.\n"},
        {"<include file=none.tpl>", "%file 'none.tpl' not found.\n"},
        {"<include file=folder>", "%file 'folder' not found.\n"},
        {"<include file=loop.tpl>", "Error in loop.tpl:1: too many nested files.\n"},
        {"<section dict=${a[1]>",
         "%Missing '}' in expression.\n"
         "Error opening dictionary './${a_en.lxc': No such file or directory\n"
         "%dictionary '${a' could not be opened.\n"},
        {"<include file=big.tpl(a:" + std::string(63, 'a') + ")>",
         "Error in big.tpl:1: Expanded string is too long.\n"
         "Error in big.tpl:1: Expanded string is too long.\n"},
        // report and dictionaries
        {"<section dict=>", "%missing dictionary specification in 'dict' argument.\n"},
        {"<section dict=words>", "%missing dictionary group ID in 'dict' argument.\n"},
        {"<section dict=words[1>", "%missing ']' in 'dict' argument.\n"},
        // sections
        {"<section id=>", "%missing section 'id' in template.\n"},
        {"<section enabled-by=>", "%missing application item in 'enabled-by' argument.\n"},
        {"<section enabled=>", "%missing boolean in 'enabled' argument.\n"},
        {"<section top=>", "%missing line count in 'top' argument.\n"},
        {"<section bottom=>", "%missing line count in 'bottom' argument.\n"},
        {"<section name=a>", "%unknown argument 'name' in 'section' clause.\n"},
        {"<section enabled-by=if@none>", item + "%application item 'if@none' not found.\n"},
        {"<section enabled-by=p.f()>",
         "%plugin 'p' not declared.\n"
         "%plugin returned error.\n"},
        {repeated("<section>", 9), "%too many nested 'section' clauses.\n"},
        // styles and rows
        {"<css style=>", "%missing 'style' value in template.\n"},
        {"<css color=red>", "%unknown argument 'color' in 'css' clause.\n"},
        {"<css style=color:red>", "%unknown style argument 'color' in css clause.\n"},
        {"<row style='%s'>", "%unknown argument 'style' in 'row' clause.\n"},
        {"<row cstyle='%s %s'><value>one</value></row>",
         "Error: number of values in row doesn't match 'cstyle' arguments.\n"
         "Error in template t.tpl:2: Could not format output.\n"},
        // iterations
        {"<iterate var=>", "%missing iteration 'var' in template.\n"},
        {"<iterate from=>", "%missing iteration 'from' in template.\n"},
        {"<iterate to=>", "%missing iteration 'to' in template.\n"},
        {"<iterate step=2>", "%unknown argument 'step' in 'iterate' clause.\n"},
        {"<iterate to=if@none>", item + "%application item not found.\n"},
        {"</iterate>", "%not in an 'iteration' clause.\n"},
        {repeated("<iterate>", 9), "%too many nested 'iterate' clauses.\n"},
        // value clauses
        {"<row><value link=>", "%missing 'link' value in template.\n"},
        {"<row><value global=>", "%missing 'global' value in template.\n"},
        {"<row><value var=>", "%missing 'var' value in template.\n"},
        {"<row><value plugin=>", "%missing 'plugin' value in template.\n"},
        {"<row><value conv=>", "%missing 'type' value in template.\n"},
        {"<row><value item=if@frames>", "%unknown argument 'item' in 'value' clause.\n"},
        {"<row><value link=if@frames, conv=hex>", "%unknown conversion type 'hex' in template.\n"},
        {"<row><value plugin=p.f()>",
         "%plugin 'p' not declared.\n"
         "%plugin returned error.\n"},
        {"<row>" + repeated("<value link=if@off></value>", 17),
         "%too many values in row clause.\n"},
        {"<row>" + repeated("<value var=report-name></value>", 17),
         "Error: too many values in row clause.\n"},
        // items
        {"<row><value link=none@frames>",
         "Error: application 'none' not found in result file.\n"
         "%application item not found.\n"},
        {"<row><value link=if@none>", item + "%application item not found.\n"},
        {"<row><value link=if@frames:avg>",
         "Error: unknown field 'avg' in 'link' argument.\n"
         "%application item not found.\n"},
        {"<row><value link=if@hist[3]>", "%array element out of range (3).\n"},
        {"<row><value link=if@frames:secs>",
         "%application item 'if@frames' has no 'secs' field.\n"},
        {"<row><value link=if@frames:rate>",
         "%application item 'if@frames' has no 'rate' field.\n"},
        {"<row><value link=if@bytes:min>", "%application item 'if@bytes' has no 'min' field.\n"},
        {"<row><value link=if@bytes:max>", "%application item 'if@bytes' has no 'max' field.\n"},
        {"<row><value global=none@%start-time>",
         "%application 'none@%start-time' not found in result file.\n"},
        {"<row><value global=%uptime>", "%unknown global variable '%uptime'.\n"},
        // conversions
        {"<row><value link=if@bytes, conv=dateTime>",
         "%'dateTime' conversion is only supported for UINT32 type.\n"},
        {"<row><value link=if@delta, conv=time>",
         "%'time' conversion is only supported for UINT32 type.\n"},
        {"<row><value link=if@mac, conv=bitmap(1?a:b)>",
         "%'bitmap' conversion is only supported for UINT32 type.\n"},
        {"<row><value link=if@text, conv=arrayFloat>",
         "%'arrayFloat' conversion is only supported for ARRAY8x4 types.\n"},
        {"<row><value link=if@frames, conv=mac-addr>",
         "%'mac-addr' conversion is only supported for UINT64 type.\n"},
        {"<row><value link=if@mac, conv=ipv4-addr>",
         "%'ipv4-addr' conversion is only supported for UINT32 type.\n"},
        {"<row><value link=if@text, conv=units(B=1)>",
         "%incompatible data type for 'units' conversion.\n"},
        {"<row><value link=if@frames, conv=units(B)>",
         "%bad arguments to 'units' conversion.\n"
         "Must be 'units(<unitName>=<factor>[:<printfFormat>],...)'\n"},
        {"<row><value link=if@frames, conv=units()>", "%no units defined in 'units' conversion.\n"},
    };
    TempDir dir;
    dir.write("s.res", smallResults);
    dir.write("big.tpl", "<row><value link=" + repeated("${a}", 9) + ">\n");
    dir.write("loop.tpl", "<include file=loop.tpl>\n");
    dir.makeDir("folder");
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        dir.write("t.tpl", "<report>\n" + c.text + "\n");
        std::string log;
        std::istringstream lines(c.log);
        for (std::string line; std::getline(lines, line);)
            log += (line[0] == '%' ? "Error in t.tpl:2: " + line.substr(1) : line) + '\n';

        const Outcome outcome = vornReport({"s.res", "t.tpl", "out.txt"}, dir.path());

        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, log);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(filesIn(dir),
                  "big.tpl folder loop.tpl s.res t.tpl");  // no report, and none half made
    }
}

TEST(VornReport, GoesOnAfterWhatSpoilsOneValueOnlyAndSaysSo) {
    struct Case {
        const char *text, *report, *log;
    };
    const Case cases[] = {
        {"<report><row cstyle='%s'><row><value>a<value></value></row>", "a\n",
         "Warning in template t.tpl:2: nested 'report' clause.\n"
         "Warning in template t.tpl:2: nested 'row' clause.\n"
         "Warning in template t.tpl:2: nested 'value' clause.\n"},
        {"<row cstyle='%s|'><value>${a}</value></row>", "|\n",
         "Error in t.tpl:2: Parameter 'a' not defined.\n"},
        {"<row cstyle='%s|'><value var=site></value></row>", "|\n",
         "Warning in t.tpl:2: user variable 'site' not defined.\n"},
        {"<row cstyle='%s'><value dict>key</value></row>", "key\n",
         "Warning: dictionary key 'key' not found.\n"},
        {"<row cstyle='%s%s%s%s%s%s%s%s%s%s%s%s%s%s%s%s'>"
         "<iterate var=i, from=1, to=17>\n<value>x</value>\n</iterate>\n</row>",
         "xxxxxxxxxxxxxxxx\n", "Error: too many values in row clause.\n"},
    };
    TempDir dir;
    dir.write("s.res", smallResults);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        dir.write("t.tpl", std::string("<report>\n") + c.text + "\n</report>\n");
        const Outcome outcome = vornReport({"-v", "s.res", "t.tpl", "out.txt"}, dir.path());
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, std::string(c.log) + "Template merged (ret: 0).\n");
        EXPECT_EQ(reportText(dir.read("out.txt")), c.report);
        std::filesystem::remove(dir.path("out.txt"));
    }
}

TEST(VornReport, NamesTheFaultInResultsAndDictionaryFiles) {
    struct Case {
        const char *results, *dictionary, *row, *log;
    };
    const char *const noFault = "[1]\n";
    const char *const anyRow = "<row><value global=%start-time>";
    const Case cases[] = {
        {"", noFault, anyRow,
         "Error loading results file 's.res': line 1: the first line is not 'okra 1' (-5)\n"},
        {"okra 1\napp if\nreg u8 a value=256\n", noFault, anyRow,
         "Error loading results file 's.res': line 3: '256' of attribute 'value' is out of range "
         "(-5)\n"},
        {"okra 1\napp if regs=1\nreg u8 a value=1\nreg u8 b value=1\n", noFault,
         "<row><value link=b>",
         "Error: too many registers in results file.\n"
         "Error: item 'b' not found in application 'if'.\n"
         "Error in t.tpl:2: application item not found.\n"},
        {"okra 1\n", noFault, anyRow, "Error in t.tpl:2: No global variables available.\n"},
        {"okra 1\n", noFault, "<row><value link=a>",
         "Error: No applications found in result file.\n"
         "Error in t.tpl:2: application item not found.\n"},
        {"okra 1\napp if\n", "[1]\nkey\n", anyRow,
         "Error in [./words_en.lxc:2]: there is no '='.\n"
         "Error in t.tpl:1: dictionary 'words' could not be opened.\n"},
    };
    TempDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        dir.write("s.res", c.results);
        dir.write("words_en.lxc", c.dictionary);
        dir.write("t.tpl", std::string("<report dict=words[1]>\n") + c.row + "\n");
        const Outcome outcome = vornReport({"s.res", "t.tpl", "out.txt"}, dir.path());
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, c.log);
        EXPECT_EQ(filesIn(dir), "s.res t.tpl words_en.lxc");
    }
}

TEST(VornReport, RefusesWhatIsNoRegularFileAtOnceAndKeepsEarlierReports) {
    TempDir dir;
    dir.write("s.res", smallResults);
    dir.write("t.tpl", "<report>\n</report>\n");
    dir.makeDir("folder");
    ASSERT_EQ(mkfifo(dir.path("pipe").c_str(), 0600), 0);
    struct Case {
        const char *results, *templateFile, *output, *log;
        const char *kept;  // where the earlier report is afterwards
    };
    const Case cases[] = {
        {"none.res", "t.tpl", "out.txt",
         "Error loading results file 'none.res': No such file or directory (-6)\n", "out_01.txt"},
        {"folder", "t.tpl", "out.txt", "Error loading results file 'folder': Is a directory (-6)\n",
         "out_01.txt"},
        {"pipe", "t.tpl", "out.txt",
         "Error loading results file 'pipe': Operation not supported (-6)\n", "out_01.txt"},
        {"s.res", "none.tpl", "out.txt",
         "Error opening template file 'none.tpl': No such file or directory\n", "out.txt"},
        {"s.res", "folder", "out.txt", "Error opening template file 'folder': Is a directory\n",
         "out.txt"},
        {"s.res", "pipe", "out.txt",
         "Error opening template file 'pipe': Operation not supported\n", "out.txt"},
        {"s.res", "t.tpl", "none/out.txt",
         "Error creating report file 'none/out.txt': No such file or directory\n", "out.txt"},
        {"s.res", "t.tpl", "folder.txt",
         "Error creating report file 'folder.txt': Is a directory\n", "out.txt"},
        {"s.res", "t.tpl", "out.txt", "", "out_01.txt"},  // made: moved aside for the new one
    };
    dir.makeDir("folder.txt");
    for (const Case &c : cases) {
        SCOPED_TRACE(c.log);
        dir.write("out.txt", "earlier");
        const Outcome outcome = vornReport({c.results, c.templateFile, c.output}, dir.path());
        EXPECT_EQ(outcome.status, c.log[0] == '\0' ? 0 : 1);
        EXPECT_EQ(outcome.err, c.log);
        EXPECT_EQ(dir.read(c.kept), "earlier");
        std::filesystem::remove(dir.path(c.kept));
    }
    EXPECT_EQ(filesIn(dir), "folder folder.txt out.txt pipe s.res t.tpl");
}

TEST(VornReport, KeepsPlacesIncludesAndDictionariesWholeInLongPaths) {
    TempDir dir;
    const std::string deep(70, 'd');
    dir.write("s.res", smallResults);
    dir.write(deep + "/words_en.lxc", "[1]\nkey = text\n");
    dir.write(deep + "/part.tpl", "<row cstyle='%s'><value dict>key</value></row>\n");
    dir.write(deep + "/t.tpl", "<report dict=words[1]>\n<include file=part.tpl>\n</report>\n");
    const std::string output = deep + "/" + std::string(60, 'o') + ".txt";

    Outcome outcome = vornReport({"s.res", deep + "/t.tpl", output}, dir.path());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(reportText(dir.read(output)), "text\n");

    // Messages name files as seen from the template's folder then, and only then.
    dir.write(deep + "/part.tpl", "\n<row style=a>\n");
    outcome = vornReport({dir.path("s.res"), dir.path(deep + "/t.tpl"), dir.path(output)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "Error in part.tpl:2: unknown argument 'style' in 'row' clause.\n");
    const std::string longInclude = "parts/" + std::string(15, 'i') + ".tpl";
    dir.write("a_folder_of_23_letters/" + longInclude, "<row style=a>\n");
    for (const std::string &include : {std::string("parts/i.tpl"), longInclude}) {
        dir.write("a_folder_of_23_letters/t.tpl",
                  "<report>\n<include optional, file='" + include + "'>\n<row style=a>\n");
        outcome = vornReport({"s.res", "a_folder_of_23_letters/t.tpl", "out.txt"}, dir.path());
        EXPECT_EQ(outcome.err, "Error in " +
                                   (include == longInclude ? longInclude + ":1"
                                                           : "a_folder_of_23_letters/t.tpl:3") +
                                   ": unknown argument 'style' in 'row' clause.\n");
    }

    // So does the folder of the dictionaries, however far it is.
    dir.write("t.tpl", "<report dict=words[1]>\n<row cstyle='%s'><value dict>key</value></row>\n");
    outcome = vornReport({"--dict-dir", deep, "s.res", "t.tpl", "out.txt"}, dir.path());
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(reportText(dir.read("out.txt")), "text\n");
}

TEST(VornReport, ListsWhatResultsFilesOfferInTextAndAsJson) {
    Outcome outcome = vornReport({"--items", examples + "tester.res"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    expectGolden(outcome.out, "tester_items.txt");

    // Names that hide behind others or that no argument can hold, a long array, a hostile terminal.
    TempDir dir;
    dir.write("s.res",
              "okra 1\napp ifx start=5\napp if\nreg u8 a value=1\nreg u8 a value=2\n"
              "reg u8 b,c value=3\nreg u8 \"d\x1B[2J\" value=4\nreg sel s value=7\n"
              "reg bits m value=0x5 labels=\"one\"\nreg a16 h data=1,2,3\n");
    outcome = vornReport({"--items", "--json", "s.res"}, dir.path());
    EXPECT_EQ(outcome.status, 0);
    expectGolden(outcome.out, "hidden_items.json");
    outcome = vornReport({"--items", "s.res"}, dir.path());
    EXPECT_EQ(outcome.out.find('\x1B'), std::string::npos);

    // Applications that no argument can name, and a rate that is no number.
    dir.write("s.res",
              "okra 1\napp =x\nreg counter a value=1 time=0 mult=1 div=1\n"
              "app a@b\nreg u8 a\napp ${c}\nreg u8 a\napp \" y\"\nreg u8 a\n");
    outcome = vornReport({"--items", "s.res"}, dir.path());
    for (const char *claim : {"link=", "global="})
        EXPECT_EQ(outcome.out.find(claim), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("%f    inf\n"), std::string::npos) << outcome.out;
    outcome = vornReport({"--items", "--json", "s.res"}, dir.path());
    EXPECT_NE(outcome.out.find("\"value\": \"inf\""), std::string::npos) << outcome.out;

    outcome = vornReport({"--items", "none.res"}, dir.path());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
}

TEST(VornReport, TellsWrongUsageByStatusTwoAndMakesNothing) {
    struct Case {
        std::vector<std::string> words;
        const char *message;
    };
    const Case cases[] = {
        {{}, "RESULTS is required"},
        {{"s.res", "t.tpl"}, "OUTPUT is required"},
        {{"s.res", "t.tpl", "out.doc"}, "'out.doc' ends in neither .txt nor .pdf; say --format"},
        {{"--format", "doc", "s.res", "t.tpl", "out.txt"}, "--format"},
        {{"--lang", "engl", "s.res", "t.tpl", "out.txt"}, "'engl' is longer than 3 characters"},
        {{"--dict", "averylongdictname", "s.res", "t.tpl", "out.txt"}, "longer than 15"},
        {{"--dict-dir", "none", "s.res", "t.tpl", "out.txt"}, "none"},
        {{"--var", "=a", "s.res", "t.tpl", "out.txt"}, "'=a' is not NAME=VALUE"},
        {{"--json", "s.res", "t.tpl", "out.txt"}, "--items"},
        {{"--items", "s.res", "t.tpl"}, "t.tpl"},
        {{"--fast", "s.res", "t.tpl", "out.txt"}, "--fast"},
    };
    TempDir dir;
    dir.write("s.res", smallResults);
    dir.write("t.tpl", "<report>\n</report>\n");
    for (const Case &c : cases) {
        const Outcome outcome = vornReport(c.words, dir.path());
        EXPECT_EQ(outcome.status, 2) << c.message;
        EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
        EXPECT_EQ(filesIn(dir), "s.res t.tpl") << c.message;
    }
    EXPECT_EQ(vornReport({"--version"}).out, "vorn-report 1.5.1\n");
    EXPECT_EQ(vornReport({"--help"}).status, 0);
}
