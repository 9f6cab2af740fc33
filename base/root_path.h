// SPDX-License-Identifier: MIT
// The folder that stands in front of every fixed absolute path: VORN_ROOT of the environment, empty
// on the instrument. A test or a second instance lives in a folder of its own that way. The
// environment is read once. Any thread.
#pragma once

#include <cstddef>

// Room for any rooted path, the NUL included.
constexpr std::size_t ROOTED_PATH_SIZE = 1024;

// Writes the root and the text that the format gives. Returns 0, or ENAMETOOLONG: then `path` is
// empty. A root that is too long for one fixed path is so for all.
[[gnu::format(printf, 2, 3)]] int rootedPath(char (&path)[ROOTED_PATH_SIZE], const char *format,
                                             ...);
