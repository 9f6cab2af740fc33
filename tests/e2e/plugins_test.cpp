// SPDX-License-Identifier: MIT
// The plug-in interface as it is delivered: what the programs export, and the example built against
// an installation of it.
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/build_paths.h"
#include "support/program.h"
#include "support/service_run.h"
#include "support/temp_dir.h"

namespace {

const std::string source = sourceDir() + "/";
const std::string example = source + "examples/plugin/";
constexpr char PREFIX[] = "/opt/vorn";

std::string readFile(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// The functions that the header declares: lines that begin with a type and hold NAME(.
std::set<std::string> declaredFunctions() {
    std::set<std::string> names;
    std::istringstream header(readFile(source + "include/vorn/plugin.h"));
    for (std::string line; std::getline(header, line);) {
        const std::size_t open = line.find('(');
        if (open == std::string::npos ||
            std::string_view(" /*#t").find(line[0]) != std::string::npos)
            continue;
        const std::size_t start = line.find_last_of(" *", open) + 1;
        names.insert(line.substr(start, open - start));
    }
    return names;
}

// The dynamic symbols that a program defines, without those that it took over from a library, whose
// names end in "@VERSION".
std::set<std::string> exportedSymbols(const std::string &program) {
    const Outcome nm = runProgram({"nm", "-D", "-P", "--defined-only", binDir() + "/" + program});
    EXPECT_EQ(nm.status, 0) << nm.err;
    std::set<std::string> names;
    std::istringstream lines(nm.out);
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(0, line.find(' '));
        if (name.find('@') == std::string::npos) names.insert(name);
    }
    return names;
}

std::string textBetween(const std::string &text, const std::string &before,
                        const std::string &after) {
    const std::size_t start = text.find(before) + before.size();
    return text.substr(start, text.find(after, start) - start);
}

// Runs a step that has to succeed.
void step(const std::vector<std::string> &words, const std::string &workDir = "") {
    const Outcome outcome = runProgram(words, workDir);
    ASSERT_EQ(outcome.status, 0) << words[0] << "\n" << outcome.out << outcome.err;
}

// An installation below a folder of the test's own, as a package is made, and the example in a
// copy.
class Installation {
public:
    void make() {
        step({"env", "DESTDIR=" + dir.path(), VORN_CMAKE, "--install", VORN_BUILD_DIR, "--prefix",
              PREFIX});
        std::filesystem::copy(example, dir.path("example"));
    }
    [[nodiscard]] std::string path(const std::string &name) const {
        return dir.path() + PREFIX + "/" + name;
    }
    Outcome report(const std::string &templateName, const std::string &output) const {
        return runProgram(
            {path("bin/vorn-report"), source + "examples/tester.res", templateName, output},
            dir.path("example"));
    }

    TempDir dir;
};

}  // namespace

TEST(PluginInterface, IsAllThatTheProgramsExport) {
    const std::set<std::string> declared = declaredFunctions();
    EXPECT_EQ(declared.size(), 46u);
    for (const char *program : {"vorn", "vorn-report"}) {
        std::set<std::string> exported = exportedSymbols(program);
#ifdef VORN_SANITIZED
        // These programs export what the sanitizers need, too.
        std::erase_if(exported, [&](const std::string &name) { return !declared.contains(name); });
#endif
        EXPECT_EQ(exported, declared) << program;
    }
}

TEST(PluginInterface, InstalledBuildsTheExampleWithCMakeAndRunsIt) {
    Installation installed;
    installed.make();
    for (const char *file :
         {"include/vorn/plugin.h", "share/doc/vorn/docs/plugins.md",
          "share/doc/vorn/examples/tester.res", "share/bash-completion/completions/vornctl"})
        EXPECT_TRUE(std::filesystem::exists(installed.path(file))) << file;
    EXPECT_EQ(readFile(installed.path("include/vorn/plugin.h")),
              readFile(source + "include/vorn/plugin.h"));

    const std::string work = installed.dir.path("example");
    step({VORN_CMAKE, "-G", "Ninja", "-B", "build", "-DCMAKE_PREFIX_PATH=" + installed.path("")},
         work);
    step({VORN_CMAKE, "--build", "build"}, work);
    std::filesystem::rename(work + "/build/libstats.so", work + "/libstats.so");
    const Outcome outcome = installed.report("stats.tpl", "stats.txt");
    EXPECT_EQ(outcome.err, "");
    ASSERT_EQ(outcome.status, 0);

    std::string text = readFile(work + "/stats.txt").substr(3);
    std::erase(text, '\r');
    EXPECT_EQ(text, readFile(source + "tests/e2e/golden/plugin_stats.txt"));
}

