// SPDX-License-Identifier: MIT
// Opens files that somebody else may have put there: never waits for a writer of a FIFO.
#pragma once

#include "base/guards.h"

// Opens a regular file for reading. -1, with errno set, for anything else: EISDIR for a folder,
// ENOTSUP for a FIFO or a device.
DescriptorGuard openRegular(const char *path);

// The same as a stream; null, with errno set.
FileGuard openForReading(const char *path);
