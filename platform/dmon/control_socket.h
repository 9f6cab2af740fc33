// SPDX-License-Identifier: MIT
// The control socket's place in the file system: made for one process at a time, and taken away
// again on every orderly end.
#pragma once

namespace dmon {

// Makes /run/tarix when it is missing and the socket in it, over one that a killed process left.
// Returns the listening descriptor, which does not block, or -1 after a line in the log, also when
// a living process answers on the socket.
int openControlSocket();

// Removes the socket unless another process has put its own there. May be called twice, from any
// thread and from a signal handler.
void removeControlSocket();

}  // namespace dmon
