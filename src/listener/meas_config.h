// SPDX-License-Identifier: MIT
// The thread that handles the commands one at a time. It alone touches the installed subscriptions
// and the watched applications.
#pragma once

// The thread's body: waits for commands until the process ends.
void *measConfigThread(void *);
