// SPDX-License-Identifier: MIT
// Where the host platform's files live. VORN_ROOT of the environment stands in front of every fixed
// path, so that a test or a second instance has a world of its own.
#pragma once

#include <cstddef>

#include <sys/types.h>

namespace host {

// Room for any path of the platform, the NUL included.
constexpr std::size_t PATH_SIZE = 1024;

// Writes a path into a buffer: VORN_ROOT without the slashes at its end, then the text that the
// format gives. Returns 0, or ENAMETOOLONG: then `path` is empty. Any thread, as long as none
// changes the environment.
[[gnu::format(printf, 2, 3)]] int rootedPath(char (&path)[PATH_SIZE], const char *format, ...);

// Makes a folder and those above it; 0, also when it is there already, or the errno.
int makeFolders(const char *path, mode_t mode);

// 0 for a folder, ENOTDIR for anything else that is there, or the errno.
int checkFolder(const char *path);

}  // namespace host
