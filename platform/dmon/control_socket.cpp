// SPDX-License-Identifier: MIT
#include "dmon/control_socket.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/fixed_places.h"
#include "base/folders.h"
#include "base/guards.h"
#include "base/root_path.h"
#include "dmon/dmon.h"

namespace {

constexpr int BACKLOG = 16;

// Written before `made`, and only read from then on: a signal handler may.
sockaddr_un address;
struct stat identity;
std::atomic<bool> made{false};
static_assert(std::atomic<bool>::is_always_lock_free);

int connectTo(const sockaddr_un &to) {
    const DescriptorGuard client(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (client.get() < 0) return errno;
    const auto *name = reinterpret_cast<const sockaddr *>(&to);
    return connect(client.get(), name, sizeof to) == 0 ? 0 : errno;
}

// Clears the way for the socket: 0 when nothing is there any more, EADDRINUSE when a process
// answers there, or another errno.
int removeLeftover() {
    struct stat status {};
    if (lstat(address.sun_path, &status) != 0) return errno == ENOENT ? 0 : errno;
    if (!S_ISSOCK(status.st_mode)) return EEXIST;
    const int answer = connectTo(address);
    // A process that lives but has no time for us has a full queue: EAGAIN.
    if (answer == 0 || answer == EAGAIN) return EADDRINUSE;
    if (answer != ECONNREFUSED) return answer;
    return unlink(address.sun_path) == 0 ? 0 : errno;
}

// Binds and listens in a folder that is there: 0 or the errno.
int listenAt(const char *folder, int listener) {
    // Two processes that start at once must not take each other's new socket for a left-over.
    const DescriptorGuard lock(open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (lock.get() < 0 || flock(lock.get(), LOCK_EX) != 0) return errno;
    if (const int error = removeLeftover(); error != 0) return error;
    const auto *name = reinterpret_cast<const sockaddr *>(&address);
    // The mode of the descriptor becomes the file's: no moment in which others could connect.
    if (fchmod(listener, 0600) != 0 || bind(listener, name, sizeof address) != 0) return errno;
    if (listen(listener, BACKLOG) == 0 && lstat(address.sun_path, &identity) == 0) return 0;
    const int error = errno;
    unlink(address.sun_path);
    return error;
}

// Makes folder and socket: 0 or the errno.
int makeSocket(const char *folder, const char *path, int listener) {
    if (listener < 0) return errno;
    if (const int error = makeFolders(folder, 0755); error != 0) return error;
    const std::size_t length = std::strlen(path);
    if (length >= sizeof address.sun_path) return ENAMETOOLONG;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length + 1);
    return listenAt(folder, listener);
}

}  // namespace

int dmon::openControlSocket() {
    char folder[ROOTED_PATH_SIZE];
    char path[ROOTED_PATH_SIZE];
    rootedPath(folder, "%s", RUN_FOLDER);
    int error = rootedPath(path, "%s", CONTROL_SOCKET);
    DescriptorGuard listener(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (error == 0) error = makeSocket(folder, path, listener.get());
    if (error == 0) {
        made.store(true);
        return listener.release();
    }
    if (error == EADDRINUSE)
        dmon_log(1, "Error: another process answers on control socket '%s'.\n", path);
    else
        dmon_log(1, "Error: cannot make control socket '%s': %s\n", path, std::strerror(error));
    return -1;
}

void dmon::removeControlSocket() {
    struct stat status {};
    if (made.load() && lstat(address.sun_path, &status) == 0 && status.st_dev == identity.st_dev &&
        status.st_ino == identity.st_ino)
        unlink(address.sun_path);
}
