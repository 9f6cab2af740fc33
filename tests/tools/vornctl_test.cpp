// SPDX-License-Identifier: MIT
// Runs the program against a request server and a control socket of the test's own.
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/guards.h"
#include "server/requests.h"
#include "support/build_paths.h"
#include "support/case_runner.h"
#include "support/program.h"
#include "support/request_server.h"
#include "support/service_run.h"
#include "support/temp_dir.h"

namespace {

std::mutex lock;       // of what follows: the server has a thread of its own
std::string seen;      // the last request, readable
PktMessage nextReply;  // what it is answered
int nextResult = 0;    // or the callback's result

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
        } else {
            EXPECT_EQ(pktGetString(request, text, sizeof text, &position), PKT_OK);
            seen += " [" + std::string(text) + "]";
        }
    }
    pktInitFull(reply, nextReply.type, nextReply.param1, nextReply.param2);
    return nextResult;
}

// Runs the program with words as a shell reads them; its status and all it says.
std::string vornctl(const std::string &words) {
    const Outcome outcome = runProgram({"sh", "-c", binDir() + "/vornctl " + words});
    return std::to_string(outcome.status) + " " + outcome.out + outcome.err;
}

class Vornctl : public testing::Test {
protected:
    Vornctl() { server_.serveInBackground(); }

    static void reply(std::uint16_t type, std::int32_t param1, std::int32_t param2,
                      int result = 0) {
        const std::lock_guard guard(lock);
        pktInitFull(&nextReply, type, param1, param2);
        nextResult = result;
    }
    static std::string lastRequest() {
        const std::lock_guard guard(lock);
        return seen;
    }

private:
    RequestServer server_{10, answer};
};

TEST_F(Vornctl, SendsEachRequestAsTheServiceReadsIt) {
    reply(REPLY_RESULT, 0, 0);
    runCases("tools/cases/vornctl.txt", 1, [](const CaseFields &row) -> CaseFields {
        {
            const std::lock_guard guard(lock);
            seen.clear();
        }
        const std::string said = vornctl(row[0]);
        return {said[0] == '0' ? said + lastRequest() : said.substr(0, 1) + lastRequest()};
    });
    EXPECT_EQ(vornctl("--version").substr(0, 10), "0 vornctl ");
}

TEST_F(Vornctl, TellsTheAnswerInWordsAsJsonAndInItsExitStatus) {
    reply(REPLY_RESULT, 0, 0);
    EXPECT_EQ(vornctl("autosave on --json"),
              "0 {\"command\":\"autosave\",\"ok\":true,\"result\":0,\"text\":\"done\"}\n");
    reply(REPLY_RESULT, -22, 0);
    EXPECT_EQ(vornctl("--json autosave on"),
              "1 {\"command\":\"autosave\",\"ok\":false,\"result\":-22,\"text\":\"no such quota or "
              "action\"}\nvornctl: autosave refused: no such quota or action (-22)\n");
    EXPECT_EQ(vornctl("report a b c d"), "1 vornctl: report refused: a plug-in failed (-22)\n");
    reply(REQ_SET_AUTOSAVE, 3, -4);
    EXPECT_EQ(vornctl("autosave on"), "0 param1 3, param2 -4\n");
    reply(REQ_GET_AUTOSEQ, 1, -4);
    EXPECT_EQ(vornctl("get-autoseq"), "0 names by sequence, next number -4\n");
    EXPECT_EQ(vornctl("get-autoseq --json"),
              "0 {\"command\":\"get-autoseq\",\"ok\":true,\"result\":0,\"text\":\"done\","
              "\"naming\":\"sequence\",\"sequence\":-4}\n");
    EXPECT_EQ(vornctl("num-files"), "1 vornctl: the answer is of an unknown type (266)\n");
    reply(REQ_GET_NUMFILES, 50, 7);
    EXPECT_EQ(vornctl("num-files"), "0 7 report files of at most 50\n");
    reply(0, 0, 0, 1);
    EXPECT_EQ(vornctl("autosave on"),
              "1 vornctl: autosave refused: the service does not know this request (1)\n");
}

