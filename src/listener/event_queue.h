// SPDX-License-Identifier: MIT
// The registry's queue on which application events and synchronisation responses arrive. The
// listener opens it before its threads start; the receiving thread alone opens it again.
#pragma once

#include <cstdint>

// Asks the registry for the queue, which makes it when there is none. False: not now.
bool openEventQueue();

// Has the application manager send its events there. False: not now.
bool subscribeToEvents();

// The queue's id, -1 before it was first opened. Any thread.
std::int32_t kelpQueueId();
