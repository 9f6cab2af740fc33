// SPDX-License-Identifier: MIT
// Text files that somebody wrote by hand: opening never waits, and what is no UTF-8 text is told
// from what is.
#pragma once

#include <string_view>

#include "host/guards.h"

namespace host {

// Opens a regular file for reading. -1, with errno set, for anything else: EISDIR for a folder,
// ENOTSUP for a FIFO or a device, which would keep the reader waiting.
DescriptorGuard openText(const char *path);

// True for well-formed UTF-8 without a NUL.
bool isText(std::string_view bytes);

}  // namespace host
