// SPDX-License-Identifier: MIT
// The directory that stands in front of every fixed absolute path: VORN_ROOT of the environment,
// empty on the instrument. Lets a test or a second instance live in a directory of its own.
#pragma once

#include <cstddef>

// The root, without a slash at its end; read once. Any thread.
const char *rootPath();

// Writes root and path into a buffer of `size` bytes; false when it was cut.
bool withRoot(char *out, std::size_t size, const char *path);
