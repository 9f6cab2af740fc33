// SPDX-License-Identifier: MIT
// Runs the program against a request server and a control socket of the test's own.
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "server/requests.h"
#include "support/request_server.h"
#include "support/temp_dir.h"

namespace {

std::mutex lock;       // of what follows: the server has a thread of its own
std::string seen;      // the last request, readable
PktMessage nextReply;  // what it is answered
int nextResult = 0;    // or the callback's result

std::string lastRequest() {
    const std::lock_guard guard(lock);
    return seen;
}

int answer(void *, void *, const PktMessage *request, PktMessage *reply) {
    const std::lock_guard guard(lock);
    seen = std::to_string(request->type) + " " + std::to_string(request->param1) + " " +
           std::to_string(request->param2);
    std::uint32_t position = 0;
    while (position < request->length) {
        char text[200];
        std::uint16_t number = 0;
        if (pktGet16(request, &number, &position) == PKT_OK) {
            seen += " #" + std::to_string(number);
        } else if (pktGetString(request, text, sizeof text, &position) == PKT_OK) {
            seen += " [" + std::string(text) + "]";
        } else {
            seen += " damaged";
            break;
        }
    }
    pktInitFull(reply, nextReply.type, nextReply.param1, nextReply.param2);
    return nextResult;
}

class Server : public RequestServer {
public:
    Server() : RequestServer(10, answer) { serveInBackground(); }
};

struct Outcome {
    int status;
    std::string output;  // standard output, then standard error
};

Outcome vornctl(const std::string &words) {
    const TempDir dir;
    const std::string command = VORN_BIN_DIR "/vornctl " + words + " 2> " + dir.path("error");
    Outcome outcome{};
    std::FILE *pipe = popen(command.c_str(), "r");
    for (int c = std::getc(pipe); c != EOF; c = std::getc(pipe)) {
        outcome.output += static_cast<char>(c);
    }
    outcome.status = WEXITSTATUS(pclose(pipe));
    outcome.output += dir.read("error");
    return outcome;
}

void reply(std::uint16_t type, std::int32_t param1, std::int32_t param2, int result = 0) {
    const std::lock_guard guard(lock);
    pktInitFull(&nextReply, type, param1, param2);
    nextResult = result;
}

TEST(Vornctl, SendsEachRequestAsTheServiceReadsIt) {
    const Server server;
    reply(REPLY_RESULT, 0, 0);
    const struct {
        const char *words;
        const char *request;
    } cases[] = {
        {"add-subs tx gen1 ana2", "257 2 0 [tx] [gen1] [gen1] [ana2] [ana2]"},
        {"--timeout 5 add-subs tx --json", "257 0 0 [tx]"},
        {"remove-subs tx", "258 0 0 [tx]"},
        {"set-quota reports 65535", "259 65535 1"},
        {"set-quota results --force -1", "259 -1 0"},
        {"set-var a -5 'b c' \"\"", "261 2 0 [a] [-5] [b c] []"},
        {"set-var -- d -x", "261 1 0 [d] [-x]"},
        {"report tx r.res t.tpl o.pdf --flags 0x10", "262 16 1 [tx] [r.res] [t.tpl] [o.pdf]"},
        {"report tx r.res t.tpl o --format pdf", "262 0 1 [tx] [r.res] [t.tpl] [o]"},
        {"report tx r.res t.tpl o", "262 0 0 [tx] [r.res] [t.tpl] [o]"},
        {"set-lang de", "263 0 0 [de]"},
        {"autoreport on txt --reference run", "264 1 0 #1 [run]"},
        {"autoreport off", "264 0 1 #0"},
        {"set-autoseq -7", "265 -7 0"},
        {"set-template tx t.tpl", "267 0 0 [tx] [t.tpl]"},
        {"full-action results purge", "269 2 0"},
        {"autosave on", "271 1 0"},
        {"delete-all reports", "272 1 0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.words);
        const Outcome outcome = vornctl(c.words);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
        EXPECT_EQ(lastRequest(), c.request);
    }
}

TEST(Vornctl, TellsTheAnswerInWordsAsJsonAndInItsExitStatus) {
    const Server server;
    const auto expect = [](const char *words, int status, const char *output) {
        SCOPED_TRACE(words);
        const Outcome outcome = vornctl(words);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.output, output);
    };
    reply(REPLY_RESULT, 0, 0);
    expect("autosave on", 0, "");
    expect("autosave on --json", 0,
           "{\"command\":\"autosave\",\"ok\":true,\"result\":0,\"text\":\"done\"}\n");
    reply(REPLY_RESULT, -22, 0);
    expect("--json autosave on", 1,
           "{\"command\":\"autosave\",\"ok\":false,\"result\":-22,\"text\":\"no such quota or "
           "action\"}\nvornctl: autosave refused: no such quota or action (-22)\n");
    expect("report tx r t o", 1, "vornctl: report refused: a plug-in failed (-22)\n");
    reply(REQ_GET_AUTOSEQ, 1, -4);
    expect("get-autoseq", 0, "names by sequence, next number -4\n");
    expect("get-autoseq --json", 0,
           "{\"command\":\"get-autoseq\",\"ok\":true,\"result\":0,\"text\":\"done\","
           "\"naming\":\"sequence\",\"sequence\":-4}\n");
    expect("num-files", 1, "vornctl: the answer is of an unknown type (266)\n");
    reply(REQ_GET_NUMFILES, 50, 7);
    expect("num-files", 0, "7 report files of at most 50\n");
    reply(0, 0, 0, -6);
    expect("set-template tx t", 1,
           "vornctl: set-template refused: a field is too long or missing (-6)\n");
    reply(0, 0, 0, 1);
    expect("autosave on", 1,
           "vornctl: autosave refused: the service does not know this request (1)\n");
}

TEST(Vornctl, RefusesWrongWordsWithStatusTwoAndSendsNothing) {
    const Server server;
    const std::string before = lastRequest();
    for (const char *words :
         {"", "nonsense", "add-subs", "set-quota results 0", "set-quota results 65536",
          "set-quota both 5", "set-quota results 5x", "set-quota results 9999999999 --force",
          "set-var a", "full-action results erase", "autoreport maybe", "autoreport on doc",
          "set-autoseq 2147483648", "autosave on --timeout 0", "autosave on --port 0",
          "report a b c d --format doc", "remove-subs a b"}) {
        EXPECT_EQ(vornctl(words).status, 2) << words;
    }
    EXPECT_EQ(lastRequest(), before);
    EXPECT_EQ(vornctl("--version").output, "vornctl 1.5.1\n");
    EXPECT_NE(vornctl("set-var --help").output.find("Example:\n  vornctl set-var "),
              std::string::npos);
}

TEST(Vornctl, TellsALostConnectionFromASilentService) {
    sockaddr_in address = loopbackAddress(0);
    socklen_t size = sizeof address;
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), size), 0);
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    const std::string port = " --port " + std::to_string(ntohs(address.sin_port));
    const std::string refused = vornctl("autosave on" + port).output;
    EXPECT_EQ(refused, "vornctl: no connection to 127.0.0.1 port " + port.substr(8) +
                           ": Connection refused\n");
    listen(listener, 5);  // connects, but nobody answers
    EXPECT_EQ(vornctl("autosave on --timeout 0.05" + port).status, 4);
    std::thread closing([listener] {
        const int client = accept(listener, nullptr, nullptr);  // the one that gave up
        close(client);
        close(accept(listener, nullptr, nullptr));
    });
    EXPECT_EQ(vornctl("autosave on" + port).status, 3);
    closing.join();
    close(listener);
    EXPECT_EQ(vornctl("status --root /tmp/nowhere").status, 3);
}

