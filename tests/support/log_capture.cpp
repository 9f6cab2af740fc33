// SPDX-License-Identifier: MIT
#include "support/log_capture.h"

#include <sstream>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "dmon/dmon.h"

std::string wholeFile(int file) {
    std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
    if (pread(file, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) return {};
    return text;
}

std::string withoutStamps(const std::string &log) {
    std::istringstream lines(log);
    std::string messages;
    for (std::string line; std::getline(lines, line);) {
        // "2026-05-01T10:15:00.123Z 2 text"; what does not look so is passed on as it is.
        const bool stamped = line.size() >= 27 && line[10] == 'T' && line[23] == 'Z';
        messages += stamped ? line.substr(27) : line;
        messages += '\n';
    }
    return messages;
}

LogCapture::LogCapture(int level)
    : savedStderr_(dup(STDERR_FILENO)),
      savedLevel_(dmon_level()),
      file_(memfd_create("log", MFD_CLOEXEC)) {
    fcntl(file_, F_SETFL, O_APPEND);  // threads log side by side
    dup2(file_, STDERR_FILENO);
    dmon_set_level(level);
}

LogCapture::~LogCapture() {
    dmon_set_level(savedLevel_);
    dup2(savedStderr_, STDERR_FILENO);
    close(savedStderr_);
    close(file_);
}

std::string LogCapture::text() const {
    return withoutStamps(wholeFile(file_));
}
