// SPDX-License-Identifier: MIT
// The thread that receives the registry queue's messages and turns them into commands.
#pragma once

// The thread's body: blocks on the queue kelpQueueId until the process ends. Touches nothing but
// its buffer and the command queue.
void *measSyncThread(void *);
