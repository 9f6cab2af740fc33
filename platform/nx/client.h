// SPDX-License-Identifier: MIT
// One client of the request server: its socket, what has arrived of its messages, and the replies
// that it has not taken yet. The buffers are as large as the largest message, so nothing is
// allocated, and nothing can fail for want of memory, once the server runs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "nx/nx.h"
#include "pktio/wire.h"

constexpr std::size_t NX_MESSAGE_MAX = PKT_HEADER_SIZE + PKT_PAYLOAD_MAX;
constexpr std::size_t NX_WAITING_MAX = std::size_t{64} * 1024;  // bytes of replies not taken

// Milliseconds of a clock that never goes back; a pointer, so that tests need not wait.
using NxClock = std::int64_t (*)();

struct NxClient {
    int fd;                       // -1: the place is free
    bool readable;                // the socket may hold more than was read
    bool hungUp;                  // the client has ended its sending, perhaps behind unread bytes
    bool inputEnded;              // all it sent was read
    std::int64_t heardAt;         // time of its last byte or its last reply
    std::int64_t messageBegunAt;  // time of the first byte of an unfinished message
    std::size_t inLength;         // bytes of an unfinished message, at the start of `in`
    std::size_t outStart;         // replies wait in `out` from here ...
    std::size_t outEnd;           // ... to here
    std::uint8_t in[NX_MESSAGE_MAX];
    std::uint8_t out[NX_WAITING_MAX + NX_MESSAGE_MAX];
};

// What a client has become. Null while it is to be kept, else why it is to be closed.
using NxFate = const char *;

constexpr NxFate NX_KEEP = nullptr;
extern const NxFate NX_GONE;  // the client has left, as all do

// Takes a free place for a connected socket.
void openClient(NxClient *client, int fd, std::int64_t now);

// Closes the socket and frees the place.
void closeClient(NxClient *client);

// Reads once, answers every whole request that has arrived, and sends the replies.
NxFate serveClient(NxClient *client, NxCallback callback, NxClock clock);

// Sends what the socket takes of the replies that wait.
NxFate flushClient(NxClient *client);
