// SPDX-License-Identifier: MIT
// A request server on a port of its own, turned by the test itself or by a thread, and connections
// to it.
#pragma once

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "nx/loop.h"

inline sockaddr_in loopbackAddress(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

// A connected socket, the caller's.
inline int connectLoopback(std::uint16_t port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopbackAddress(port);
    EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

class RequestServer {
public:
    RequestServer(int places, NxCallback callback) {
        const sockaddr_in address = loopbackAddress(0);
        EXPECT_EQ(loopOpen(&loop, reinterpret_cast<const sockaddr *>(&address), sizeof address,
                           places, callback),
                  0);
    }
    RequestServer(const RequestServer &) = delete;
    RequestServer &operator=(const RequestServer &) = delete;
    ~RequestServer() {
        stop_ = true;
        if (thread_.joinable()) thread_.join();
        loopClose(&loop);
    }
    // Serves until the end, on a thread; programs that the test starts find it through NX_PORT.
    void serveInBackground() {
        setenv("NX_PORT", std::to_string(loopPort(&loop)).c_str(), 1);
        thread_ = std::thread([this] {
            while (!stop_) loopTurn(&loop, 10);
        });
    }

    NxLoop loop{};

private:
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};
