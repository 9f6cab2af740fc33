// SPDX-License-Identifier: MIT
// Sockets are watched edge-triggered: the kernel then lists a socket again only for new bytes,
// behind those that came before, which gives the order of arrival, and a client costs no system
// call but its reads and sends.
#include "nx/loop.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include "base/clock.h"
#include "dmon/dmon.h"

namespace {

constexpr std::int64_t MESSAGE_MS = 30000;      // a message arrives within this
constexpr std::int64_t SILENCE_MS = 30000;      // after this a client may have to give way
constexpr std::int64_t ACCEPT_PAUSE_MS = 1000;  // without descriptors, wait this long

constexpr int BACKLOG = 128;
constexpr int EVENTS_A_TURN = 64;
constexpr int NEWCOMERS_A_TURN = 16;

// The kernel's part of the replies that a client has not taken. Its default grows to megabytes a
// client, which makes no reply faster.
constexpr int SEND_BUFFER = 64 * 1024;

int watch(const NxLoop *loop, int fd, void *who) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;
    if (who != nullptr) event.events |= EPOLLOUT | EPOLLRDHUP;
    event.data.ptr = who;
    return epoll_ctl(loop->epoll, EPOLL_CTL_ADD, fd, &event);
}

// A place or descriptor is free again: newcomers are worth another look.
void dropClient(NxLoop *loop, NxClient *client, NxFate why) {
    dmon_log(why == NX_GONE ? 3 : 2, "Client %d closed: %s.\n", client->fd, why);
    closeClient(client);
    loop->outOfDescriptors = false;
}

void serve(NxLoop *loop, NxClient *client) {
    const NxFate fate = serveClient(client, loop->callback, loop->clock);
    if (fate != NX_KEEP) dropClient(loop, client, fate);
}

