// SPDX-License-Identifier: MIT
// The daemon framework at work: each daemon is a process of its own.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "dmon/dmon.h"
#include "support/temp_dir.h"

namespace {

int order[2];  // what the body is to do: the parent writes, the body reads
int news[2];   // what the framework did: the other way round
bool prints;   // the next daemon's body only prints and ends

void tell(const std::string &text) {
    if (write(news[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(99);
}

int setLevel(int level) {
    tell("level " + std::to_string(level) + " after " + std::to_string(dmon_level()) + "\n");
    return level == 9 ? -1 : 0;
}
int statusCode(int) {
    return 2;
}
int statusText(int, char *buffer, int size) {
    std::snprintf(buffer, static_cast<std::size_t>(size), "Level %d.\nBusy", dmon_level());
    return 0;
}
int description(int, char *buffer, int size) {
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", std::string(600, 'd').c_str());
    return 0;
}

// Reports that it runs, then does as it is told: 'x' takes every descriptor, others are its result.
int body(int, char **) {
    std::thread([] { pause(); }).detach();
    tell("running\n");
    while (!prints) {
        signed char result = 0;
        if (read(order[0], &result, 1) != 1) return 77;
        if (result != 'x') return result;
        const rlimit few = {40, 40};
        setrlimit(RLIMIT_NOFILE, &few);
        while (dup(order[0]) >= 0) continue;
        tell("full\n");
    }
    return 1;
}

class DmonDaemon : public testing::Test {
protected:
    DmonDaemon() {
        EXPECT_EQ(pipe2(order, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(news, O_CLOEXEC), 0);
        setenv("VORN_ROOT", dir_.path().c_str(), 1);
    }
    ~DmonDaemon() override {
        for (const pid_t child : children_) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        for (const int fd : {order[0], order[1], news[0], news[1]}) close(fd);
    }

    // Starts a daemon with its standard error in the file `log`, and waits until its body runs.
    pid_t start(std::vector<std::string> words = {"vorn"}) {
        const pid_t child = launch(std::move(words));
        EXPECT_EQ(nextNews(), "running\n");
        return child;
    }
    pid_t launch(std::vector<std::string> words = {"vorn"}) {
        const pid_t child = fork();
        if (child != 0) {
            children_.push_back(child);
            return child;
        }
        static const DmonOps ops = {nullptr, setLevel,    nullptr,    statusCode, nullptr,
                                    nullptr, description, statusText, nullptr,    nullptr};
        dup2(open(dir_.path("log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        std::vector<char *> argv;
        for (std::string &word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        _exit(dmon_run_daemon(body, static_cast<int>(words.size()), argv.data(), &ops));
    }

    // Its exit status once it has ended, 1000 plus a signal's number.
    int end(pid_t child) {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        std::erase(children_, child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    static std::string nextNews() {
        std::string line;
        for (char c = 0; c != '\n';) {
            pollfd ready = {news[0], POLLIN, 0};
            if (poll(&ready, 1, 10000) != 1 || read(news[0], &c, 1) != 1)
                return line + " (nothing)";
            line += c;
        }
        return line;
    }

    static void tellBody(signed char what) { EXPECT_EQ(write(order[1], &what, 1), 1); }

    [[nodiscard]] int connectClient() const {
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const timeval patience = {10, 0};
        setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        dir_.path("run/tarix/vorn.ctl").copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(connect(client, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
        return client;
    }

    // All that the daemon answers to `request`, until it closes.
    static std::string talk(int client, const std::string &request) {
        send(client, request.data(), request.size(), MSG_NOSIGNAL);
        shutdown(client, SHUT_WR);
        std::string replies;
        char piece[1000];
        ssize_t got = 0;
        while ((got = read(client, piece, sizeof piece)) > 0)
            replies.append(piece, static_cast<std::size_t>(got));
        close(client);
        return got == 0 ? replies : replies + " (no end)";
    }
    [[nodiscard]] std::string ask(const std::string &request) const {
        return talk(connectClient(), request);
    }

    [[nodiscard]] std::string log() const {
        std::string text = dir_.read("log");
        return text.size() < 27 ? text : text.substr(27);
    }

    TempDir dir_;
    std::vector<pid_t> children_;
};

}  // namespace

TEST_F(DmonDaemon, AnswersOneLineForOneLineAndKeepsTheSocketToItsUser) {
    start({"vorn", "-f", "-D", "3"});
    struct stat status {};
    ASSERT_EQ(stat(dir_.path("run/tarix/vorn.ctl").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFSOCK | 0600));

    const std::string unknown = "error: the words are status, describe, debug N, stop\n";
    const std::string noLevel = "error: debug takes a level, 0 or more\n";
    const std::pair<std::string, std::string> cases[] = {
        {"describe", std::string(255, 'd') + "\n"},
        {" debug\t2 \r\nstatus\nnonsense\n", "ok\n2 Level 2. Busy\n" + unknown},
        {"debug\ndebug x\ndebug 1 2\ndebug 99999999999\n", noLevel + noLevel + noLevel + noLevel},
        {"debug 9\n", "error: the service refused the level\n"},
        {"status now\n\nstopp\n", unknown + unknown + unknown},
        {"debug 0\nstatus\n", "ok\n2 Level 0. Busy\n"},
        {std::string(256, 's'), unknown},
        {"", ""},
    };
    for (const auto &[request, replies] : cases) EXPECT_EQ(ask(request), replies) << request;
    EXPECT_EQ(nextNews(), "level 2 after 3\n");
    EXPECT_EQ(nextNews(), "level 9 after 2\n");
    EXPECT_EQ(nextNews(), "level 0 after 2\n");
}

TEST_F(DmonDaemon, AnswersBesideClientsThatAreSlowOrSilentOrDoNotListen) {
    start();
    const int slow = connectClient();
    EXPECT_EQ(send(slow, "sta", 3, 0), 3);
    EXPECT_EQ(ask("status\n"), "2 Level 1. Busy\n");
    EXPECT_EQ(talk(slow, "tus\n"), "2 Level 1. Busy\n");

    const int deaf = connectClient();
    while (send(deaf, "describe\n", 9, MSG_NOSIGNAL) == 9) continue;  // until it is thrown out
    std::vector<int> silent;
    for (int i = 0; i < 30; ++i) {
        silent.push_back(connectClient());
        EXPECT_EQ(send(silent.back(), "st", 2, MSG_NOSIGNAL), 2);
    }
    EXPECT_EQ(ask("status\n"), "2 Level 1. Busy\n");
    EXPECT_EQ(talk(silent.back(), "atus\n"), "2 Level 1. Busy\n");  // the last ones stay
    silent.back() = deaf;
    for (const int client : silent) close(client);
}

TEST_F(DmonDaemon, AnswersWhenTheServiceHasUsedUpItsDescriptors) {
    const pid_t child = start();
    tellBody('x');
    EXPECT_EQ(nextNews(), "full\n");
    const int first = connectClient();
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(ask("status\n"), "2 Level 1. Busy\n");
    EXPECT_EQ(ask("stop\n"), "ok\n");
    EXPECT_EQ(end(child), 0);
    close(first);
}

TEST_F(DmonDaemon, EndsWithTheBodysResultUnlessToldToEnd) {
    for (const auto &[result, status] : {std::pair{0, 0}, {1, 1}, {-20, 236}, {1000, 0}}) {
        SCOPED_TRACE(result);
        const pid_t child = start();
        kill(child, SIGHUP);
        kill(child, SIGPIPE);
        kill(child, SIGXFSZ);
        EXPECT_EQ(ask("status\n"), "2 Level 1. Busy\n");
        const int silent = connectClient();
        if (result == 1000)
            kill(child, SIGTERM);
        else
            tellBody(static_cast<signed char>(result));
        EXPECT_EQ(end(child), status);
        EXPECT_FALSE(dir_.exists("run/tarix/vorn.ctl"));
        EXPECT_EQ(log(), "");
        close(silent);
    }
}

TEST_F(DmonDaemon, ReplacesALeftOverSocketAndRespectsOneThatAnswers) {
    const std::string path = dir_.path("run/tarix/vorn.ctl");
    const pid_t killed = start();
    kill(killed, SIGKILL);
    EXPECT_EQ(end(killed), 1000 + SIGKILL);
    EXPECT_TRUE(dir_.exists("run/tarix/vorn.ctl"));

    const pid_t living = start();
    EXPECT_EQ(end(launch()), 255);
    EXPECT_EQ(log(), "Error: another process answers on control socket '" + path + "'.\n");
    prints = true;
    // Help, and the message about a wrong command line, come beside a running service.
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
             {"vorn", "-D", "2", "--help"}, {"vorn", "-x"}, {"vorn", "-f", "-c"}, {"vorn", "-D"}}) {
        const pid_t helper = start(words);
        EXPECT_EQ(end(helper), 1) << words.back();
    }
    prints = false;
    EXPECT_EQ(ask("stop\n"), "ok\n");
    EXPECT_EQ(end(living), 0);

    dir_.write("run/tarix/vorn.ctl", "not ours");
    EXPECT_EQ(end(launch()), 255);
    EXPECT_EQ(log(), "Error: cannot make control socket '" + path + "': File exists\n");
    EXPECT_EQ(dir_.read("run/tarix/vorn.ctl"), "not ours");
}

TEST_F(DmonDaemon, ReadsTheDebugLevelByTheServicesRule) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"vorn", "-D", "2", "-f", "-D", "4"}, "2 Level 4. Busy\n"},
        {{"vorn", "-c", "-D", "3"}, "2 Level 1. Busy\n"},
        {{"vorn", "file", "-D", "3"}, "2 Level 1. Busy\n"},
    };
    for (const auto &[words, reply] : cases) {
        const pid_t child = start(words);
        EXPECT_EQ(ask("status\n"), reply) << words.back();
        kill(child, SIGTERM);
        EXPECT_EQ(end(child), 0);
    }
}
