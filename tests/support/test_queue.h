// SPDX-License-Identifier: MIT
// A System V message queue of a test's own.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <sys/msg.h>

class TestQueue {
public:
    TestQueue() : id_(msgget(IPC_PRIVATE, IPC_CREAT | 0600)) {}
    TestQueue(const TestQueue &) = delete;
    TestQueue &operator=(const TestQueue &) = delete;
    ~TestQueue() { msgctl(id_, IPC_RMID, nullptr); }

    [[nodiscard]] std::int32_t id() const { return id_; }
    [[nodiscard]] bool exists() const {
        msqid_ds status{};
        return msgctl(id_, IPC_STAT, &status) == 0;
    }

    // Takes the next message: "event MASK NAME", "response NAME STATE", or "" when none waits.
    [[nodiscard]] std::string take() const {
        struct {
            long type;
            char bytes[256];
        } message{};
        const ssize_t size = msgrcv(id_, &message, sizeof message.bytes, 0, IPC_NOWAIT);
        if (size < 0) return "";
        if (message.type == 1 && size >= 5) {
            std::uint32_t mask = 0;
            std::memcpy(&mask, message.bytes, sizeof mask);
            return "event " + std::to_string(mask) + " " + (message.bytes + 4);
        }
        if (message.type == 2 && size >= 17)
            return "response " + std::string(message.bytes) + " " +
                   std::to_string(static_cast<unsigned char>(message.bytes[16]));
        return "unknown message";
    }

private:
    std::int32_t id_;
};
