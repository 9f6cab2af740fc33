// SPDX-License-Identifier: MIT
// The plug-in interface as it is delivered: what the programs export, and the example built against
// an installation of it.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "server/requests.h"
#include "support/build_paths.h"
#include "support/program.h"
#include "support/service_run.h"
#include "support/temp_dir.h"

namespace {

// What a shell's commands print; they have to succeed. They find the variables SOURCE, BIN, BUILD,
// CMAKE, CC and CXX.
std::string shell(const std::string &commands, const std::string &workDir = "") {
    const Outcome outcome =
        runProgram({"env", "SOURCE=" + sourceDir(), "BIN=" + binDir(), "BUILD=" VORN_BUILD_DIR,
                    "CMAKE=" VORN_CMAKE, "CC=" VORN_CC, "CXX=" VORN_CXX, "bash", "-euc", commands},
                   workDir);
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    return outcome.out;
}

}  // namespace

TEST(PluginInterface, IsAllThatTheProgramsExport) {
    // Lines that begin with a type and hold NAME(.
    const std::string declared = shell(
        "sed -nE 's/^[a-su-zA-Z][^(]*[ *](\\w+)\\(.*/\\1/p' $SOURCE/include/vorn/plugin.h | sort");
    EXPECT_EQ(std::count(declared.begin(), declared.end(), '\n'), 46);
#ifdef VORN_SANITIZED  // these programs export what the sanitizers need, too
    const std::string others = " | grep -E '^(kv|mq|vorn)'";
#else
    const std::string others;
#endif
    for (const std::string program : {"vorn", "vorn-report"})
        EXPECT_EQ(shell("nm -D -P --defined-only $BIN/" + program +
                        " | cut -d ' ' -f 1 | grep -v @" + others + " | sort"),
                  declared);
}

TEST(PluginInterface, InstalledBuildsTheExampleAndTheManualsPlugin) {
    const TempDir dir;
    EXPECT_EQ(shell("$SOURCE/tests/e2e/installed.sh", dir.path()),
              "half of the errors: 8.5\nhalf of the errors: 8.5\n");
}

// The service's own binary, with what is linked into it statically: threads of a plug-in wait in
// it, and are cancelled in it. Exceptions come from a C++ library that is not the service's own.
TEST(PluginInterface, IsWholeInTheService) {
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
