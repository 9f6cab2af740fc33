// SPDX-License-Identifier: MIT
// vorn-report as a template author meets it: the real program, real files.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/build_paths.h"
#include "support/program.h"
#include "support/temp_dir.h"

namespace {

const std::string examples = sourceDir() + "/examples/";
const std::string goldenDir = sourceDir() + "/tests/e2e/golden/";
const char smallResults[] =
    "okra 1\napp if start=1700000000 stop=1700003600\n"
    "reg u32 frames value=1536 min=0 max=2000\n"
    "reg counter bytes value=600 time=10 mult=1 div=1 secs=60\n"
    "reg a32 hist data=1,2,3\nreg a8 text data=104,105\n"
    "reg u64 mac value=1\nreg u32 off value=0 invalid\nreg i32 delta value=-3\n";

std::string contentOf(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// Compares with a file of tests/e2e/golden; with VORN_UPDATE_GOLDEN set it writes the file instead.
void expectGolden(const std::string &actual, const std::string &name) {
    if (std::getenv("VORN_UPDATE_GOLDEN") != nullptr)
        std::ofstream(goldenDir + name, std::ios::binary) << actual;
    EXPECT_EQ(actual, contentOf(goldenDir + name)) << name;
}

// The words of a text line, with one blank between them.
std::string wordsOf(const std::string &line) {
    std::istringstream input(line);
    std::string words;
    for (std::string word; input >> word;) words += (words.empty() ? "" : " ") + word;
    return words;
}

std::string repeated(const std::string &text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

class VornReport : public testing::Test {
protected:
    VornReport() {
        dir_.write("s.res", smallResults);
        dir_.write("t.tpl", "<report>\n</report>\n");
    }
    // Runs the program in the test's directory.
    Outcome run(std::vector<std::string> words = {"s.res", "t.tpl", "out.txt"}) const {
        words.insert(words.begin(), binDir() + "/vorn-report");
        return runProgram(words, dir_.path());
    }
    Outcome makeExample(const std::string &language, const char *output) const {
        return run({"--dict-dir", examples + "dicts", "--dict", "tester", "--var", "site=Lab 2",
                    "--var", "operator=Ada", "--lang", language, examples + "tester.res",
                    examples + "tester.tpl", output});
    }
    // A text report without its byte-order mark and the carriage returns.
    [[nodiscard]] std::string reportText(const std::string &name) const {
        std::string text = dir_.read(name);
        EXPECT_TRUE(text.starts_with("\xEF\xBB\xBF"));
        std::erase(text, '\r');
        return text.substr(std::min<std::size_t>(3, text.size()));
    }
    // The names in the test's directory, in order.
    [[nodiscard]] std::string files() const {
        return runProgram({"ls", "-A", "-x", "-w0", dir_.path()}).out;
    }

    TempDir dir_;
};

}  // namespace

TEST_F(VornReport, MakesTheExampleAsTextInBothLanguagesAndAsAPdfOfTheSameLines) {
    for (const std::string language : {"en", "de"}) {
        const Outcome outcome = makeExample(language, "out.txt");
        EXPECT_EQ(std::to_string(outcome.status) + outcome.err, "0");
        expectGolden(dir_.read("out.txt"), "tester_" + language + ".txt");
    }
    ASSERT_EQ(makeExample("de", "out.pdf").status, 0);  // PDF reports are in English
    EXPECT_EQ(runProgram({"qpdf", "--check", dir_.path("out.pdf")}).status, 0);
    const std::string shown = runProgram({"pdftotext", "-layout", dir_.path("out.pdf"), "-"}).out;
    EXPECT_GE(std::count(shown.begin(), shown.end(), '\f'), 2);  // pages
    const std::string words = wordsOf(shown);
    std::size_t position = 0;
    makeExample("en", "out.txt");
    std::istringstream lines(reportText("out.txt"));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t found = words.find(wordsOf(line), position);
        ASSERT_NE(found, std::string::npos) << line;
        position = found + wordsOf(line).size();
    }
}

TEST_F(VornReport, NamesFileAndLineOfEveryFaultAndLeavesNoReport) {
    struct Case {
        // The template from line 2 on, "~" for "<row><value "; the log, "%" for "Error in t.tpl:2:
        // ".
        std::string text, log;
        std::string results = smallResults;
    };
    const std::string item = "Error: item 'none' not found in application 'if'.\n";
    const std::string loading = "Error loading results file 's.res': line ";
    const Case cases[] = {
        // reading and including
        {"<include file=>", "%missing section 'file' in template."},
        {"<include name=a>", "%unknown argument 'name' in 'include' clause."},
        {"<include file=none.tpl>", "%file 'none.tpl' not found."},
        {"<include file=folder>", "%file 'folder' not found."},
        {"<include file=loop.tpl>", "Error in loop.tpl:1: too many nested files."},
        {"<section dict=${a[1]>",
         "%Missing '}' in expression.\nError opening dictionary './${a_en.lxc': No such file or "
         "directory\n%dictionary '${a' could not be opened."},
        {"<include file=big.tpl(a:" + std::string(63, 'a') + ")>",
         "Error in big.tpl:1: Expanded string is too long.\nError in big.tpl:1: Expanded string is "
         "too long."},
        // report and dictionaries
        {"<section dict=>", "%missing dictionary specification in 'dict' argument."},
        {"<section dict=words>", "%missing dictionary group ID in 'dict' argument."},
        {"<section dict=words[1>", "%missing ']' in 'dict' argument."},
        // sections
        {"<section id=>", "%missing section 'id' in template."},
        {"<section enabled-by=>", "%missing application item in 'enabled-by' argument."},
        {"<section enabled=>", "%missing boolean in 'enabled' argument."},
        {"<section top=>", "%missing line count in 'top' argument."},
        {"<section bottom=>", "%missing line count in 'bottom' argument."},
        {"<section name=a>", "%unknown argument 'name' in 'section' clause."},
        {"<section enabled-by=if@none>", item + "%application item 'if@none' not found."},
        {"<section enabled-by=p.f()>", "%plugin 'p' not declared.\n%plugin returned error."},
        {repeated("<section>", 9), "%too many nested 'section' clauses."},
        // styles and rows
        {"<css style=>", "%missing 'style' value in template."},
        {"<css color=red>", "%unknown argument 'color' in 'css' clause."},
        {"<css style=color:red>", "%unknown style argument 'color' in css clause."},
        {"<row style='%s'>", "%unknown argument 'style' in 'row' clause."},
        {"<row cstyle='%s %s'><value>one</value></row>",
         "Error: number of values in row doesn't match 'cstyle' arguments.\nError in template "
         "t.tpl:2: Could not format output."},
        // iterations
        {"<iterate var=>", "%missing iteration 'var' in template."},
        {"<iterate from=>", "%missing iteration 'from' in template."},
        {"<iterate to=>", "%missing iteration 'to' in template."},
        {"<iterate step=2>", "%unknown argument 'step' in 'iterate' clause."},
        {"<iterate to=if@none>", item + "%application item not found."},
        {"</iterate>", "%not in an 'iteration' clause."},
        {repeated("<iterate>", 9), "%too many nested 'iterate' clauses."},
        // value clauses
        {"~link=>", "%missing 'link' value in template."},
        {"~global=>", "%missing 'global' value in template."},
        {"~var=>", "%missing 'var' value in template."},
        {"~plugin=>", "%missing 'plugin' value in template."},
        {"~conv=>", "%missing 'type' value in template."},
        {"~item=if@frames>", "%unknown argument 'item' in 'value' clause."},
        {"~link=if@frames, conv=hex>", "%unknown conversion type 'hex' in template."},
        {"~plugin=p.f()>", "%plugin 'p' not declared.\n%plugin returned error."},
        {"<row>" + repeated("<value link=if@off></value>", 17), "%too many values in row clause."},
        {"<row>" + repeated("<value var=report-name></value>", 17),
         "Error: too many values in row clause."},
        // items
        {"~link=none@frames>",
         "Error: application 'none' not found in result file.\n%application item not found."},
        {"~link=if@none>", item + "%application item not found."},
        {"~link=if@frames:avg>",
         "Error: unknown field 'avg' in 'link' argument.\n%application item not found."},
        {"~link=if@hist[3]>", "%array element out of range (3)."},
        {"~link=if@frames:secs>", "%application item 'if@frames' has no 'secs' field."},
        {"~link=if@frames:rate>", "%application item 'if@frames' has no 'rate' field."},
        {"~link=if@bytes:min>", "%application item 'if@bytes' has no 'min' field."},
        {"~link=if@bytes:max>", "%application item 'if@bytes' has no 'max' field."},
        {"~global=none@%start-time>", "%application 'none@%start-time' not found in result file."},
        {"~global=%uptime>", "%unknown global variable '%uptime'."},
        // conversions
        {"~link=if@bytes, conv=dateTime>",
         "%'dateTime' conversion is only supported for UINT32 type."},
        {"~link=if@delta, conv=time>", "%'time' conversion is only supported for UINT32 type."},
        {"~link=if@mac, conv=bitmap(1?a:b)>",
         "%'bitmap' conversion is only supported for UINT32 type."},
        {"~link=if@text, conv=arrayFloat>",
         "%'arrayFloat' conversion is only supported for ARRAY8x4 types."},
        {"~link=if@frames, conv=mac-addr>",
         "%'mac-addr' conversion is only supported for UINT64 type."},
        {"~link=if@mac, conv=ipv4-addr>",
         "%'ipv4-addr' conversion is only supported for UINT32 type."},
        {"~link=if@text, conv=units(B=1)>", "%incompatible data type for 'units' conversion."},
        {"~link=if@frames, conv=units(B)>",
         "%bad arguments to 'units' conversion.\nMust be "
         "'units(<unitName>=<factor>[:<printfFormat>],...)'"},
        {"~link=if@frames, conv=units()>", "%no units defined in 'units' conversion."},
        // files of results and dictionaries
        {"", loading + "1: the first line is not 'okra 1' (-5)", ""},
        {"", loading + "3: '256' of attribute 'value' is out of range (-5)",
         "okra 1\napp if\nreg u8 a value=256\n"},
        {"~link=b>",
         "Error: too many registers in results file.\n"
         "Error: item 'b' not found in application 'if'.\n%application item not found.",
         "okra 1\napp if regs=1\nreg u8 a value=1\nreg u8 b value=1\n"},
        {"~global=%start-time>", "%No global variables available.", "okra 1\n"},
        {"~link=a>", "Error: No applications found in result file.\n%application item not found.",
         "okra 1\n"},
        {"<section dict=words[1]>",
         "Error in [./words_en.lxc:2]: there is no '='.\n%dictionary 'words' could not be opened."},
    };
    dir_.write("big.tpl", "<row><value link=" + repeated("${a}", 9) + ">\n");
    dir_.write("loop.tpl", "<include file=loop.tpl>\n");
    dir_.write("words_en.lxc", "[1]\nkey\n");
    dir_.makeDir("folder");
    const std::string before = files();
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        const bool row = c.text.starts_with('~');
        dir_.write("t.tpl",
                   "<report>\n" + (row ? "<row><value " + c.text.substr(1) : c.text) + "\n");
        dir_.write("s.res", c.results);
        std::string log;
        std::istringstream lines(c.log);
        for (std::string line; std::getline(lines, line);)
            log += (line[0] == '%' ? "Error in t.tpl:2: " + line.substr(1) : line) + '\n';
        const Outcome outcome = run();
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, log);
        EXPECT_EQ(files(), before);  // no report, and none half made
    }
}