TEST(PluginInterface, InstalledCompilesByPkgConfigAsPlainCAndCpp) {
    Installation installed;
    installed.make();
    const Outcome flags = runProgram({"env", "PKG_CONFIG_PATH=" + installed.path("share/pkgconfig"),
                                      "pkg-config", "--cflags", "vorn-plugin >= 1"});
    ASSERT_EQ(flags.status, 0) << flags.err;
    std::vector<std::string> options;
    std::istringstream words(flags.out);
    for (std::string word; words >> word;) options.push_back(word);

    const std::string work = installed.dir.path("example");
    const auto compile = [&](std::vector<std::string> command) {
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(),
                       {"-Wall", "-Wextra", "-Werror", "-pedantic", "-shared", "-fPIC"});
        step(command, work);
    };
    // The first plug-in of the manual, as it stands there.
    const std::string manual = readFile(source + "docs/plugins.md");
    installed.dir.write("example/hello.c", textBetween(manual, "```c\n", "```"));
    std::filesystem::copy(work + "/hello.c", work + "/hello.cpp");
    installed.dir.write("example/hello.tpl",
                        "<report>" + textBetween(manual, "    <report>", "    </report>"));
    const std::vector<std::string> commands[] = {{VORN_CC, "-std=c99", "hello.c"},
                                                 {VORN_CXX, "-std=c++11", "hello.cpp"}};
    for (std::vector<std::string> command : commands) {
        command.insert(command.end(), {"-o", "libhello.so"});
        compile(command);
        EXPECT_EQ(installed.report("hello.tpl", "hello.txt").err, "");
        EXPECT_EQ(readFile(work + "/hello.txt").substr(3), "half of the errors: 8.5\r\n");
        std::filesystem::remove(work + "/hello.txt");
    }
    // No feature macro at all, and the oldest C++.
    installed.dir.write("example/bare.c", "#include <vorn/plugin.h>\nint used = KV_OK;\n");
    compile({VORN_CC, "-std=c99", "bare.c", "-o", "bare.so"});
    std::filesystem::copy(work + "/bare.c", work + "/bare.cpp");
    compile({VORN_CXX, "-std=c++98", "bare.cpp", "-o", "bare.so", "-Wno-long-long"});
}

// The service's own binary, with what is linked into it statically: threads of a plug-in wait in
// it, and are cancelled in it. Exceptions come from a C++ library that is not the service's own.
TEST(PluginInterface, IsWholeInTheService) {
    constexpr std::uint16_t REQ_MAKE_REPORT = 262;
    ServiceRun run;
    std::filesystem::create_symlink(VORN_TEST_PLUGIN_DIR "/containers.so",
                                    run.root.path("containers.so"));
    run.sim({"up"});
    run.root.write("tarix/data/results/a.res", "okra 1\napp tx\n");
    std::string rows;
    for (const std::string name : {"waits", "threads"})
        rows += "<row cstyle='%s'><value plugin=c.check(of:" + name + ")></value></row>\n";
    run.root.write("tarix/data/templates/c.tpl",
                   "<report><plugin name=c, init=start, lib=" + run.root.path("containers.so") +
                       ">\n" + rows + "</report>\n");
    std::filesystem::create_symlink(VORN_TEST_PLUGIN_DIR "/throwing.so",
                                    run.root.path("throwing.so"));
    run.root.write("tarix/data/templates/t.tpl", "<report><plugin name=t, init=startOrThrow, lib=" +
                                                     run.root.path("throwing.so") +
                                                     "><row><value plugin=t.throwNumber()>");
    run.startServing();
    EXPECT_NE(run.request(REQ_MAKE_REPORT, 0, 0, {"", "a.res", "t.tpl", "t.txt"}).param1, 0);
    EXPECT_NE(run.log().find("plugin function 'throwNumber' threw an exception.\n"),
              std::string::npos);
    ASSERT_EQ(run.request(REQ_MAKE_REPORT, 0, 0, {"", "a.res", "c.tpl", "c.txt"}).param1, 0)
        << run.log();
    EXPECT_EQ(run.root.read("tarix/data/reports/c.txt").substr(3), "ok\r\nok\r\n");
    EXPECT_EQ(run.stop(), 0);
}
