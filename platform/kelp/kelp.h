// SPDX-License-Identifier: MIT
// The inter-process registry: message queues by name.
#pragma once

#include <cstdint>

// 0 when the registry is ready.
int kelp_init();

// The id of the System V message queue of this name, made on first use; a negative number when it
// cannot be had. `flags` is 16.
std::int32_t kelp_get_queue(const char *name, int flags);
