// SPDX-License-Identifier: MIT
// Drives the server's loop turn by turn, with a clock that the test sets, so nothing waits.
#include "nx/nx.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "nx/loop.h"
#include "support/log_capture.h"
#include "support/request_server.h"

namespace {

std::int64_t now;                     // milliseconds, as the server sees them
std::vector<std::int32_t> served;     // param1 of each request, in order
std::function<void()> duringRequest;  // happens once, while a request is handled

constexpr std::uint16_t ECHO = 1;   // the reply is the request
constexpr std::uint16_t LARGE = 3;  // the reply has param2 bytes of items

int callback(void *, void *, const PktMessage *request, PktMessage *reply) {
    served.push_back(request->param1);
    if (duringRequest) std::exchange(duringRequest, nullptr)();
    pktInitFull(reply, request->type, request->param1, request->param2);
    if (request->type == LARGE) {
        while (reply->length < static_cast<std::uint32_t>(request->param2)) pktPut16(reply, 1);
        return 0;
    }
    std::copy_n(request->payload, request->length, reply->payload);
    reply->length = request->length;
    return 0;
}

std::string message(std::uint16_t type, std::int32_t param1, std::int32_t param2 = 0,
                    const std::string &payload = "") {
    PktMessage message{};
    pktInitFull(&message, type, param1, param2);
    message.length = static_cast<std::uint32_t>(payload.size());
    std::string bytes(PKT_HEADER_SIZE, '\0');
    pktEncodeHeader(&message, reinterpret_cast<std::uint8_t *>(bytes.data()));
    return bytes + payload;
}

class Server : public RequestServer {
public:
    explicit Server(int places) : RequestServer(places, callback) {
        now = 1000;
        served.clear();
        loop.clock = [] { return now; };
    }

    // Turns until the condition holds, or for five seconds.
    bool runUntil(const std::function<bool()> &condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > end) return false;
            EXPECT_EQ(loopTurn(&loop, 10), 0);
        }
        return true;
    }
    [[nodiscard]] int clients() const {
        int count = 0;
        for (int i = 0; i < loop.places; ++i) count += loop.clients[i].fd >= 0;
        return count;
    }
};

