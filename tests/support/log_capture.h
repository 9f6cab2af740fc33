// SPDX-License-Identifier: MIT
// What dmon_log prints while the object lives, without time stamps.
#pragma once

#include <string>

// What an open file holds.
std::string wholeFile(int file);

// The messages of a log, without what dmon_log puts in front of each.
std::string withoutStamps(const std::string &log);

class LogCapture {
public:
    // Lets messages up to `level` through.
    explicit LogCapture(int level = 1);
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture();

    // The messages so far, a line each, as the code logged them.
    [[nodiscard]] std::string text() const;

private:
    int savedStderr_;
    int savedLevel_;
    int file_;
};
