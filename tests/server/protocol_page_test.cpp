// SPDX-License-Identifier: MIT
// Keeps docs/protocol.md true: sends its example bytes and runs its Python client, as they stand on
// the page, the C client and the test vectors, against the request server with the service's own
// callback.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/options.h"
#include "report/user_vars.h"
#include "server/requests.h"
#include "server/server.h"
#include "support/build_paths.h"
#include "support/program.h"
#include "support/request_server.h"

namespace {

// What a Python expression makes of the page's fenced block of this kind.
std::string fromPage(const std::string &kind, const std::string &expression) {
    return runProgram({"python3", "-c",
                       "import re, sys\n"
                       "page = open(sys.argv[1]).read()\n"
                       "block = page.split('```' + sys.argv[2] + '\\n')[1].split('```\\n')[0]\n" +
                           expression,
                       sourceDir() + "/docs/protocol.md", kind})
        .out;
}

TEST(ProtocolPage, ShowsTheBytesAndAPythonClientThatWork) {
    setDefaults();
    initUserVars();
    RequestServer server(10, serverRequestCallback);
    server.serveInBackground();

    const std::string bytes =  // two blanks end those of a line
        "sys.stdout.buffer.write(bytes.fromhex(re.sub('  .*', '', block)))";
    const std::string request = fromPage("hex request", bytes);
    ASSERT_EQ(request.size(), 35u);
    const int fd = connectLoopback(loopPort(&server.loop));
    send(fd, request.data(), request.size(), 0);
    std::string got(16, '\0');
    EXPECT_EQ(recv(fd, got.data(), got.size(), MSG_WAITALL), 16);
    EXPECT_EQ(got, fromPage("hex reply", bytes));
    close(fd);

    EXPECT_EQ(fromPage("python", "exec(block, {'__name__': '__main__'})"),
              "add subscription: (256, 0, 0)\nset variables: (256, 0, 0)\n"
              "names by reference: (256, 0, 0)\nnext number: 1 by sequence\n");
    const std::string client = testing::TempDir() + "vorn_client" + std::to_string(getpid());
    const Outcome made = runProgram({"cc", "-std=c99", "-Wall", "-Wextra", "-Werror", "-o", client,
                                     sourceDir() + "/examples/client/vorn_client.c"});
    EXPECT_EQ(made.err, "");
    EXPECT_EQ(runProgram({client}).out,
              "add subscription: (256, 0, 0)\nset variables: (256, 0, 0)\n"
              "names by reference: (256, 0, 0)\nnext number: 1 by sequence\n");
    unlink(client.c_str());
    EXPECT_STREQ(opt_refname.get().text, "run");
    char site[20];
    copyUserVar(&kv_urv, "site", site, sizeof site);
    EXPECT_STREQ(site, "Lab 2");
}

std::string contentOf(const std::string &name) {
    std::ostringstream content;
    content << std::ifstream(sourceDir() + "/" + name).rdbuf();
    return content.str();
}

// A message as the vectors have it.
std::string hexOf(const PktMessage &message) {
    char text[48];
    std::snprintf(text, sizeof text, "%08x %04x 0000 %08x %08x", message.length, message.type,
                  static_cast<unsigned>(message.param1), static_cast<unsigned>(message.param2));
    std::string hex = text;
    for (std::uint32_t i = 0; i < message.length; ++i) {
        std::snprintf(text, sizeof text, i == 0 ? " %02x" : "%02x", message.payload[i]);
        hex += text;
    }
    return hex;
}

std::string exchanged;  // the last request and its reply

int answerAndKeep(void *library1, void *library2, const PktMessage *request, PktMessage *reply) {
    const int result = serverRequestCallback(library1, library2, request, reply);
    exchanged = "> " + hexOf(*request) + "\n< " + hexOf(*reply) + "\n";
    return result;
}

// With VORN_UPDATE_GOLDEN set, a request that the vectors lack gets those of its example.
TEST(ProtocolPage, VectorsAreWhatTheServiceAnswers) {
    setDefaults();
    initUserVars();
    RequestServer server(10, answerAndKeep);
    server.serveInBackground();
    const Outcome outcome = runProgram({"python3", "-c",
                                        R"(import os, socket, sys
service = socket.create_connection(("127.0.0.1", int(os.environ["NX_PORT"])), 10)
for line in open(sys.argv[1], encoding="utf-8"):
    if line[:1] == ">":
        service.sendall(bytes.fromhex(line[1:]))
    elif line[:1] == "<":
        wanted = bytes.fromhex(line[1:])
        got = service.recv(len(wanted), socket.MSG_WAITALL)
        if got != wanted: print(name, got.hex(), "not", wanted.hex())
    else:
        name = line.strip()
)",
                                        sourceDir() + "/docs/protocol-vectors.txt"});
    EXPECT_EQ(outcome.out + outcome.err, "");

    const std::string vectors = contentOf("docs/protocol-vectors.txt");
    for (std::size_t i = 0; i < requestCount; ++i) {
        const Request &row = requestTable[i];
        EXPECT_EQ(findRequest(row.code), &row) << "two requests have one code";
        char code[8];
        std::snprintf(code, sizeof code, " %04x ", row.code);
        bool isThere = false;
        for (std::size_t at = 0; (at = vectors.find("\n> ", at)) != std::string::npos; ++at)
            isThere = isThere || vectors.compare(at + 11, 6, code) == 0;
        if (isThere) continue;
        EXPECT_NE(std::getenv("VORN_UPDATE_GOLDEN"), nullptr) << "no vectors of " << row.name;
        if (std::getenv("VORN_UPDATE_GOLDEN") == nullptr) continue;
        const std::string command = binDir() + "/vornctl " + row.name + " " + row.example;
        ASSERT_EQ(runProgram({"sh", "-c", command}).status, 0) << command;
        std::ofstream(sourceDir() + "/docs/protocol-vectors.txt", std::ios::app)
            << "\n# " << row.help << "\n"
            << exchanged;
    }
}

TEST(ProtocolPage, HasEachRequest) {
    std::string page = contentOf("docs/protocol.md");
    std::erase(page, '\\');  // in front of "|" within a table
    for (std::size_t i = 0; i < requestCount; ++i) {
        const Request &row = requestTable[i];
        std::string words = row.name;
        std::istringstream forms(row.words);
        for (std::string form; forms >> form;) {
            const std::size_t field = form.find(':');  // a digit says which field takes the word
            words += " " + (field == std::string::npos ? form : form.erase(field - 1, 2));
        }
        const std::string line = "\n| " + std::to_string(row.code) + " | `" + words + "` |";
        EXPECT_TRUE(page.find(line) != std::string::npos) << "docs/protocol.md has no line" << line;
    }
}

}  // namespace
