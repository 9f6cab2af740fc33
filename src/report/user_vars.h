// SPDX-License-Identifier: MIT
// The user variables: texts that clients and the saving of results set and that templates show.
#pragma once

#include <cstddef>

#include "vorn/plugin.h"

// The variables of the service; values are texts from malloc.
extern KvStore kv_urv;

// Makes kv_urv, once a process however often it is called, before anything else uses it. KV_OK.
int initUserVars();

// Stores a copy of a text under a name. KV_OK or kvReplace's code; KV_FULL also when there is no
// memory.
int setUserVar(KvStore *store, const char *name, const char *text);

// Copies a variable's text into `out`, cut to size - 1 characters, while the store is held, so that
// no other thread frees it meanwhile. False, and an empty text, when there is no such variable.
bool copyUserVar(KvStore *store, const char *name, char *out, std::size_t size);
