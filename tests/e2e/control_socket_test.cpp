// SPDX-License-Identifier: MIT
// The control socket of a running service, whatever its clients and the system do.
#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/build_paths.h"
#include "support/service_run.h"

namespace {

const std::string WAITS = "2 KELP server is not ready. Retrying...\n";

class ControlSocket : public testing::Test {
protected:
    // A service that waits for its peers answers, too.
    void start(const std::vector<std::string> &arguments = {"-D", "1"}) {
        run.start(arguments);
        ASSERT_TRUE(waitUntil([this] { return ask("status\n") == WAITS; }));
    }
    [[nodiscard]] std::string ask(const std::string &lines) const {
        return ServiceRun::talk(run.connectControl(), lines);
    }
    // Runs another service on the same root.
    [[nodiscard]] Outcome another(const std::vector<std::string> &arguments = {}) const {
        std::vector<std::string> words = {"env", "VORN_ROOT=" + run.root.path(),
                                          binDir() + "/vorn"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return runProgram(words);
    }

    ServiceRun run;
    const std::string path = run.root.path("run/tarix/vorn.ctl");
};

TEST_F(ControlSocket, AnswersOneLineForOneLineAndIsForItsUserOnly) {
    start({"-D", "2", "-f", "-D", "4"});
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));

    const std::string unknown = ask("nonsense");
    EXPECT_TRUE(unknown.starts_with("error: the words are status, describe, ")) << unknown;
    const std::string noLevel = "error: debug takes a level, 0 or more\n";
    const std::pair<std::string, std::string> cases[] = {
        {" debug\t2 \r\nstatus\nnonsense\n", "ok\n" + WAITS + unknown},
        {"debug\ndebug x\ndebug 1 2\ndebug 99999999999\n", noLevel + noLevel + noLevel + noLevel},
        {"status now\n\nstopp\n", unknown + unknown + unknown},
        {std::string(256, 's'), unknown},
        {"", ""},
    };
    for (const auto &[request, replies] : cases) EXPECT_EQ(ask(request), replies) << request;
}

TEST_F(ControlSocket, AnswersBesideClientsThatAreSlowOrSilentOrDoNotListen) {
    start();
    const int slow = run.connectControl();
    EXPECT_EQ(send(slow, "sta", 3, 0), 3);
    EXPECT_EQ(ask("status\n"), WAITS);
    EXPECT_EQ(ServiceRun::talk(slow, "tus\n"), WAITS);

    const int deaf = run.connectControl();
    while (send(deaf, "describe\n", 9, MSG_NOSIGNAL) == 9) continue;  // until it is thrown out
    std::vector<int> silent = {deaf};
    for (int i = 0; i < 30; ++i) {
        silent.push_back(run.connectControl());
        EXPECT_EQ(send(silent.back(), "st", 2, MSG_NOSIGNAL), 2);
    }
    EXPECT_EQ(ask("status\n"), WAITS);
    EXPECT_EQ(ServiceRun::talk(silent.back(), "atus\n"), WAITS);  // the last ones stay
    silent.pop_back();
    for (const int client : silent) close(client);
}

TEST_F(ControlSocket, AnswersWithSoFewDescriptorsThatEachIsInUse) {
    start();
    rlim_t used = 0;  // some eight
    for (const auto &entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(run.pid()) + "/fd"))
        used = std::max<rlim_t>(used, std::stoul(entry.path().filename()) + 1);
    const rlimit few = {used, used};
    ASSERT_EQ(prlimit(run.pid(), RLIMIT_NOFILE, &few, nullptr), 0);
    std::vector<int> silent;
    for (int i = 0; i < 9; ++i) silent.push_back(run.connectControl());
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(ask("status\n"), WAITS);
    EXPECT_EQ(ask("stop\n"), "ok\n");
    EXPECT_EQ(run.wait(), 0);
    for (const int client : silent) close(client);
}

TEST_F(ControlSocket, ReplacesALeftOverAndRespectsOneThatAnswers) {
    start();
    kill(run.pid(), SIGKILL);
    run.wait();
    EXPECT_TRUE(run.root.exists("run/tarix/vorn.ctl"));
    start();
    for (const int harmless : {SIGHUP, SIGPIPE, SIGXFSZ}) kill(run.pid(), harmless);
    const Outcome second = another();
    EXPECT_EQ(second.status, 255);
    EXPECT_NE(second.err.find("Error: another process answers on control socket '" + path + "'.\n"),
              std::string::npos);
    // Help, and the message about a wrong command line, come beside a running service.
    EXPECT_EQ(another({"-D", "2", "--help"}).status, 1);
    for (const char *wrong : {"-x", "-c", "-D"}) EXPECT_EQ(another({wrong}).status, 255) << wrong;
    EXPECT_EQ(ask("status\n"), WAITS);
    EXPECT_EQ(run.stop(), 0);
    EXPECT_FALSE(run.root.exists("run/tarix/vorn.ctl"));

    run.root.write("run/tarix/vorn.ctl", "not ours");
    EXPECT_NE(another().err.find("cannot make control socket '" + path + "': File exists\n"),
              std::string::npos);
    EXPECT_EQ(run.root.read("run/tarix/vorn.ctl"), "not ours");
}

}  // namespace