TEST_F(VornReport, GoesOnAfterWhatSpoilsOneValueOnlyAndSaysSo) {
    const struct {
        std::string text, report, log;
    } cases[] = {
        {"<report><row cstyle='%s'><row><value>a<value></value></row>", "a",
         "Warning in template t.tpl:2: nested 'report' clause.\n"
         "Warning in template t.tpl:2: nested 'row' clause.\n"
         "Warning in template t.tpl:2: nested 'value' clause."},
        {"<row cstyle='%s|'><value>${a}</value></row>", "|",
         "Error in t.tpl:2: Parameter 'a' not defined."},
        {"<row cstyle='%s|'><value var=site></value></row>", "|",
         "Warning in t.tpl:2: user variable 'site' not defined."},
        {"<row cstyle='%s'><value dict>key</value></row>", "key",
         "Warning: dictionary key 'key' not found."},
        {"<row cstyle='" + repeated("%s", 16) +
             "'><iterate var=i, from=1, to=17>\n"
             "<value>x</value>\n</iterate>\n</row>",
         std::string(16, 'x'), "Error: too many values in row clause."},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        dir_.write("t.tpl", "<report>\n" + c.text + "\n</report>\n");
        const Outcome outcome = run({"-v", "s.res", "t.tpl", "out.txt"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, c.log + "\nTemplate merged (ret: 0).\n");
        EXPECT_EQ(reportText("out.txt"), c.report + "\n");
        std::filesystem::remove(dir_.path("out.txt"));
    }
}

TEST_F(VornReport, RefusesWhatIsNoRegularFileAtOnceAndKeepsEarlierReports) {
    dir_.makeDir("folder");
    dir_.makeDir("folder.txt");
    ASSERT_EQ(mkfifo(dir_.path("pipe").c_str(), 0600), 0);
    const std::string before = files();
    const char loading[] = "out_01.txt";  // where the earlier report is, when it was moved aside
    const struct {
        const char *results, *templateFile, *output, *log, *kept;
    } cases[] = {
        {"folder", "t.tpl", "out.txt", "loading results file 'folder': Is a directory (-6)",
         loading},
        {"pipe", "t.tpl", "out.txt", "loading results file 'pipe': Operation not supported (-6)",
         loading},
        {"s.res", "none.tpl", "out.txt",
         "opening template file 'none.tpl': No such file or directory", "out.txt"},
        {"s.res", "pipe", "out.txt", "opening template file 'pipe': Operation not supported",
         "out.txt"},
        {"s.res", "t.tpl", "none/out.txt",
         "creating report file 'none/out.txt': No such file or directory", "out.txt"},
        {"s.res", "t.tpl", "folder.txt", "creating report file 'folder.txt': Is a directory",
         "out.txt"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.log);
        dir_.write("out.txt", "earlier");
        const Outcome outcome = run({c.results, c.templateFile, c.output});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err, std::string("Error ") + c.log + "\n");
        EXPECT_EQ(dir_.read(c.kept), "earlier");
        std::filesystem::remove(dir_.path(c.kept));
        EXPECT_EQ(files(), before);
    }
}

