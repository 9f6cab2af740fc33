// SPDX-License-Identifier: MIT
// Keeps docs/protocol.md true: sends its example bytes and runs its Python client, as they stand on
// the page, against the request server with the service's own callback.
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "core/options.h"
#include "report/user_vars.h"
#include "server/server.h"
#include "support/request_server.h"
#include "support/temp_dir.h"

namespace {

// The lines of the page's fenced block of this kind.
std::string blockOfPage(const std::string &kind) {
    std::ifstream page(VORN_SOURCE_DIR "/docs/protocol.md");
    std::string block;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (inside && line == "```") break;
        if (inside) block += line + "\n";
        if (line == "```" + kind) inside = true;
    }
    return block;
}

// The bytes at the start of each line; two blanks end them.
std::string bytesOf(const std::string &block) {
    std::string bytes;
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line.substr(0, line.find("  ")));
        for (std::string word; words >> word;) {
            bytes += static_cast<char>(std::stoi(word, nullptr, 16));
        }
    }
    return bytes;
}

class ProtocolPage : public testing::Test {
protected:
    void SetUp() override {
        setDefaults();
        initUserVars();
        server_.serveInBackground();
    }

    RequestServer server_{10, serverRequestCallback};
};

TEST_F(ProtocolPage, ShowsTheBytesOfARequestAndItsReply) {
    const std::string request = bytesOf(blockOfPage("hex request"));
    const std::string reply = bytesOf(blockOfPage("hex reply"));
    ASSERT_EQ(request.size(), 35u);
    const int fd = connectLoopback(loopPort(&server_.loop));
    send(fd, request.data(), request.size(), 0);
    std::string got(reply.size(), '\0');
    EXPECT_EQ(recv(fd, got.data(), got.size(), MSG_WAITALL), 16);
    EXPECT_EQ(got, reply);
    close(fd);
}

TEST_F(ProtocolPage, HasAPythonClientThatRunsAsItStands) {
    const TempDir dir;
    const std::string script = dir.write("client.py", blockOfPage("python"));
    std::FILE *pipe = popen(("python3 " + script + " 2>&1").c_str(), "r");
    std::array<char, 1000> output{};
    const std::size_t length = std::fread(output.data(), 1, output.size(), pipe);
    EXPECT_EQ(pclose(pipe), 0);
    EXPECT_EQ(std::string(output.data(), length),
              "add subscription: (256, 0, 0)\n"
              "set variables: (256, 0, 0)\n"
              "names by reference: (256, 0, 0)\n"
              "next number: 1 by sequence\n");
    EXPECT_STREQ(opt_refname.get().text, "run");
    char site[20];
    copyUserVar(&kv_urv, "site", site, sizeof site);
    EXPECT_STREQ(site, "Lab 2");
}

}  // namespace
