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

#include "support/build_paths.h"
#include "support/program.h"
#include "support/temp_dir.h"

namespace {

const std::string examples = sourceDir() + "/examples/";
const std::string goldenDir = sourceDir() + "/tests/e2e/golden/";
const char smallResults[] = "okra 1\napp if\nreg u32 frames value=1536\n";

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
        return run({"-q", "--dict-dir", examples + "dicts", "--dict", "tester", "--var",
                    "site=Lab 2", "--var", "operator=Ada", "--lang", language,
                    examples + "tester.res", examples + "tester.tpl", output});
    }
    // A text report without its byte-order mark and the carriage returns.
    [[nodiscard]] std::string reportText(const std::string &name) const {
        std::string text = dir_.read(name);
        EXPECT_TRUE(text.starts_with("\xEF\xBB\xBF"));
        std::erase(text, '\r');
        return text.substr(std::min<std::size_t>(3, text.size()));
    }
    // The names in the test's directory, in order.
    [[nodiscard]] std::string files() const { return dir_.files(""); }

    TempDir dir_;
};

}  // namespace

TEST_F(VornReport, MakesTheExampleAsTextInBothLanguagesAndAsAPdfOfTheSameLines) {
    for (const std::string language : {"de", "en"}) {
        const Outcome outcome = makeExample(language, language == "de" ? "de.txt" : "out.txt");
        EXPECT_EQ(std::to_string(outcome.status) + outcome.err, "0");
    }
    expectGolden(dir_.read("out.txt"), "tester_en.txt");
    EXPECT_NE(reportText("de.txt").find("\nErgebnis                 bestanden\n"),
              std::string::npos);
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

TEST_F(VornReport, RefusesWhatItCannotReadOrMakeAtOnceAndKeepsEarlierReports) {
    dir_.makeDir("folder.txt");
    dir_.write("bad.tpl", "<report>\n<row></row>\n<css a>");
    dir_.write("large.tpl", "<report>\n<section top=200000000>\n");
    dir_.write("bad.res", "okra 1\napp if\nreg u8 a value=256\n");
    const std::string before = files();
    const char loading[] = "out_01.txt";  // where the earlier report is, when it was moved aside
    const struct {
        const char *results, *templateFile, *output, *log, *kept;
    } cases[] = {
        {"folder.txt", "t.tpl", "out.txt", "loading results file 'folder.txt': Is a directory (-6)",
         loading},
        {"bad.res", "t.tpl", "out.txt",
         "loading results file 'bad.res': line 3: '256' of attribute 'value' is out of range (-5)",
         loading},
        {"s.res", "bad.tpl", "out.txt", "in bad.tpl:3: unknown argument 'a' in 'css' clause.",
         loading},
        {"s.res", "large.tpl", "out.txt",
         "writing text report: more than 256 MiB.\nError in template large.tpl:2: Could not format "
         "output.",
         loading},
        {"s.res", "none.tpl", "out.txt",
         "opening template file 'none.tpl': No such file or directory", "out.txt"},
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
          {"out.pdf", "PDF report: File too large.\n"}}) {
        const std::string limited = "ulimit -f 2; exec " + binDir() + "/vorn-report s.res t.tpl ";
        const Outcome outcome = runProgram({"sh", "-c", limited + output}, dir_.path());
        EXPECT_EQ(std::to_string(outcome.status) + outcome.err, std::string("1") + log);
        EXPECT_EQ(files(), "s.res t.tpl");
    }
}

TEST_F(VornReport, TakesPlacesIncludesAndDictionariesWholeHoweverLongPathsAre) {
    const std::string deep(70, 'd');
    dir_.write(deep + "/words_en.lxc", "[1]\nkey = text\n");
    dir_.write(deep + "/part.tpl", "<row cstyle='%s'><value dict>key</value></row>\n");
    dir_.write(deep + "/t.tpl", "<report dict=words[1]>\n<include file=part.tpl>\n</report>\n");
    const std::string output = deep + "/" + std::string(60, 'o') + ".txt";
    EXPECT_EQ(run({"-q", "s.res", deep + "/t.tpl", output}).err, "");
    EXPECT_EQ(reportText(output), "text\n");

    dir_.write(deep + "/part.tpl", "\n<row size=a>\n");
    const std::string fault = ": unknown argument 'size' in 'row' clause.\n";
    for (const std::string &folder : {deep, dir_.path(deep)})
        EXPECT_EQ(run({"s.res", folder + "/t.tpl", output}).err,
                  "Error in " + folder + "/part.tpl:2" + fault);
    // A relative library is the same file as ever.
    dir_.write("x.so", "");
    dir_.write(deep + "/part.tpl", "<plugin name=x, lib=./x.so>\n");
    EXPECT_NE(run({"s.res", deep + "/t.tpl", output}).err.find("./x.so: file too short"),
              std::string::npos);
    dir_.write(deep + "/t.tpl", "<report>\n<section>\n<include file=no.tpl>\n</report>\n");
    EXPECT_EQ(run({"s.res", deep + "/t.tpl", output}).err,
              "Error in " + deep + "/t.tpl:3: file '" + deep + "/no.tpl' not found.\n");
    dir_.write(deep + "/t.tpl", "<report>\n<section>\n</report>\n");
    EXPECT_NE(
        run({"-v", "s.res", deep + "/t.tpl", output}).err.find("section (" + deep + "/t.tpl:2)"),
        std::string::npos);

    // The folder of the dictionaries may be far, too.
    dir_.write("t.tpl", "<report dict=words[1]>\n<row cstyle='%s'><value dict>key</value></row>\n");
    EXPECT_EQ(run({"-q", "--dict-dir", deep, "s.res", "t.tpl", "out.txt"}).err, "");
    EXPECT_EQ(reportText("out.txt"), "text\n");
}

TEST_F(VornReport, ListsWhatResultsFilesOfferInTextAndAsJson) {
    // Names that hide behind others or that no argument can hold, a long array, a hostile terminal.
    dir_.write("s.res",
               "okra 1\napp ifx start=5\napp if\nreg u8 a value=1\nreg u8 a value=2\n"
               "reg u8 b,c value=3\nreg u8 \"d\x1B[2J\" value=4\nreg sel s value=7\n"
               "reg bits m value=0x5 labels=\"one\"\nreg a16 h data=1,2,3\n"
               "reg u64 l value=5 min=1 max=9\nreg i32 i value=-3\nreg f32 f value=11.9\n"
               "reg counter c value=600 time=10 mult=1 div=1 secs=60\n");
    expectGolden(run({"--items", "s.res"}).out, "hidden_items.txt");

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
        EXPECT_EQ(files(), "s.res t.tpl") << c.message;
    }
    EXPECT_EQ(run({"--version"}).out.substr(0, 12), "vorn-report ");
}
