// SPDX-License-Identifier: MIT
// The registry is a folder with a file a queue, which holds the queue's id in decimal. A file is
// replaced as a whole, so that who reads it never sees half an id.
#include "kelp/kelp.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include <sys/msg.h>
#include <unistd.h>

#include "base/fixed_places.h"
#include "base/folders.h"
#include "base/numbers.h"
#include "base/open_file.h"
#include "base/root_path.h"
#include "base/whole_file.h"
#include "base/words.h"
#include "dmon/dmon.h"

namespace {

// A name that stays within the folder and meets no part of a file in work.
bool isQueueName(std::string_view name) {
    return !name.empty() && !name.starts_with('.') && name.find('/') == std::string_view::npos;
}

// 0 when the queue is there, ENOENT when it is gone, or why it cannot be used.
int checkQueue(std::int32_t id) {
    msqid_ds status{};
    if (msgctl(id, IPC_STAT, &status) == 0) return 0;
    return errno == EINVAL || errno == EIDRM ? ENOENT : errno;
}

// Reads the id of a living queue from a registry file. 0; ENOENT when there is no file, no id in it
// or no such queue any more: then one may be made; another errno when the file cannot be read.
int findQueue(const char *path, std::int32_t *id) {
    const DescriptorGuard file = openRegular(path);
    if (file.get() < 0) return errno;
    char text[32];
    const ssize_t length = read(file.get(), text, sizeof text);
    if (length < 0) return errno;
    std::string_view word(text, static_cast<std::size_t>(length));
    if (word.ends_with('\n')) word.remove_suffix(1);
    std::uint64_t number = 0;
    constexpr std::uint64_t max = std::numeric_limits<std::int32_t>::max();
    if (parseUnsigned(trim(word), max, &number) != NUMBER_OK) return ENOENT;
    *id = static_cast<std::int32_t>(number);
    return checkQueue(*id);
}

// Makes a queue and its registry file; of several processes that try, the first does, and the
// others find what it made. 0 or the errno.
int makeQueue(const char *path, std::int32_t *id) {
    WholeFile file;
    if (const int error = file.begin(path, PART_WAIT); error != 0) return error;
    if (const int error = findQueue(path, id); error != ENOENT) return error;
    *id = msgget(IPC_PRIVATE, IPC_CREAT | 0600);
    if (*id < 0) return errno;
    std::fprintf(file.stream(), "%d\n", *id);
    const int error = file.commit(TARGET_REPLACED);
    if (error != 0) msgctl(*id, IPC_RMID, nullptr);
    return error;
}

}  // namespace

int kelp_init() {
    char path[ROOTED_PATH_SIZE];
    const int error = rootedPath(path, "%s", REGISTRY_FOLDER);
    return -(error != 0 ? error : checkFolder(path));
}

std::int32_t kelp_get_queue(const char *name, int /*flags*/) {
    char path[ROOTED_PATH_SIZE];
    std::int32_t id = -1;
    int error = EINVAL;
    if (isQueueName(name)) error = rootedPath(path, "%s/%s", REGISTRY_FOLDER, name);
    if (error == 0) error = findQueue(path, &id);
    if (error == ENOENT) error = makeQueue(path, &id);
    if (error == 0) return id;
    // Callers try again and again: the reason is for those who look for it.
    dmon_log(2, "Cannot get queue '%s' from the registry: %s\n", name, std::strerror(error));
    return -error;
}
