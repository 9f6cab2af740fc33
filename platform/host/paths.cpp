// SPDX-License-Identifier: MIT
#include "host/paths.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/stat.h>

int host::rootedPath(char (&path)[PATH_SIZE], const char *format, ...) {
    const char *variable = std::getenv("VORN_ROOT");
    std::string_view root = variable == nullptr ? "" : variable;
    while (root.ends_with('/')) root.remove_suffix(1);
    path[0] = '\0';
    if (root.size() >= PATH_SIZE) return ENAMETOOLONG;
    root.copy(path, root.size());

    const std::size_t room = PATH_SIZE - root.size();
    va_list arguments;
    va_start(arguments, format);
// The format is the caller's: the compiler checks it there, by the attribute in the header.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const int length = std::vsnprintf(path + root.size(), room, format, arguments);
#pragma GCC diagnostic pop
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < room) return 0;
    path[0] = '\0';
    return ENAMETOOLONG;
}

int host::checkFolder(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0) return errno;
    return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
}

int host::makeFolders(const char *path, mode_t mode) {
    char folder[PATH_SIZE];
    const std::size_t length = std::strlen(path);
    if (length >= sizeof folder) return ENAMETOOLONG;
    std::memcpy(folder, path, length + 1);
    for (char *end = folder; *end != '\0'; ++end) {
        if (*end != '/' || end == folder) continue;
        *end = '\0';
        if (mkdir(folder, mode) != 0 && errno != EEXIST) {
            // A folder above may be there without being writable, as on a read-only root.
            const int error = errno;
            if (checkFolder(folder) != 0) return error;
        }
        *end = '/';
    }
    return mkdir(folder, mode) == 0 ? 0 : checkFolder(folder);
}