class Peer {
public:
    explicit Peer(Server *server) : server_(server), fd_(connectLoopback(loopPort(&server->loop))) {
        fcntl(fd_, F_SETFL, O_NONBLOCK);
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer() { close(fd_); }

    // The number of bytes taken, or -1.
    ssize_t write(const std::string &bytes) const {
        return send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    void endSending() const { shutdown(fd_, SHUT_WR); }
    // Makes the end of this object reset the connection.
    void die() const {
        const linger off{1, 0};
        setsockopt(fd_, SOL_SOCKET, SO_LINGER, &off, sizeof off);
    }
    // What has come until there are `size` bytes or the server closed; "closed" is told by `ended`.
    std::string read(std::size_t size) {
        std::string bytes;
        EXPECT_TRUE(server_->runUntil([&] {
            std::string part(size - bytes.size(), '\0');
            const ssize_t got = recv(fd_, part.data(), part.size(), 0);
            ended = got == 0 || (got < 0 && errno != EAGAIN);
            if (got > 0) bytes += part.substr(0, static_cast<std::size_t>(got));
            return ended || bytes.size() == size;
        }));
        return bytes;
    }
    // True when the server serves this client.
    bool works() {
        const std::string request = message(ECHO, 99);
        return write(request) == 16 && read(16) == request;
    }
    bool isClosed() { return read(1).empty() && ended; }

    bool ended = false;

private:
    Server *server_;
    int fd_;
};

const std::string REFUSED = message(0, -1);

TEST(NxServer, ClosesAClientThatBreaksTheRulesAndNoOther) {
    std::string third = message(ECHO, 1);
    third[7] = 1;
    std::string tooLong = message(ECHO, 1);
    tooLong.replace(0, 4, "\0\1\0\1", 4);
    Server server(2);
    Peer other(&server);
    for (const std::string &bytes : {third, tooLong, std::string("GET / HTTP/1.1\r\n\r\n")}) {
        SCOPED_TRACE(bytes);
        Peer peer(&server);
        peer.write(message(ECHO, 7) + bytes);
        EXPECT_EQ(peer.read(16), message(ECHO, 7));  // owed from before
        EXPECT_TRUE(peer.isClosed());
        EXPECT_TRUE(other.works());
    }
}

TEST(NxServer, GivesAMessageThirtySecondsToArriveButNeverEndsASilentClient) {
    Server server(3);
    Peer silent(&server);
    Peer slow(&server);
    Peer lucky(&server);
    ASSERT_TRUE(silent.works() && slow.works() && lucky.works());
    const std::string request = message(ECHO, 1, 0, std::string(60, 'p'));
    const std::int64_t begun = now;
    for (std::int64_t second = 0; second <= 30; ++second) {  // a byte a second
        now = begun + second * 1000;
        slow.write(request.substr(static_cast<std::size_t>(second), 1));
        if (second == 0) lucky.write(request.substr(0, 1));
        ASSERT_TRUE(silent.works());
    }
    EXPECT_EQ(server.clients(), 3);
    duringRequest = [&] {  // the rest comes while the server is busy for long
        now = begun + 100000;
        lucky.write(request.substr(1) + request.substr(0, 1));
    };
    ASSERT_TRUE(silent.works());
    EXPECT_TRUE(slow.isClosed());
    EXPECT_EQ(lucky.read(request.size()), request);
    lucky.write(request.substr(1));  // this one began when the first was done
    EXPECT_EQ(lucky.read(request.size()), request);
    EXPECT_TRUE(silent.works());
}

TEST(NxServer, GivesThePlaceOfTheLongestSilentClientToANewOneOrRefusesIt) {
    Server server(2);
    auto first = std::make_unique<Peer>(&server);
    Peer second(&server);
    ASSERT_TRUE(first->works());
    now += 1;
    ASSERT_TRUE(second.works());
    now += 29999;
    Peer early(&server);
    early.write(message(ECHO, 1));
    EXPECT_EQ(early.read(17), REFUSED);
    now += 1;
    Peer third(&server);
    EXPECT_TRUE(third.works());
    EXPECT_TRUE(first->isClosed());
    EXPECT_TRUE(second.works());

    // Bytes that wait while the server is busy, and the time of that, count as no silence.
    duringRequest = [&] {
        now += 40000;
        second.write(message(ECHO, 8).substr(0, 8));
    };
    Peer late(&server);
    ASSERT_TRUE(third.works());
    EXPECT_EQ(late.read(17), REFUSED);
    second.write(message(ECHO, 8).substr(8));
    EXPECT_EQ(second.read(16), message(ECHO, 8));
}

TEST(NxServer, ClosesAClientThatDoesNotReadItsReplies) {
    Server server(2);
    Peer deaf(&server);
    Peer other(&server);
    ASSERT_TRUE(server.runUntil([&] { return server.clients() == 2; }));
    const std::string requests = message(LARGE, 1, 30000) + message(LARGE, 2, 30000);
    ASSERT_TRUE(server.runUntil([&] {
        deaf.write(requests);
        return server.clients() == 1;
    }));
    EXPECT_TRUE(other.works());
    EXPECT_LT(served.size(), 2000u);  // what waits in the system is bounded too
}

TEST(NxServer, OutlivesClientsThatDieAtAnyPoint) {
    Server server(2);
    Peer other(&server);
    const std::string request = message(LARGE, 1, 60000);
    for (const bool reset : {false, true}) {
        for (std::size_t length = 0; length <= request.size(); length += 4) {
            Peer peer(&server);
            peer.write(request.substr(0, length));
            ASSERT_TRUE(server.runUntil([&] { return server.clients() == 2; }));
            if (reset) peer.die();
        }
        ASSERT_TRUE(server.runUntil([&] { return server.clients() == 1; }));
        Peer during(&server);
        ASSERT_TRUE(during.works());
        during.die();
        duringRequest = [&] { during.endSending(); };
        during.write(request + request);
        ASSERT_TRUE(other.works());
    }
}

TEST(NxServer, PausesAcceptingWithoutDescriptorsAndServesOnWithoutSpinning) {
    Server server(10);
    auto first = std::make_unique<Peer>(&server);
    ASSERT_TRUE(first->works());
    Peer second(&server);
    ASSERT_TRUE(second.works());
    Peer waiting(&server);  // connected, as far as it knows
    waiting.write(message(ECHO, 5));

    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    LogCapture log;
    rlimit none = old;
    none.rlim_cur = 3;
    setrlimit(RLIMIT_NOFILE, &none);
    ASSERT_TRUE(server.runUntil([&] { return server.loop.outOfDescriptors; }));
    EXPECT_TRUE(first->works());
    const auto begun = std::chrono::steady_clock::now();
    loopTurn(&server.loop, 50);  // nothing to do: waits
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(50));
    now += 1000;  // tries again, in vain
    loopTurn(&server.loop, 0);
    EXPECT_TRUE(server.loop.outOfDescriptors);
    setrlimit(RLIMIT_NOFILE, &old);

    first.reset();  // a place is free: no need to wait for the timer
    EXPECT_EQ(waiting.read(16), message(ECHO, 5));
    EXPECT_EQ(log.text(), "Warning: no more clients can be taken for now: Too many open files.\n");
}

}  // namespace
