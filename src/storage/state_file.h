// SPDX-License-Identifier: MIT
// The state file, the one thing that survives a restart: the next sequence number, opt_autoseq. It
// holds a magic number and the sequence number, each 4 bytes, big-endian. Bytes behind them do not
// count.
#pragma once

#include <cstdio>

constexpr char STATE_FILE[] = "/tarix/data/vorn/vorn.sav";

enum StateResult : int {
    STATE_OK = 0,
    STATE_NOT_SAVED = -10,  // the file cannot be created, opened or written
    STATE_FOREIGN = -20,    // the file is short, or not ours
};

// Writes the state file through to the disk, and makes its directory if need be. A process that
// dies meanwhile leaves the old or the new number. STATE_OK, or STATE_NOT_SAVED after a
// message; the number then lives on in memory, and the next save tries again. Any thread; the value
// is the one at the time of the write, so of two calls the later number stays.
int savePersistentData();

// Reads the state file into opt_autoseq. STATE_OK, also without a file (after a warning; the
// number keeps its default), or STATE_FOREIGN without a message.
int loadPersistentData();

// The same from an open file. STATE_OK or STATE_FOREIGN, and then nothing changes.
int readPersistentData(std::FILE *file);
