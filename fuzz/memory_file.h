// SPDX-License-Identifier: MIT
// A file in memory with a path of its own, for readers that open what they read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

class MemoryFile {
public:
    MemoryFile(const std::uint8_t *data, std::size_t size)
        : fd_(memfd_create("input", MFD_CLOEXEC)) {
        if (fd_ < 0 || write(fd_, data, size) != static_cast<ssize_t>(size)) std::abort();
        std::snprintf(path_, sizeof path_, "/proc/self/fd/%d", fd_);
    }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;
    ~MemoryFile() { close(fd_); }
    [[nodiscard]] const char *path() const { return path_; }

private:
    int fd_;
    char path_[32];
};
