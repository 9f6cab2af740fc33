// SPDX-License-Identifier: MIT
// The TCP request server: takes messages from clients and hands them, one at a time, to a callback.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pktio/pktio.h"

// Answers one request, on the thread that runs the server. The two library arguments are null here.
//   request  valid during the call
//   reply    made with pktInitFull, then items; has room for 64 KiB of them
// Returns 0 to have the reply sent. Anything else sends a message of type 0 with the result as its
// param1 instead; the connection stays.
using NxCallback = int (*)(void *library1, void *library2, const PktMessage *request,
                           PktMessage *reply);

// What a server is made from. The fields without a meaning of ours are the library's.
struct NxConfig {
    char text[32];             // empty
    std::uint16_t port;        // TCP port to listen on
    std::int32_t connections;  // served at once
    std::int32_t setting40;
    std::int32_t setting44;
    void *setting48;
    void *setting52;
    void *setting56;
    NxCallback callback;
};
static_assert(offsetof(NxConfig, port) == 32 && offsetof(NxConfig, connections) == 36 &&
              offsetof(NxConfig, setting40) == 40 && offsetof(NxConfig, setting44) == 44 &&
              offsetof(NxConfig, setting48) == 48);
static_assert(sizeof(void *) != 4 ||
              (offsetof(NxConfig, callback) == 60 && sizeof(NxConfig) == 64));

// A server, opaque; it lives as long as the process.
struct NxServer {
    void *implementation;
    unsigned char reserved[96 - sizeof(void *)];
};
static_assert(sizeof(NxServer) == 96);

// Binds and listens, so a port in use fails here. The environment's NX_BIND (a numeric address,
// 127.0.0.1 when absent) and NX_PORT (0 to 65535; 0 lets the system choose) go before the record.
// Returns 0 or an error code for nx_strerror; then nothing is left behind.
int nx_create_server(NxServer *server, const NxConfig *config);

// Serves clients on the calling thread. Clients, whatever they do, and a want of descriptors do not
// end it; it returns an error code, after a second's pause, when the server itself is broken.
int nx_run_server(NxServer *server);

// The port that a server listens on. Null where the instrument's library takes the host's place.
[[gnu::weak]] int nx_server_port(const NxServer *server);

// The text of an error code; valid until the calling thread's next call.
const char *nx_strerror(int code);