TEST_F(VornReport, SaysThatAFileMustNotGrowAndLeavesNothingOfIt) {
    const std::string row = "<row cstyle='%80d'><value link=if@frames></value></row>\n";
    dir_.write("t.tpl", "<report>\n" + repeated(row, 40) + "</report>\n");
    for (const auto &[output, log] :
         {std::pair{"out.txt", "Error writing report file 'out.txt': File too large\n"},
          {"out.pdf", "Error closing PDF output (err=-2).\n"}}) {
        const std::string limited = "ulimit -f 2; exec " + binDir() + "/vorn-report s.res t.tpl ";
        const Outcome outcome = runProgram({"sh", "-c", limited + output}, dir_.path());
        EXPECT_EQ(std::to_string(outcome.status) + outcome.err, std::string("1") + log);
        EXPECT_EQ(runProgram({"ls", "-A", dir_.path()}).out, "s.res\nt.tpl\n");
    }
}

TEST_F(VornReport, KeepsPlacesIncludesAndDictionariesWholeInLongPaths) {
    const std::string deep(70, 'd');
    dir_.write(deep + "/words_en.lxc", "[1]\nkey = text\n");
    dir_.write(deep + "/part.tpl", "<row cstyle='%s'><value dict>key</value></row>\n");
    dir_.write(deep + "/t.tpl", "<report dict=words[1]>\n<include file=part.tpl>\n</report>\n");
    const std::string output = deep + "/" + std::string(60, 'o') + ".txt";
    EXPECT_EQ(run({"s.res", deep + "/t.tpl", output}).err, "");
    EXPECT_EQ(reportText(output), "text\n");

    // Messages name files as seen from the template's folder then, and only then.
    dir_.write(deep + "/part.tpl", "\n<row style=a>\n");
    const std::string fault = ": unknown argument 'style' in 'row' clause.\n";
    EXPECT_EQ(run({dir_.path("s.res"), dir_.path(deep + "/t.tpl"), dir_.path(output)}).err,
              "Error in part.tpl:2" + fault);
    const std::string folder = "a_folder_of_23_letters/";
    const std::string longInclude = "parts/" + std::string(15, 'i') + ".tpl";
    dir_.write(folder + longInclude, "<row style=a>\n");
    for (const std::string &include : {std::string("parts/i.tpl"), longInclude}) {
        dir_.write(folder + "t.tpl",
                   "<report>\n<include optional, file='" + include + "'>\n<row style=a>\n");
        std::string expected = "Error in ";
        expected += include == longInclude ? include + ":1" : folder + "t.tpl:3";
        EXPECT_EQ(run({"s.res", folder + "t.tpl", "out.txt"}).err, expected.append(fault));
    }

    // So does the folder of the dictionaries, however far it is.
    dir_.write("t.tpl", "<report dict=words[1]>\n<row cstyle='%s'><value dict>key</value></row>\n");
    EXPECT_EQ(run({"--dict-dir", deep, "s.res", "t.tpl", "out.txt"}).err, "");
    EXPECT_EQ(reportText("out.txt"), "text\n");
}

