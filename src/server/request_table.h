// SPDX-License-Identifier: MIT
// The requests, a row each: what the service does with one, and how vornctl makes it.
#pragma once

#include <cstddef>

#include "server/requests.h"

struct Request {
    RequestCode code;
    int (*handle)(const PktMessage *request, PktMessage *reply);
    const char *name;  // vornctl's subcommand
    // The subcommand's words with a blank between them: NAME is a text of the payload, "1:" and
    // "2:" in front mean param1 and param2, "a|b" one of these, "X..." one or more, brackets that
    // it may be left out.
    const char *words;
    const char *help;
    const char *example;  // words
};

// In the order of vornctl's help.
extern const Request requestTable[];
extern const std::size_t requestCount;

// The row of a code, or null.
const Request *findRequest(unsigned code);
