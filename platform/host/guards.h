// SPDX-License-Identifier: MIT
// Owners that release what they hold on every way out of a scope. The libraries stand beside the
// service, not on it, so they have their own.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <unistd.h>

namespace host {

struct FileCloser {
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};
using FileGuard = std::unique_ptr<std::FILE, FileCloser>;

struct HeapFreer {
    void operator()(void *block) const { std::free(block); }
};
template <class T>
using HeapGuard = std::unique_ptr<T, HeapFreer>;

// A block from malloc that grows; empty at first.
struct GrowingBlock {
    HeapGuard<char> bytes;
    std::size_t size = 0;

    // Makes room for `need` bytes and keeps what is there; false without memory.
    bool reserve(std::size_t need) {
        if (need <= size) return true;
        auto *grown = static_cast<char *>(std::realloc(bytes.get(), need));
        if (grown == nullptr) return false;
        static_cast<void>(bytes.release());
        bytes.reset(grown);
        size = need;
        return true;
    }
};

// A file descriptor that closes itself; -1 holds none.
class DescriptorGuard {
public:
    explicit DescriptorGuard(int descriptor = -1) : fd_(descriptor) {}
    DescriptorGuard(const DescriptorGuard &) = delete;
    DescriptorGuard &operator=(const DescriptorGuard &) = delete;
    DescriptorGuard(DescriptorGuard &&other) noexcept : fd_(other.release()) {}
    ~DescriptorGuard() { reset(); }

    [[nodiscard]] int get() const { return fd_; }
    // Gives the descriptor up to the caller.
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }
    // Closes what it holds and takes another.
    void reset(int descriptor = -1) {
        if (fd_ >= 0) close(fd_);
        fd_ = descriptor;
    }

private:
    int fd_;
};

}  // namespace host
