// SPDX-License-Identifier: MIT
// Sockets are non-blocking and every wait ends at the caller's deadline, the connecting too.
#include "vornctl_client.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/guards.h"

namespace {

constexpr std::size_t ANSWER_MAX = 8192;

const Exchange DONE = {CTL_DONE, ""};

Exchange noConnection(const std::string &why) {
    return {CTL_NO_CONNECTION, why};
}

Exchange lost(int error) {
    return noConnection(std::string("the connection was lost: ") + std::strerror(error));
}

// Waits until the socket is ready, or until the deadline.
Exchange await(int fd, short events, Deadline deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd poller = {fd, events, 0};
        const auto wait = std::clamp<std::int64_t>(left.count(), 0, 1000000000);
        const int ready = poll(&poller, 1, static_cast<int>(wait));
        if (ready > 0) return DONE;
        if (ready == 0) return {CTL_TIMED_OUT, "no answer in time"};
        if (errno != EINTR) return lost(errno);
    }
}

Exchange connectTo(int fd, const sockaddr *address, socklen_t size, Deadline deadline) {
    if (connect(fd, address, size) == 0) return DONE;
    if (errno != EINPROGRESS && errno != EAGAIN) return noConnection(std::strerror(errno));
    Exchange waited = await(fd, POLLOUT, deadline);
    if (waited.status != CTL_DONE) return waited;
    int error = 0;
    socklen_t length = sizeof error;
    getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
    return error == 0 ? DONE : noConnection(std::strerror(error));
}

// Sends all bytes. A server that closes meanwhile may have said why: that is for the read to tell.
Exchange sendAll(int fd, std::string_view bytes, Deadline deadline) {
    while (!bytes.empty()) {
        const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno == EPIPE || errno == ECONNRESET) return DONE;
        if (errno != EAGAIN && errno != EINTR) return lost(errno);
        Exchange waited = await(fd, POLLOUT, deadline);
        if (waited.status != CTL_DONE) return waited;
    }
    return DONE;
}

// Reads what there is, at least a byte and at most `size`.
Exchange readSome(int fd, char *bytes, std::size_t size, Deadline deadline, std::size_t *got) {
    for (;;) {
        Exchange waited = await(fd, POLLIN, deadline);
        if (waited.status != CTL_DONE) return waited;
        const ssize_t count = recv(fd, bytes, size, 0);
        if (count == 0) return noConnection("the connection was closed without an answer");
        if (count > 0) {
            *got = static_cast<std::size_t>(count);
            return DONE;
        }
        if (errno != EAGAIN && errno != EINTR) return lost(errno);
    }
}

Exchange readAll(int fd, std::uint8_t *bytes, std::size_t size, Deadline deadline) {
    std::size_t done = 0;
    while (done < size) {
        std::size_t got = 0;
        Exchange read =
            readSome(fd, reinterpret_cast<char *>(bytes) + done, size - done, deadline, &got);
        if (read.status != CTL_DONE) return read;
        done += got;
    }
    return DONE;
}

Exchange talk(int fd, const Message &request, Message *reply, Deadline deadline) {
    std::string bytes(PKT_HEADER_SIZE, '\0');
    pktEncodeHeader(&request.packet, reinterpret_cast<std::uint8_t *>(bytes.data()));
    bytes.append(reinterpret_cast<const char *>(request.packet.payload), request.packet.length);
    Exchange step = sendAll(fd, bytes, deadline);
    if (step.status != CTL_DONE) return step;
    std::uint8_t header[PKT_HEADER_SIZE];
    step = readAll(fd, header, sizeof header, deadline);
    if (step.status != CTL_DONE) return step;
    if (pktDecodeHeader(&reply->packet, header) != PKT_OK) {
        return {CTL_REFUSED, "the answer is no reply of this protocol"};
    }
    return readAll(fd, reply->packet.payload, reply->packet.length, deadline);
}

struct AddressList {
    ~AddressList() {
        if (first != nullptr) freeaddrinfo(first);
    }
    addrinfo *first = nullptr;
};

}  // namespace

Message::Message(std::uint16_t type, std::int32_t param1, std::int32_t param2)
    : memory_(PKT_PAYLOAD_MAX) {
    packet.payload = memory_.data();
    packet.capacity = PKT_PAYLOAD_MAX;
    pktInitFull(&packet, type, param1, param2);
}

Exchange exchangeMessages(const std::string &host, const std::string &port, Deadline deadline,
                          const Message &request, Message *reply) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    AddressList addresses;
    const int code = getaddrinfo(host.c_str(), port.c_str(), &hints, &addresses.first);
    if (code != 0) return noConnection(gai_strerror(code));
    Exchange last = noConnection("no address");
    for (const addrinfo *address = addresses.first; address != nullptr;
         address = address->ai_next) {
        const DescriptorGuard fd(
            socket(address->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        last = connectTo(fd.get(), address->ai_addr, address->ai_addrlen, deadline);
        if (last.status != CTL_DONE) continue;
        const int on = 1;
        setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        return talk(fd.get(), request, reply, deadline);
    }
    return last;
}

Exchange exchangeLines(const std::string &path, Deadline deadline, const std::string &line,
                       std::string *answer) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return noConnection("the path is too long");
    path.copy(address.sun_path, path.size());
    const DescriptorGuard fd(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    Exchange step =
        connectTo(fd.get(), reinterpret_cast<sockaddr *>(&address), sizeof address, deadline);
    if (step.status == CTL_DONE) step = sendAll(fd.get(), line + "\n", deadline);
    answer->clear();
    while (step.status == CTL_DONE && answer->find('\n') == std::string::npos) {
        char part[512];
        std::size_t got = 0;
        step = readSome(fd.get(), part, sizeof part, deadline, &got);
        if (step.status == CTL_DONE) answer->append(part, got);
        if (answer->size() > ANSWER_MAX) return {CTL_REFUSED, "the answer is no line"};
    }
    answer->resize(std::min(answer->find('\n'), answer->size()));
    return step;
}
