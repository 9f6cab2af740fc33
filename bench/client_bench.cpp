// SPDX-License-Identifier: MIT
// Round trips of the get-autoseq request, with one client and with ten, beside a bare echo server
// that answers as many bytes. Each server is a process of its own; `server_us` is its CPU time a
// request. Every client sends its next request when it has the reply to the last.
#include <cstdlib>
#include <ctime>
#include <vector>

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "nx/loop.h"
#include "server/requests.h"
#include "server/server.h"

namespace {

constexpr int EVENTS = 16;
constexpr int PLACES = 10;

void give_up(const char *what) {
    std::perror(what);
    std::exit(1);
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

void noDelay(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void watch(int epoll, int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) != 0) give_up("epoll_ctl");
}

// What a server cannot do without: wait, read, send.
[[noreturn]] void echo(int listener) {
    const int epoll = epoll_create1(0);
    watch(epoll, listener);
    for (;;) {
        epoll_event events[EVENTS];
        const int count = epoll_wait(epoll, events, EVENTS, -1);
        for (int i = 0; i < count; ++i) {
            const int fd = events[i].data.fd;
            if (fd == listener) {
                const int client = accept(listener, nullptr, nullptr);
                noDelay(client);
                watch(epoll, client);
                continue;
            }
            char bytes[PKT_HEADER_SIZE];
            const ssize_t got = recv(fd, bytes, sizeof bytes, 0);
            if (got <= 0) {
                close(fd);
            } else if (send(fd, bytes, static_cast<std::size_t>(got), MSG_NOSIGNAL) != got) {
                give_up("send");
            }
        }
    }
}

[[noreturn]] void serve(NxLoop *loop) {
    for (;;) loopTurn(loop, -1);
}

// A server process that ends with this object.
class ServerProcess {
public:
    enum Kind { ECHO, VORN };

    explicit ServerProcess(Kind kind) {
        NxLoop loop{};
        int listener = -1;
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        auto *where = reinterpret_cast<sockaddr *>(&address);
        if (kind == VORN) {
            if (loopOpen(&loop, where, size, PLACES, serverRequestCallback) != 0) give_up("open");
            port_ = loopPort(&loop);
        } else {
            listener = socket(AF_INET, SOCK_STREAM, 0);
            if (bind(listener, where, size) != 0 || listen(listener, PLACES) != 0) give_up("bind");
            getsockname(listener, where, &size);
            port_ = ntohs(address.sin_port);
        }
        pid_ = fork();
        if (pid_ < 0) give_up("fork");
        if (pid_ == 0) {
            if (kind == VORN) serve(&loop);
            echo(listener);
        }
        if (kind == VORN) {
            loopClose(&loop);
        } else {
            close(listener);
        }
        clock_getcpuclockid(pid_, &clock_);
    }
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;
    ~ServerProcess() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    [[nodiscard]] int connectClient() const {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        const sockaddr_in address = loopback(port_);
        if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            give_up("connect");
        noDelay(fd);
        return fd;
    }
    [[nodiscard]] double cpuMicroseconds() const {
        timespec time{};
        clock_gettime(clock_, &time);
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
    }

private:
    pid_t pid_ = -1;
    std::uint16_t port_ = 0;
    clockid_t clock_{};
};

void roundTrips(benchmark::State &state, ServerProcess::Kind kind) {
    const ServerProcess server(kind);
    PktMessage message{};
    pktInitFull(&message, REQ_GET_AUTOSEQ, 0, 0);
    std::uint8_t request[PKT_HEADER_SIZE];
    pktEncodeHeader(&message, request);
    const auto ask = [&request](int fd) {
        if (send(fd, request, sizeof request, MSG_NOSIGNAL) != sizeof request) give_up("ask");
    };

    const int epoll = epoll_create1(0);
    std::vector<int> clients;
    for (int i = 0; i < state.range(0); ++i) {
        clients.push_back(server.connectClient());
        watch(epoll, clients.back());
        ask(clients.back());
    }
    epoll_event events[EVENTS];
    int ready = 0;
    const double before = server.cpuMicroseconds();
    for ([[maybe_unused]] auto _ : state) {  // a round trip of one client
        if (ready == 0) ready = epoll_wait(epoll, events, EVENTS, -1);
        const int fd = events[--ready].data.fd;
        std::uint8_t reply[PKT_HEADER_SIZE];
        if (recv(fd, reply, sizeof reply, MSG_WAITALL) != sizeof reply) give_up("reply");
        ask(fd);
    }
    const double used = server.cpuMicroseconds() - before;
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
    state.counters["server_us"] = used / static_cast<double>(state.iterations());
    for (const int fd : clients) close(fd);
    close(epoll);
}

BENCHMARK_CAPTURE(roundTrips, echo, ServerProcess::ECHO)->Arg(1)->Arg(10)->UseRealTime();
BENCHMARK_CAPTURE(roundTrips, vorn, ServerProcess::VORN)->Arg(1)->Arg(10)->UseRealTime();

}  // namespace
