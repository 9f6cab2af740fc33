// SPDX-License-Identifier: MIT
// Reading, answering and sending for one client. Every socket is non-blocking: what cannot be done
// at once is left for the turn in which the socket is ready again.
#include "nx/client.h"

#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

namespace {

// A reply waits for the rest of its batch, unless that takes longer than this.
constexpr std::int64_t BATCH_MS = 5;

constexpr NxFate BROKEN_HEADER = "broken message header";
constexpr NxFate NOT_READING = "it does not read its replies";

std::size_t waiting(const NxClient *client) {
    return client->outEnd - client->outStart;
}

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

// Reads once into the free part of `in`.
NxFate readOnce(NxClient *client, NxClock clock) {
    const std::size_t room = NX_MESSAGE_MAX - client->inLength;
    const ssize_t got = recv(client->fd, client->in + client->inLength, room, 0);
    if (got < 0) {
        if (errno == EINTR) return NX_KEEP;
        if (!wouldBlock()) return NX_GONE;
        client->readable = false;
        return NX_KEEP;
    }
    if (got == 0) {
        client->inputEnded = true;
        client->readable = false;
        return NX_KEEP;
    }
    client->heardAt = clock();
    if (client->inLength == 0) client->messageBegunAt = client->heardAt;
    client->inLength += static_cast<std::size_t>(got);
    // A short read emptied the socket; what comes later makes a new event.
    client->readable = client->hungUp || static_cast<std::size_t>(got) == room;
    return NX_KEEP;
}

// Makes room for a reply of any size behind the replies that wait.
NxFate makeRoom(NxClient *client) {
    if (waiting(client) >= NX_WAITING_MAX) {
        const NxFate fate = flushClient(client);
        if (fate != NX_KEEP) return fate;
    }
    if (sizeof client->out - client->outEnd < NX_MESSAGE_MAX) {
        std::memmove(client->out, client->out + client->outStart, waiting(client));
        client->outEnd = waiting(client);
        client->outStart = 0;
    }
    return NX_KEEP;
}

// Hands one request to the callback and puts the reply behind those that wait.
NxFate answer(NxClient *client, const PktMessage *request, NxCallback callback) {
    const NxFate fate = makeRoom(client);
    if (fate != NX_KEEP) return fate;
    std::uint8_t *place = client->out + client->outEnd;
    PktMessage reply{};
    reply.payload = place + PKT_HEADER_SIZE;
    reply.capacity = PKT_PAYLOAD_MAX;
    const int result = callback(nullptr, nullptr, request, &reply);
    if (result != 0) pktInitFull(&reply, 0, result, 0);
    pktEncodeHeader(&reply, place);
    client->outEnd += PKT_HEADER_SIZE + reply.length;
    return NX_KEEP;
}

// Answers the whole messages in `in`; `used` tells how many bytes they are.
NxFate answerAll(NxClient *client, NxCallback callback, NxClock clock, std::size_t *used) {
    std::int64_t sentAt = client->heardAt;
    while (client->inLength - *used >= PKT_HEADER_SIZE) {
        std::uint8_t *message = client->in + *used;
        PktMessage request{};
        if (pktDecodeHeader(&request, message) != PKT_OK) return BROKEN_HEADER;
        const std::size_t size = PKT_HEADER_SIZE + request.length;
        if (client->inLength - *used < size) return NX_KEEP;
        request.payload = message + PKT_HEADER_SIZE;
        request.capacity = request.length;
        NxFate fate = answer(client, &request, callback);
        client->heardAt = clock();
        if (fate == NX_KEEP && client->heardAt - sentAt > BATCH_MS) {
            fate = flushClient(client);
            sentAt = client->heardAt;
        }
        if (fate != NX_KEEP) return fate;
        *used += size;
    }
    return NX_KEEP;
}

}  // namespace

const NxFate NX_GONE = "it went away";

void openClient(NxClient *client, int fd, std::int64_t now) {
    client->fd = fd;
    client->readable = false;
    client->hungUp = false;
    client->inputEnded = false;
    client->heardAt = now;
    client->messageBegunAt = now;
    client->inLength = 0;
    client->outStart = 0;
    client->outEnd = 0;
}

void closeClient(NxClient *client) {
    close(client->fd);
    client->fd = -1;
}

NxFate serveClient(NxClient *client, NxCallback callback, NxClock clock) {
    NxFate fate = readOnce(client, clock);
    if (fate != NX_KEEP) return fate;
    std::size_t used = 0;
    fate = answerAll(client, callback, clock, &used);
    if (used > 0) {
        client->inLength -= used;
        std::memmove(client->in, client->in + used, client->inLength);
        client->messageBegunAt = client->heardAt;
    }
    const NxFate sent = flushClient(client);
    return fate != NX_KEEP ? fate : sent;
}

NxFate flushClient(NxClient *client) {
    while (waiting(client) > 0) {
        const ssize_t sent =
            send(client->fd, client->out + client->outStart, waiting(client), MSG_NOSIGNAL);
        if (sent >= 0) {
            client->outStart += static_cast<std::size_t>(sent);
        } else if (errno != EINTR) {
            if (!wouldBlock()) return NX_GONE;
            return waiting(client) < NX_WAITING_MAX ? NX_KEEP : NOT_READING;
        }
    }
    client->outStart = 0;
    client->outEnd = 0;
    return client->inputEnded ? NX_GONE : NX_KEEP;
}
