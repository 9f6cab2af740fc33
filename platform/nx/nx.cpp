// SPDX-License-Identifier: MIT
// The library's face: address and port out of the environment, error texts, the endless loop.
#include "nx/nx.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/numbers.h"
#include "dmon/dmon.h"
#include "dmon/notify.h"
#include "nx/loop.h"

namespace {

// Positive codes are the system's (errno).
enum NxError : int {
    NX_BAD_ADDRESS = -1,
    NX_BAD_PORT = -2,
};

constexpr unsigned int BROKEN_PAUSE_S = 1;

struct Address {
    sockaddr_storage storage;
    socklen_t size;
    bool loopback;
};

// Takes a numeric address of either family. False for anything else.
bool parseAddress(const char *text, std::uint16_t port, Address *address) {
    *address = Address{};
    sockaddr_in v4{};
    if (inet_pton(AF_INET, text, &v4.sin_addr) == 1) {
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        std::memcpy(&address->storage, &v4, sizeof v4);
        address->size = sizeof v4;
        address->loopback = (ntohl(v4.sin_addr.s_addr) >> 24) == IN_LOOPBACKNET;
        return true;
    }
    sockaddr_in6 v6{};
    if (inet_pton(AF_INET6, text, &v6.sin6_addr) != 1) return false;
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    std::memcpy(&address->storage, &v6, sizeof v6);
    address->size = sizeof v6;
    address->loopback = IN6_IS_ADDR_LOOPBACK(&v6.sin6_addr);
    return true;
}

bool parsePort(const char *text, std::uint16_t *port) {
    std::uint64_t number = 0;
    if (parseDecimal(text, std::numeric_limits<std::uint16_t>::max(), &number) != NUMBER_OK)
        return false;
    *port = static_cast<std::uint16_t>(number);
    return true;
}

// What the environment says, or null when the variable is absent or empty.
const char *environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

}  // namespace

int nx_create_server(NxServer *server, const NxConfig *config) {
    *server = NxServer{};
    const char *bindTo = environment("NX_BIND");
    const char *portText = environment("NX_PORT");
    std::uint16_t port = config->port;
    if (portText != nullptr && !parsePort(portText, &port)) return NX_BAD_PORT;
    const char *where = bindTo != nullptr ? bindTo : "127.0.0.1";
    Address address{};
    if (!parseAddress(where, port, &address)) return NX_BAD_ADDRESS;

    HeapGuard<NxLoop> loop(static_cast<NxLoop *>(std::calloc(1, sizeof(NxLoop))));
    if (!loop) return ENOMEM;
    const int code = loopOpen(loop.get(), reinterpret_cast<const sockaddr *>(&address.storage),
                              address.size, config->connections, config->callback);
    if (code != 0) return code;
    if (bindTo != nullptr || portText != nullptr) {
        dmon_log(2, "Requests are taken on address %s, port %d.\n", where, loopPort(loop.get()));
    }
    if (!address.loopback) {
        dmon_log(1, "Warning: address %s is open to the network; requests need no password.\n",
                 where);
    }
    server->implementation = loop.release();
    return 0;
}

int nx_run_server(NxServer *server) {
    auto *loop = static_cast<NxLoop *>(server->implementation);
    if (loop == nullptr) return EINVAL;
    dmon::notifyReady();
    for (;;) {
        const int code = loopTurn(loop, dmon::feedWatchdog());
        if (code == 0) continue;
        sleep(BROKEN_PAUSE_S);  // callers run it again at once, for ever
        return code;
    }
}

int nx_server_port(const NxServer *server) {
    return loopPort(static_cast<const NxLoop *>(server->implementation));
}

const char *nx_strerror(int code) {
    thread_local char text[128];
    switch (code) {
        case NX_BAD_ADDRESS:
            return "NX_BIND is no numeric address";
        case NX_BAD_PORT:
            return "NX_PORT is no port number";
        default:
            return strerror_r(code, text, sizeof text);
    }
}
