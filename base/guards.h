// SPDX-License-Identifier: MIT
// Owners that release what they hold on every way out of a scope, a cancelled wait included.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <dirent.h>
#include <pthread.h>
#include <unistd.h>

struct FileCloser {
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};
using FileGuard = std::unique_ptr<std::FILE, FileCloser>;

// For blocks from malloc: what crosses a callback or a plug-in.
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
    [[nodiscard]] bool reserve(std::size_t need) {
        if (need <= size) return true;
        auto *grown = static_cast<char *>(std::realloc(bytes.get(), need));
        if (grown == nullptr) return false;
        static_cast<void>(bytes.release());
        bytes.reset(grown);
        size = need;
        return true;
    }
};

struct DirectoryCloser {
    void operator()(DIR *directory) const { static_cast<void>(closedir(directory)); }
};
using DirectoryGuard = std::unique_ptr<DIR, DirectoryCloser>;

struct MutexUnlocker {
    void operator()(pthread_mutex_t *mutex) const { pthread_mutex_unlock(mutex); }
};
using MutexGuard = std::unique_ptr<pthread_mutex_t, MutexUnlocker>;

[[nodiscard]] inline MutexGuard lockMutex(pthread_mutex_t *mutex) {
    pthread_mutex_lock(mutex);
    return MutexGuard(mutex);
}

// While one lives, the calling thread is not cancelled; then its former state holds again.
class CancellationOff {
public:
    CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former_); }
    CancellationOff(const CancellationOff &) = delete;
    CancellationOff &operator=(const CancellationOff &) = delete;
    ~CancellationOff() { pthread_setcancelstate(former_, nullptr); }

private:
    int former_ = PTHREAD_CANCEL_ENABLE;
};

// Locks for work that a cancelled thread may leave in the middle: no cancellation strikes between
// the lock and its guard, and from then on the guard unlocks.
[[nodiscard]] inline MutexGuard lockForWork(pthread_mutex_t *mutex) {
    const CancellationOff off;
    return lockMutex(mutex);
}

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

// Closes a written file; false when any write failed, which fclose alone does not tell.
[[nodiscard]] inline bool closeWritten(FileGuard *file) {
    std::FILE *stream = file->release();
    const bool failed = std::ferror(stream) != 0;
    return std::fclose(stream) == 0 && !failed;
}
