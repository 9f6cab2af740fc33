// SPDX-License-Identifier: MIT
#include "support/service_run.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guards.h"
#include "pktio/wire.h"
#include "support/build_paths.h"
#include "support/log_capture.h"
#include "support/request_server.h"

namespace {

// Receives exactly `size` bytes, or fewer when the other side closes.
std::string receive(int fd, std::size_t size) {
    std::string bytes(size, '\0');
    const ssize_t got = recv(fd, bytes.data(), size, MSG_WAITALL);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

}  // namespace

bool waitUntil(const std::function<bool()> &condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void sendMessage(int queueId, long type, const std::string &text) {
    std::string message(sizeof type, '\0');
    std::memcpy(message.data(), &type, sizeof type);
    message += text;
    ASSERT_EQ(msgsnd(queueId, message.data(), text.size(), 0), 0) << std::strerror(errno);
}

std::string syncResponse(const std::string &app, std::uint8_t state) {
    std::string text = app;
    text.resize(16);
    text += static_cast<char>(state);
    return text;
}

ServiceRun::ServiceRun() : log_(memfd_create("log", MFD_CLOEXEC)) {
    fcntl(log_, F_SETFL, O_APPEND);  // the threads of the service write side by side
    root.makeDir("tarix/data/templates");
    config("");
}

ServiceRun::~ServiceRun() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        wait();
    }
    if (root.exists("run/tarix/kelp")) sim({"down"});
    if (testing::Test::HasFailure()) std::fputs(log().c_str(), stderr);
    close(log_);
}

void ServiceRun::app(const std::string &name, const std::string &startTime) const {
    root.write("run/tarix/okra/apps/" + name,
               "okra 1\napp " + name + " start=" + startTime + "\nreg u32 frames value=7\n");
}

std::string ServiceRun::sim(const std::vector<std::string> &words) const {
    std::vector<std::string> command = {"env", "VORN_ROOT=" + root.path(), binDir() + "/tarix-sim"};
    command.insert(command.end(), words.begin(), words.end());
    const Outcome outcome = runProgram(command);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
}

void ServiceRun::start(const std::vector<std::string> &arguments) {
    const std::string program = binDir() + "/vorn";
    pid_ = fork();
    if (pid_ != 0) return;
    setenv("VORN_ROOT", root.path().c_str(), 1);
    setenv("NX_PORT", "0", 1);  // the system's choice, so that tests run side by side
    std::vector<char *> argv = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    const std::string out = root.path("stdout");
    dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDOUT_FILENO);
    dup2(log_, STDERR_FILENO);
    execv(program.c_str(), argv.data());
    _exit(127);
}

void ServiceRun::startServing() {
    const std::string line = "Listening to clients on port";
    const int before = countInLog(line);
    start();
    ASSERT_TRUE(waitForLog(line, before + 1)) << log();
}

int ServiceRun::wait() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int ServiceRun::stop() {
    kill(pid_, SIGTERM);
    return wait();
}

std::string ServiceRun::log() const {
    return withoutStamps(wholeFile(log_));
}

int ServiceRun::countInLog(const std::string &text) const {
    const std::string lines = log();
    int count = 0;
    for (std::size_t at = lines.find(text); at != std::string::npos; at = lines.find(text, at + 1))
        ++count;
    return count;
}

bool ServiceRun::waitForLog(const std::string &text, int times) const {
    const bool found = waitUntil([&] { return countInLog(text) >= times; });
    EXPECT_TRUE(found) << "not in the log: " << text;
    return found;
}

int ServiceRun::connectControl() const {
    DescriptorGuard connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval patience = {10, 0};
    setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    root.path("run/tarix/vorn.ctl").copy(address.sun_path, sizeof address.sun_path - 1);
    const auto *name = reinterpret_cast<sockaddr *>(&address);
    return connect(connection.get(), name, sizeof address) == 0 ? connection.release() : -1;
}

std::string ServiceRun::talk(int connection, const std::string &lines) {
    const DescriptorGuard guard(connection);
    send(connection, lines.data(), lines.size(), MSG_NOSIGNAL);
    shutdown(connection, SHUT_WR);
    std::string answers;
    for (std::string piece; !(piece = receive(connection, 1)).empty();) answers += piece;
    return answers;
}

std::string ServiceRun::control(const std::string &word) const {
    std::string answer = talk(connectControl(), word + "\n");
    if (answer.ends_with('\n')) answer.pop_back();
    return answer;
}

// The one of the latest start.
int ServiceRun::port() const {
    const std::string lines = log();
    const std::string_view before = "Requests are taken on address 127.0.0.1, port ";
    const std::size_t at = lines.rfind(before);
    return at == std::string::npos ? 0 : std::atoi(lines.c_str() + at + before.size());
}

Answer ServiceRun::request(std::uint16_t type, std::int32_t param1, std::int32_t param2,
                           const std::vector<std::string> &items) const {
    std::vector<std::uint8_t> payload(4096);
    PktMessage message{};
    message.payload = payload.data();
    message.capacity = static_cast<std::uint32_t>(payload.size());
    pktInitFull(&message, type, param1, param2);
    for (const std::string &item : items) EXPECT_EQ(pktPutString(&message, item.c_str()), PKT_OK);
    std::vector<std::uint8_t> bytes(PKT_HEADER_SIZE);
    pktEncodeHeader(&message, bytes.data());
    bytes.insert(bytes.end(), payload.begin(), payload.begin() + message.length);

    const int fd = connectLoopback(static_cast<std::uint16_t>(port()));
    EXPECT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
    const std::string header = receive(fd, PKT_HEADER_SIZE);
    close(fd);
    if (header.size() != PKT_HEADER_SIZE) return {-1, 0, 0};
    PktMessage reply{};
    pktDecodeHeader(&reply, reinterpret_cast<const std::uint8_t *>(header.data()));
    return {reply.type, reply.param1, reply.param2};
}

int ServiceRun::queueId() const {
    return std::atoi(root.read("run/tarix/kelp/vorn_app").c_str());
}
