// SPDX-License-Identifier: MIT
#include "dmon/control_server.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "dmon/control_words.h"
#include "dmon/notify.h"

namespace {

using dmon::ControlServer;

constexpr int MAX_CLIENTS = 8;
constexpr int PAUSE = 1000;  // ms without accepting when the system has no descriptor left

struct Client {
    int fd;  // -1: a free place
    std::size_t used;
    std::uint64_t heard;  // when it last spoke, in counts of `clock`
    char line[256];
};

struct Server {
    ControlServer *control;
    Client clients[MAX_CLIENTS];
    std::uint64_t clock;
    bool pausing;
};

void closeClient(Client *client) {
    close(client->fd);
    client->fd = -1;
}

// False when the client does not read what it asked for.
bool answer(const Server *server, const Client *client, std::string_view line) {
    dmon::Reply reply;
    dmon::answerControlLine(server->control->ops, line, &reply);
    const std::string_view text = reply.text;
    const ssize_t sent = send(client->fd, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (reply.stop) server->control->onStop();
    return sent == static_cast<ssize_t>(text.size());
}

// Answers the lines that are complete; false when the client is to be closed.
bool answerLines(const Server *server, Client *client) {
    std::string_view rest(client->line, client->used);
    for (std::size_t end = 0; (end = rest.find('\n')) != std::string_view::npos;) {
        if (!answer(server, client, rest.substr(0, end))) return false;
        rest.remove_prefix(end + 1);
    }
    if (rest.size() == sizeof client->line) {
        answer(server, client, rest);  // no word is that long
        return false;
    }
    std::copy(rest.begin(), rest.end(), client->line);
    client->used = rest.size();
    return true;
}

// Reads once, so that a client that never stops talking does not keep the others waiting.
void serveClient(Server *server, Client *client) {
    const std::size_t room = sizeof client->line - client->used;
    const ssize_t got = recv(client->fd, client->line + client->used, room, MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
        // Its last line may lack the end.
        if (got == 0 && client->used > 0) answer(server, client, {client->line, client->used});
        closeClient(client);
        return;
    }
    client->used += static_cast<std::size_t>(got);
    client->heard = ++server->clock;
    if (!answerLines(server, client)) closeClient(client);
}

// The client that has been silent longest, null when there is none.
Client *longestSilent(Server *server) {
    Client *found = nullptr;
    for (Client &client : server->clients)
        if (client.fd >= 0 && (found == nullptr || client.heard < found->heard)) found = &client;
    return found;
}

// A free place, if need be that of the client that has been silent longest.
Client *placeForClient(Server *server) {
    for (Client &client : server->clients)
        if (client.fd < 0) return &client;
    Client *client = longestSilent(server);
    closeClient(client);
    return client;
}

// Gives a descriptor back to the system; false when there is none that we can spare.
bool freeDescriptor(Server *server) {
    if (server->control->spare >= 0) {
        close(server->control->spare);
        server->control->spare = -1;
        return true;
    }
    Client *client = longestSilent(server);
    if (client != nullptr) closeClient(client);
    return client != nullptr;
}

void acceptClient(Server *server) {
    const auto tryAccept = [server] {
        return accept4(server->control->listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    };
    const auto isOutOfDescriptors = [] { return errno == EMFILE || errno == ENFILE; };
    int fd = tryAccept();
    while (fd < 0 && isOutOfDescriptors() && freeDescriptor(server)) fd = tryAccept();
    if (fd < 0) {
        // Until somebody frees one the socket stays readable: poll would return at once.
        server->pausing = errno != EAGAIN;
        return;
    }
    Client *client = placeForClient(server);
    client->fd = fd;
    client->used = 0;
    client->heard = ++server->clock;
}

void *runServer(void *control) {
    Server server{};
    server.control = static_cast<ControlServer *>(control);
    for (Client &client : server.clients) client.fd = -1;

    for (;;) {
        if (server.control->spare < 0) server.control->spare = dup(server.control->wake);
        // No more entries than descriptors: the system refuses more than the process may open.
        pollfd ready[2 + MAX_CLIENTS];
        Client *waiting[2 + MAX_CLIENTS];
        nfds_t entries = 2;
        ready[0] = {server.control->wake, POLLIN, 0};
        ready[1] = {server.pausing ? -1 : server.control->listener, POLLIN, 0};
        for (Client &client : server.clients) {
            if (client.fd < 0) continue;
            waiting[entries] = &client;
            ready[entries++] = {client.fd, POLLIN, 0};
        }
        const int lookAgain = dmon::notifyStatus(server.control->ops);
        const int count = poll(ready, entries, server.pausing ? PAUSE : lookAgain);
        server.pausing = count < 0 && errno != EINTR;
        if (server.pausing) poll(nullptr, 0, PAUSE);
        if (count <= 0) continue;
        if (ready[0].revents != 0) break;
        for (nfds_t i = 2; i < entries; ++i)
            if (ready[i].revents != 0) serveClient(&server, waiting[i]);
        if (ready[1].revents != 0) acceptClient(&server);
    }

    for (const Client &client : server.clients)
        if (client.fd >= 0) close(client.fd);
    return nullptr;
}

void closeDescriptors(const ControlServer *server) {
    for (const int fd : {server->listener, server->wake, server->spare})
        if (fd >= 0) close(fd);
}

}  // namespace

int dmon::startControlServer(ControlServer *server, const DmonOps *ops, int listener,
                             void (*onStop)()) {
    // The spare is taken before the service runs, which may leave none.
    *server = {ops, listener, eventfd(0, EFD_CLOEXEC), -1, onStop, {}};
    int error = errno;
    if (server->wake >= 0) {
        server->spare = dup(server->wake);
        error = pthread_create(&server->thread, nullptr, runServer, server);
        if (error == 0) return 0;
    }
    closeDescriptors(server);
    return error;
}

void dmon::stopControlServer(ControlServer *server) {
    eventfd_write(server->wake, 1);
    pthread_join(server->thread, nullptr);
    closeDescriptors(server);
}