TEST(Vornctl, SpeaksToTheControlSocket) {
    const TempDir root;
    root.makeDir("run/tarix");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    root.path("run/tarix/vorn.ctl").copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    listen(listener, 5);
    const struct {
        const char *words;
        const char *line;
        const char *answer;
        int status;
        const char *output;
    } cases[] = {
        {"status", "status\n", "1 Server is running OK.\n", 0, "1 Server is running OK.\n"},
        {"status --json", "status\n", "2 Waiting.\n", 0,
         "{\"command\":\"status\",\"ok\":true,\"code\":2,\"text\":\"Waiting.\"}\n"},
        {"debug 3", "debug 3\n", "ok\n", 0, "ok\n"},
        {"stop", "stop\n", "error: no\n", 1, "vornctl: stop refused: error: no\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.words);
        std::thread service([&] {
            const int client = accept(listener, nullptr, nullptr);
            char line[100] = "";
            EXPECT_GT(recv(client, line, sizeof line - 1, 0), 0);
            EXPECT_STREQ(line, c.line);
            const std::string text = c.answer;
            send(client, text.data(), text.size(), MSG_NOSIGNAL);
            close(client);
        });
        const Outcome outcome = vornctl(std::string(c.words) + " --root " + root.path());
        service.join();
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(outcome.output, c.output);
    }
    close(listener);
}

TEST(VornctlCheckConfig, ReportsEveryFindingWithItsPlaceAndWritesNothing) {
    const TempDir root;
    for (const char *directory : {"results", "reports", "configs", "templates"}) {
        root.makeDir(std::string("tarix/data/") + directory);
    }
    root.write("tarix/data/templates/t.tpl", "");
    root.write("etc/tarix/vorn.cfg", "# max-files\nmax-files 5\nautoreport txt\n");
    root.write("etc/tarix/vorn/a.subs", "subscribe tx:gen1,ana2:t.tpl\n");
    const std::string words = "check-config --root " + root.path();
    const Outcome clean = vornctl(words);
    EXPECT_EQ(clean.output, "");
    EXPECT_EQ(clean.status, 0);

    root.write("etc/tarix/vorn.cfg",
               "colour red\nfull-action\ndict-dir " + std::string(70, 'd') +
                   "\nautoreport doc\npurge yes\nmax-files 65536\nautoreport txt\n"
                   "results-dir /dev/null\n");
    root.write("etc/tarix/vorn/a.subs",
               "subscribe tx:gen1,analysis1:none.tpl\nsubscribe\nsubscribe tx\n"
               "subscribe b:1,2,3,4,5,6,7,8,9\n#\nsubscribe c\nnonsense\n");
    root.write("tarix/data/vorn/vorn.sav", "short");
    std::filesystem::remove(root.path("tarix/data/configs"));
    const Outcome outcome = vornctl(words);
    std::string output = outcome.output;
    for (std::size_t at = 0; (at = output.find(root.path())) != std::string::npos;) {
        output.erase(at, root.path().size());
    }
    const std::string cut(63, 'd');
    EXPECT_EQ(output,
              "/etc/tarix/vorn.cfg:1: unknown variable 'colour' in config file.\n"
              "/etc/tarix/vorn.cfg:2: missing full-quota action.\n"
              "/etc/tarix/vorn.cfg:3: path '" +
                  cut +
                  "' was cut at 63 characters.\n"
                  "/etc/tarix/vorn.cfg:4: unknown report format 'doc'.\n"
                  "/tarix/data/vorn/vorn.sav: this is no state file; the service will "
                  "not start\n"
                  "/etc/tarix/vorn/a.subs:2: missing subscription name.\n"
                  "/etc/tarix/vorn/a.subs:4: too many applications per subscription.\n"
                  "/etc/tarix/vorn/a.subs:7: unknown variable 'nonsense' in subscription "
                  "file.\n"
                  "/etc/tarix/vorn.cfg:8: '/dev/null' is no directory\n"
                  "/tarix/data/configs: the directory does not exist\n"
                  "/etc/tarix/vorn.cfg:3: '" +
                  cut +
                  "' does not exist\n"
                  "/etc/tarix/vorn.cfg:6: of the maximum 65536 the service keeps 0\n"
                  "/etc/tarix/vorn.cfg:6: purging with a maximum of 0 deletes every file "
                  "as it is made\n"
                  "/etc/tarix/vorn/a.subs:1: application 'analysis1' has more than 8 "
                  "characters and never matches\n"
                  "/etc/tarix/vorn/a.subs:1: template '/tarix/data/templates/none.tpl' "
                  "cannot be read\n"
                  "/etc/tarix/vorn/a.subs:3: a second subscription 'tx' will not be "
                  "installed\n"
                  "/etc/tarix/vorn/a.subs:6: automatic reports are on, but subscription "
                  "'c' has no template: nothing is saved\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(root.read("tarix/data/vorn/vorn.sav"), "short");
    EXPECT_FALSE(root.exists("tarix/data/configs"));
}

TEST(VornctlCheckConfig, TellsWhichSubscriptionsAndPathsDoNotFit) {
    const TempDir root;
    for (const char *directory : {"results", "configs", "templates"}) {
        root.makeDir(std::string("tarix/data/") + directory);
    }
    root.makeDir("tarix/data/" + std::string(20, 'r'));
    const std::string reports = root.path("tarix/data/" + std::string(20, 'r'));
    root.write("etc/tarix/vorn.cfg", "reports-dir \"" + reports + "\"\n");
    std::string subscriptions;
    for (int i = 1; i <= 10; ++i) subscriptions += "subscribe s" + std::to_string(i) + "\n";
    const std::string file = root.write("etc/tarix/vorn/a.subs", subscriptions);
    const Outcome outcome = vornctl("check-config --root " + root.path());
    EXPECT_EQ(outcome.output,
              file + ":9: too many initial subscriptions.\n" + file +
                  ":10: too many initial subscriptions.\n" + root.path("etc/tarix/vorn.cfg") +
                  ":1: a report's path needs " + std::to_string(reports.size() + 22) +
                  " characters and will be cut at 63\n" + file +
                  ":8: no quota slot is left for subscription 's8': it saves without limit\n");
    EXPECT_EQ(outcome.status, 1);
}

}  // namespace
