// SPDX-License-Identifier: MIT
// The client command server: serves the requests of clients on a TCP port.
#pragma once

#include <cstdint>

#include "pktio/pktio.h"

constexpr std::uint16_t SERVICE_PORT = 55000;  // unless NX_PORT says otherwise

// What the callback tells the server library; a handler that makes no reply adds its own result.
enum CallbackResult : int {
    CALLBACK_ANSWERED = 0,
    CALLBACK_UNKNOWN_CODE = 1,
    CALLBACK_NO_MESSAGE = 3,
};

// Makes the user variables and the server and serves clients on the calling thread. Returns -1 when
// the server cannot be made, and otherwise not at all.
int runVornServer();

// Answers one request; for the server library, whose two arguments are not used.
int serverRequestCallback(void *library1, void *library2, const PktMessage *request,
                          PktMessage *reply);