TEST_F(VornReport, ListsWhatResultsFilesOfferInTextAndAsJson) {
    expectGolden(run({"--items", examples + "tester.res"}).out, "tester_items.txt");

    // Names that hide behind others or that no argument can hold, a long array, a hostile terminal.
    dir_.write("s.res",
               "okra 1\napp ifx start=5\napp if\nreg u8 a value=1\nreg u8 a value=2\n"
               "reg u8 b,c value=3\nreg u8 \"d\x1B[2J\" value=4\nreg sel s value=7\n"
               "reg bits m value=0x5 labels=\"one\"\nreg a16 h data=1,2,3\n");
    expectGolden(run({"--items", "--json", "s.res"}).out, "hidden_items.json");
    EXPECT_EQ(run({"--items", "s.res"}).out.find('\x1B'), std::string::npos);

    // Applications that no argument can name, and a rate that is no number.
    dir_.write("s.res",
               "okra 1\napp =x\nreg counter a value=1 time=0 mult=1 div=1\n"
               "app a@b\nreg u8 a\napp ${c}\nreg u8 a\napp \" y\"\nreg u8 a\n");
    const std::string list = run({"--items", "s.res"}).out;
    for (const char *claim : {"link=", "global="})
        EXPECT_EQ(list.find(claim), std::string::npos) << list;
    EXPECT_NE(list.find("%f    inf\n"), std::string::npos) << list;
    const std::string json = run({"--items", "--json", "s.res"}).out;
    EXPECT_NE(json.find("\"value\": \"inf\""), std::string::npos) << json;

    const Outcome outcome = run({"--items", "none.res"});
    EXPECT_EQ(std::to_string(outcome.status) + outcome.out, "1");
}

TEST_F(VornReport, TellsWrongUsageByStatusTwoAndMakesNothing) {
    const struct {
        std::vector<std::string> words;
        const char *message;
    } cases[] = {
        {{"s.res", "t.tpl"}, "OUTPUT is required"},
        {{"s.res", "t.tpl", "out.doc"}, "'out.doc' ends in neither .txt nor .pdf; say --format"},
        {{"--lang", "engl", "s.res", "t.tpl", "out.txt"}, "'engl' is longer than 3 characters"},
        {{"--dict", "averylongdictname", "s.res", "t.tpl", "out.txt"}, "longer than 15"},
        {{"--dict-dir", "none", "s.res", "t.tpl", "out.txt"}, "none"},
        {{"--var", "=a", "s.res", "t.tpl", "out.txt"}, "'=a' is not NAME=VALUE"},
        {{"--json", "s.res", "t.tpl", "out.txt"}, "--items"},
        {{"--items", "s.res", "t.tpl"}, "t.tpl"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = run(c.words);
        EXPECT_EQ(outcome.status, 2) << c.message;
        EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), "s.res  t.tpl\n") << c.message;
    }
    EXPECT_EQ(run({"--version"}).out, "vorn-report 1.5.1\n");
}