void onClientEvent(NxLoop *loop, NxClient *client, std::uint32_t events) {
    if (client->fd < 0) return;
    if ((events & EPOLLOUT) != 0) {
        const NxFate fate = flushClient(client);
        if (fate != NX_KEEP) return dropClient(loop, client, fate);
    }
    if ((events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0) client->hungUp = true;
    if ((events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0 && !client->inputEnded) {
        serve(loop, client);
    }
}

// ---- newcomers ----

NxClient *findFreePlace(const NxLoop *loop) {
    NxClient *end = loop->clients + loop->places;
    NxClient *place = std::find_if(loop->clients, end, [](auto &client) { return client.fd < 0; });
    return place == end ? nullptr : place;
}

// While a long request is handled, bytes of other clients wait in their sockets.
bool hasUnreadBytes(const NxClient *client) {
    char byte = 0;
    return recv(client->fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

// Makes the client give way that has been silent longest, if it has been for long enough.
NxClient *clearSilentPlace(NxLoop *loop, std::int64_t now) {
    NxClient *silent = nullptr;
    for (std::int32_t i = 0; i < loop->places; ++i) {
        NxClient *client = &loop->clients[i];
        if (now - client->heardAt <= SILENCE_MS || hasUnreadBytes(client)) continue;
        if (silent == nullptr || client->heardAt < silent->heardAt) silent = client;
    }
    if (silent != nullptr) dropClient(loop, silent, "it was silent and a new one came");
    return silent;
}

// Tells a newcomer that all places are taken.
void refuse(int fd) {
    PktMessage message{};
    pktInitFull(&message, 0, NX_REFUSED, 0);
    std::uint8_t bytes[PKT_HEADER_SIZE];
    pktEncodeHeader(&message, bytes);
    static_cast<void>(send(fd, bytes, sizeof bytes, MSG_NOSIGNAL));
    // Closing over unread bytes would reset the connection, perhaps before the message is read.
    shutdown(fd, SHUT_WR);
    char unread[4096];
    static_cast<void>(recv(fd, unread, sizeof unread, MSG_DONTWAIT));
    close(fd);
    dmon_log(2, "Client %d refused: all places are taken.\n", fd);
}

void welcome(NxLoop *loop, int fd) {
    const std::int64_t now = loop->clock();
    NxClient *place = findFreePlace(loop);
    if (place == nullptr) place = clearSilentPlace(loop, now);
    if (place == nullptr) return refuse(fd);
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER, sizeof SEND_BUFFER);
    openClient(place, fd, now);
    if (watch(loop, fd, place) != 0) dropClient(loop, place, "it cannot be watched");
}

// Only these two kinds of failure end the round. A connection that broke before it was taken is its
// client's affair; of anything else more is to come if it is tried again at once.
void onAcceptFailure(NxLoop *loop) {
    if (errno == EAGAIN || errno == EWOULDBLOCK) {
        loop->newcomers = false;
    } else if (errno != EINTR && errno != ECONNABORTED && errno != EPROTO) {
        if (!loop->outOfDescriptors && loop->acceptAgainAt == 0) {
            dmon_log(1, "Warning: no more clients can be taken for now: %s.\n", nx_strerror(errno));
        }
        loop->outOfDescriptors = true;
        loop->acceptAgainAt = loop->clock() + ACCEPT_PAUSE_MS;
    }
}

// True when a client has left whose last bytes are still to be read. Its event may not have come
// yet, so it is marked for the next turn, which reads them and frees its place unless it is owed
// replies. Nothing can be sent behind an end, so there is an end to waiting for it.
bool isSomeoneLeaving(NxLoop *loop) {
    bool leaving = false;
    for (std::int32_t i = 0; i < loop->places; ++i) {
        NxClient *client = &loop->clients[i];
        if (client->inputEnded) continue;
        pollfd look = {client->fd, POLLRDHUP, 0};
        if (poll(&look, 1, 0) <= 0) continue;
        client->hungUp = true;
        client->readable = true;
        leaving = true;
    }
    return leaving;
}

void acceptNewcomers(NxLoop *loop) {
    if (loop->outOfDescriptors && loop->clock() < loop->acceptAgainAt) return;
    loop->outOfDescriptors = false;
    for (int i = 0; i < NEWCOMERS_A_TURN; ++i) {
        // Nobody is refused for the sake of a client that is gone: newcomers wait a turn.
        if (findFreePlace(loop) == nullptr && isSomeoneLeaving(loop)) return;
        const int fd = accept4(loop->listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd >= 0) {
            loop->acceptAgainAt = 0;
            welcome(loop, fd);
        } else {
            onAcceptFailure(loop);
            if (!loop->newcomers || loop->outOfDescriptors) return;
        }
    }
}

// ---- time ----

bool isUnfinished(const NxClient *client) {
    return client->fd >= 0 && client->inLength > 0 && !client->inputEnded;
}

void closeLateMessages(NxLoop *loop) {
    const std::int64_t now = loop->clock();
    for (std::int32_t i = 0; i < loop->places; ++i) {
        NxClient *client = &loop->clients[i];
        if (!isUnfinished(client) || now - client->messageBegunAt <= MESSAGE_MS) continue;
        // The rest may have come while a long request was handled.
        serve(loop, client);
        if (isUnfinished(client) && now - client->messageBegunAt > MESSAGE_MS) {
            dropClient(loop, client, "its message took too long");
        }
    }
}

// How long the turn may wait: not at all while there is work left over, without limit when nothing
// is under way, so that an idle server never wakes up.
int waitMs(const NxLoop *loop, int maxWaitMs) {
    std::int64_t until = INT64_MAX;
    if (loop->newcomers) {
        if (!loop->outOfDescriptors) return 0;
        until = loop->acceptAgainAt;
    }
    for (std::int32_t i = 0; i < loop->places; ++i) {
        const NxClient *client = &loop->clients[i];
        if (client->fd >= 0 && client->readable) return 0;
        if (isUnfinished(client)) {
            until = std::min(until, client->messageBegunAt + MESSAGE_MS + 1);
        }
    }
    if (until == INT64_MAX) return maxWaitMs;
    const std::int64_t left = std::max<std::int64_t>(until - loop->clock(), 0);
    return maxWaitMs < 0 ? static_cast<int>(left)
                         : static_cast<int>(std::min<std::int64_t>(left, maxWaitMs));
}

// ---- set-up ----

int openListener(NxLoop *loop, const sockaddr *address, socklen_t size) {
    loop->listener = socket(address->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (loop->listener < 0) return errno;
    const int on = 1;
    setsockopt(loop->listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(loop->listener, address, size) != 0) return errno;
    return listen(loop->listener, BACKLOG) == 0 ? 0 : errno;
}

int openEpoll(NxLoop *loop) {
    loop->epoll = epoll_create1(EPOLL_CLOEXEC);
    if (loop->epoll < 0) return errno;
    return watch(loop, loop->listener, nullptr) == 0 ? 0 : errno;
}

}  // namespace

int loopOpen(NxLoop *loop, const sockaddr *address, socklen_t size, std::int32_t places,
             NxCallback callback) {
    *loop = NxLoop{};
    loop->listener = -1;
    loop->epoll = -1;
    loop->callback = callback;
    loop->clock = monotonicMs;
    if (places < 1 || places > NX_PLACES_MAX || callback == nullptr) return EINVAL;
    int code = openListener(loop, address, size);
    if (code == 0) code = openEpoll(loop);
    if (code == 0) {
        loop->clients = static_cast<NxClient *>(
            std::calloc(static_cast<std::size_t>(places), sizeof(NxClient)));
        if (loop->clients == nullptr) code = ENOMEM;
    }
    if (code != 0) {
        loopClose(loop);
        return code;
    }
    loop->places = places;
    for (std::int32_t i = 0; i < places; ++i) loop->clients[i].fd = -1;
    return 0;
}

void loopClose(NxLoop *loop) {
    const std::int32_t places = loop->clients != nullptr ? loop->places : 0;
    for (std::int32_t i = 0; i < places; ++i) {
        if (loop->clients[i].fd >= 0) closeClient(&loop->clients[i]);
    }
    if (loop->listener >= 0) close(loop->listener);
    if (loop->epoll >= 0) close(loop->epoll);
    std::free(loop->clients);
    *loop = NxLoop{};
}

int loopTurn(NxLoop *loop, int maxWaitMs) {
    epoll_event events[EVENTS_A_TURN];
    const int count = epoll_wait(loop->epoll, events, EVENTS_A_TURN, waitMs(loop, maxWaitMs));
    if (count < 0) return errno == EINTR ? 0 : errno;
    // Work left over from the last turn comes after what arrived since: one busy client is not to
    // hold up the others.
    bool left[NX_PLACES_MAX];
    for (std::int32_t i = 0; i < loop->places; ++i) {
        left[i] = loop->clients[i].fd >= 0 && loop->clients[i].readable;
    }
    for (int i = 0; i < count; ++i) {
        auto *client = static_cast<NxClient *>(events[i].data.ptr);
        if (client == nullptr) {
            loop->newcomers = true;
            continue;
        }
        left[client - loop->clients] = false;
        onClientEvent(loop, client, events[i].events);
    }
    for (std::int32_t i = 0; i < loop->places; ++i) {
        if (left[i] && loop->clients[i].fd >= 0) serve(loop, &loop->clients[i]);
    }
    if (loop->newcomers) acceptNewcomers(loop);
    closeLateMessages(loop);
    return 0;
}

std::uint16_t loopPort(const NxLoop *loop) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(loop->listener, reinterpret_cast<sockaddr *>(&address), &size) != 0) return 0;
    return ntohs(address.ss_family == AF_INET6
                     ? reinterpret_cast<const sockaddr_in6 *>(&address)->sin6_port
                     : reinterpret_cast<const sockaddr_in *>(&address)->sin_port);
}
