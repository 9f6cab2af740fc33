// SPDX-License-Identifier: MIT
// The inter-process registry: message queues by name. Any thread, any process.
#pragma once

#include <cstdint>

// 0 when the registry is ready, else a negative number: the caller may try again later.
int kelp_init();

// The id of the System V message queue of this name, made on first use and again when it is gone; a
// negative number when it cannot be had. The queue outlives the process. `flags` is 16.
std::int32_t kelp_get_queue(const char *name, int flags);