TEST(VornctlConnection, TellsALostOneFromASilentService) {
    sockaddr_in address = loopbackAddress(0);
    socklen_t size = sizeof address;
    const DescriptorGuard listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    auto *name = reinterpret_cast<sockaddr *>(&address);
    ASSERT_EQ(bind(listener.get(), name, size) | getsockname(listener.get(), name, &size), 0);
    const std::string port = std::to_string(ntohs(address.sin_port));
    EXPECT_EQ(vornctl("autosave on --port " + port),
              "3 vornctl: no connection to 127.0.0.1 port " + port + ": Connection refused\n");
    listen(listener.get(), 5);  // connects, but nobody answers
    EXPECT_EQ(vornctl("autosave on --timeout 0.05 --port " + port)[0], '4');
    std::thread closing([&] {
        for (int i = 0; i < 2; ++i) close(accept(listener.get(), nullptr, nullptr));
    });
    EXPECT_EQ(vornctl("autosave on --port " + port)[0], '3');
    closing.join();
}

TEST(VornctlConnection, SpeaksToTheControlSocket) {
    ServiceRun run;
    const auto control = [&](const std::string &words) {
        return vornctl(words + " --root " + run.root.path());
    };
    EXPECT_EQ(control("status")[0], '3');
    run.start({"-D", "1"});
    ASSERT_TRUE(waitUntil([&] { return control("status")[0] != '3'; }));
    run.root.makeDir("run/tarix/kelp");
    const std::string text = "Application manager is not ready. Retrying...";
    EXPECT_TRUE(waitUntil([&] { return control("status") == "0 2 " + text + "\n"; }));
    EXPECT_EQ(control("status --json"),
              "0 {\"command\":\"status\",\"ok\":true,\"code\":2,\"text\":\"" + text + "\"}\n");
    EXPECT_EQ(control("debug 2"), "0 ok\n");
    EXPECT_EQ(control("debug -1"),
              "1 vornctl: debug refused: error: debug takes a level, 0 or more\n");
    EXPECT_EQ(control("stop"), "0 ok\n");
    EXPECT_EQ(run.wait(), 0);
}

TEST(VornctlCheckConfig, TellsErrorsAndHintsWithTheirPlaceAndWritesNothing) {
    runCases("tools/cases/check_config.txt", 2, [](const CaseFields &row) -> CaseFields {
        const TempDir root;
        for (const char *folder : {"results/tx", "dicts", "templates"})
            root.makeDir(std::string("tarix/data/") + folder);
        root.write("tarix/data/templates/t.tpl", "");
        root.write("tarix/data/dicts/d_en.lxc", "");
        root.write("tarix/data/results/tx/z.res", "");
        root.write("etc/tarix/vorn.cfg", replaced(row[0], "@", root.path()));
        root.write("etc/tarix/vorn/a.subs", row[1]);
        if (row[0].find("foreign") != std::string::npos)
            root.write("tarix/data/vorn/vorn.sav", "short");
        const std::string before = runProgram({"find", root.path()}).out;
        const std::string said = vornctl("check-config --root " + root.path());
        EXPECT_EQ(runProgram({"find", root.path()}).out, before);
        return {replaced(said, root.path(), "@") + (said.ends_with('\n') ? "" : "\n")};
    });
    const TempDir root;
    const std::string own = root.write("own.cfg", "autosave on\n");
    const std::string said = vornctl("check-config --json --root " + root.path() + " -c " + own);
    EXPECT_NE(said.find("\"ok\":false,\"findings\":[{\"kind\":\"hint\",\"file\":\"" + own +
                        "\",\"line\":1,\"text\":\"'on' means no"),
              std::string::npos)
        << said;
    EXPECT_NE(said.find("/tarix/data/vorn' cannot be made: "), std::string::npos) << said;
}

}  // namespace
