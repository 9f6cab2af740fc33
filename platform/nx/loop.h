// SPDX-License-Identifier: MIT
// The request server's loop, a turn at a time: waits for sockets, serves the clients that are ready
// in the order in which they became so, then looks after newcomers and time limits.
#pragma once

#include <cstdint>

#include <sys/socket.h>

#include "nx/client.h"

constexpr std::int32_t NX_PLACES_MAX = 1024;

constexpr std::int32_t NX_REFUSED = -1;  // param1 for a client that found no place

struct NxLoop {
    int listener;
    int epoll;
    NxCallback callback;
    NxClock clock;
    std::int32_t places;
    NxClient *clients;  // `places` of them
    bool newcomers;     // the listener may hold connections
    bool outOfDescriptors;
    std::int64_t acceptAgainAt;  // when outOfDescriptors
};

// Binds, listens and takes the memory for all clients.
//   places  clients served at once, 1 to NX_PLACES_MAX
// Returns 0 or an errno code; then nothing is left behind.
int loopOpen(NxLoop *loop, const sockaddr *address, socklen_t size, std::int32_t places,
             NxCallback callback);

// Closes all sockets and releases the memory.
void loopClose(NxLoop *loop);

// Waits until something is to be done, but no longer than maxWaitMs (-1: without limit), and does
// it. Returns 0, or an errno code when waiting is impossible.
int loopTurn(NxLoop *loop, int maxWaitMs);

// The port that the server listens on.
std::uint16_t loopPort(const NxLoop *loop);
