// SPDX-License-Identifier: MIT
#include "base/folders.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/words.h"

int checkFolder(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0) return errno;
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

int syncFolderOf(const char *path) {
    char folder[PATH_MAX] = ".";
    std::string_view above = path;
    while (above.size() > 1 && above.ends_with('/')) above.remove_suffix(1);
    above = folderOf(above);
    if (above.size() >= sizeof folder) return ENAMETOOLONG;
    if (!above.empty()) folder[above.copy(folder, sizeof folder - 1)] = '\0';
    const DescriptorGuard fd(open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd.get() >= 0 && fsync(fd.get()) == 0 ? 0 : errno;
}

int makeFolder(const char *path, mode_t mode) {
    if (mkdir(path, mode) == 0) {
        const int error = syncFolderOf(path);
        if (error != 0) rmdir(path);  // or the next time it would pass for safely there
        return error;
    }
    // It may be there without its folder being writable, as on a read-only root.
    const int error = errno;
    return checkFolder(path) == 0 ? 0 : error;
}

int makeFolders(const char *path, mode_t mode) {
    char folder[PATH_MAX];
    const std::size_t length = std::strlen(path);
    if (length >= sizeof folder) return ENAMETOOLONG;
    std::memcpy(folder, path, length + 1);
    for (char *end = folder; *end != '\0'; ++end) {
        if (*end != '/' || end == folder) continue;
        *end = '\0';
        if (const int error = makeFolder(folder, mode); error != 0) return error;
        *end = '/';
    }
    return makeFolder(folder, mode);
}
