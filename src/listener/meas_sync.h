// SPDX-License-Identifier: MIT
// The thread that receives the registry queue's messages and turns them into commands.
#pragma once

// The thread's body: blocks on the registry's queue until the process ends, and opens it again when
// it was removed. Touches nothing but its buffer, that queue and the command queue.
void *measSyncThread(void *);
