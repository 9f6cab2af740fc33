// SPDX-License-Identifier: MIT
// The two ways to a running service: a request over TCP, and a line over its control socket.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "pktio/pktio.h"
#include "pktio/wire.h"

// What became of an exchange; the numbers are vornctl's exit status.
enum CtlStatus : int {
    CTL_DONE = 0,
    CTL_REFUSED = 1,
    CTL_USAGE = 2,
    CTL_NO_CONNECTION = 3,
    CTL_TIMED_OUT = 4,
};

// A message with memory for the largest payload.
class Message {
public:
    explicit Message(std::uint16_t type = 0, std::int32_t param1 = 0, std::int32_t param2 = 0);
    Message(const Message &) = delete;
    Message &operator=(const Message &) = delete;

    PktMessage packet{};

private:
    std::vector<std::uint8_t> memory_;
};

// An answer, or why there is none.
struct Exchange {
    CtlStatus status;
    std::string trouble;  // for CTL_DONE empty
};

using Deadline = std::chrono::steady_clock::time_point;

// Sends a request to a server and waits for its reply.
Exchange exchangeMessages(const std::string &host, const std::string &port, Deadline deadline,
                          const Message &request, Message *reply);

// Sends a line to the control socket at `path` and waits for the line it answers.
Exchange exchangeLines(const std::string &path, Deadline deadline, const std::string &line,
                       std::string *answer);
