// SPDX-License-Identifier: MIT
// The real service beside the real simulator of an instrument, in a directory of their own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/program.h"
#include "support/temp_dir.h"

// Checks a condition every few milliseconds; false when it does not hold within ten seconds.
bool waitUntil(const std::function<bool()> &condition);

// Puts a message into a System V queue: a type and the bytes after it.
void sendMessage(int queueId, long type, const std::string &text);

// The bytes of a synchronisation response.
std::string syncResponse(const std::string &app, std::uint8_t state);

struct Answer {
    int type;
    std::int32_t param1;
    std::int32_t param2;
};

class ServiceRun {
public:
    // Makes the data directory and an empty configuration. The instrument comes with sim({"up"}).
    ServiceRun();
    ServiceRun(const ServiceRun &) = delete;
    ServiceRun &operator=(const ServiceRun &) = delete;
    // Kills a service that still runs and takes the instrument down.
    ~ServiceRun();

    TempDir root;  // VORN_ROOT

    void config(const std::string &text) const { root.write("etc/tarix/vorn.cfg", text); }
    void subscriptions(const std::string &text) const {
        root.write("etc/tarix/vorn/test.subs", text);
    }
    // An application in the manager's directory, as if it had been running for long.
    void app(const std::string &name, const std::string &startTime = "1700000000") const;

    // Runs tarix-sim, which must succeed; returns what it prints.
    std::string sim(const std::vector<std::string> &words) const;

    void start(const std::vector<std::string> &arguments = {"-D", "2"});
    // Starts it and waits until it serves clients.
    void startServing();
    [[nodiscard]] pid_t pid() const { return pid_; }
    // Waits for the end of the process; its exit status, or 128 and the signal that ended it.
    int wait();
    int stop();

    // The log of all starts so far, without time stamps.
    [[nodiscard]] std::string log() const;
    // Waits until the log holds a text `times` times.
    bool waitForLog(const std::string &text, int times = 1) const;
    [[nodiscard]] int countInLog(const std::string &text) const;

    // A connection to the control socket, the caller's; -1 when nobody listens.
    [[nodiscard]] int connectControl() const;
    // Sends lines, ends sending, and gives all that is answered; closes the connection.
    static std::string talk(int connection, const std::string &lines);
    // Asks on the control socket for one word; the answer without its end, empty when none comes.
    [[nodiscard]] std::string control(const std::string &word) const;

    // Sends a request over TCP. Payload items are texts.
    Answer request(std::uint16_t type, std::int32_t param1 = 0, std::int32_t param2 = 0,
                   const std::vector<std::string> &items = {}) const;

    // The registry's queue of the service.
    [[nodiscard]] int queueId() const;

    // The names in a directory below the root, in order, with a blank between them.
    [[nodiscard]] std::string files(const std::string &directory) const {
        return root.files(directory);
    }

    // Where it serves clients.
    [[nodiscard]] int port() const;

private:
    pid_t pid_ = -1;
    int log_;
};
