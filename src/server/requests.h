// SPDX-License-Identifier: MIT
// The requests of clients, a row each: what the service does with one, and how vornctl makes it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pktio/pktio.h"

enum RequestCode : std::uint16_t {
    REPLY_RESULT = 256,
#define VORN_REQUEST(name, code, ...) name = code,
#include "server/requests.def"
#undef VORN_REQUEST
};

// param1 of a REPLY_RESULT. Subscription requests add -1, a full command queue; a report's request
// adds generateReport's codes.
enum RequestResult : int {
    SRV_OK = 0,
    SRV_BAD_FIELD = -6,      // cannot be read, or names no file or subscription
    SRV_NOT_STORED = -7,     // no memory for a user variable or a subscription
    SRV_BAD_APP_COUNT = -8,  // below 0 or above 8 applications
    SRV_BAD_FORMAT = -19,    // no ReportFormat
    SRV_UNKNOWN_ID = -22,    // no such quota, or no FullAction
};

struct Request {
    RequestCode code;
    // Reads the request's fields in order, acts, logs at level 2 and makes the reply. Returns 0,
    // or, where it says so, a result for the server library instead of making a reply. Called on
    // the service thread, one at a time, and keeps no state.
    int (*handle)(const PktMessage *request, PktMessage *reply);
    const char *name;     // vornctl's subcommand
    const char *words;    // its words; requests.def tells their form
    const char *help;     // what it does
    const char *example;  // of the words
};

// In the order of vornctl's help.
extern const Request requestTable[];
extern const std::size_t requestCount;

// The row of a code, or null.
const Request *findRequest(unsigned code);
