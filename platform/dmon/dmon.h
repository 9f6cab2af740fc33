// SPDX-License-Identifier: MIT
// The daemon framework: runs the service's body, keeps its log, asks it for its status.
#pragma once

#include <cstddef>
#include <cstdint>

// Runs the service's body on the calling thread and returns what it returns.
using DmonBody = int (*)(int argc, char **argv);

// The callbacks that the framework may call from another thread while the body runs. Ten slots;
// those left null are never called. All return 0 for success, the status code apart.
struct DmonOps {
    void *reserved0;
    int (*setDebugLevel)(int level);
    int (*request2)(int argument);
    int (*statusCode)(int argument);
    int (*request4)(int argument);
    void *reserved5;
    int (*description)(int argument, char *buffer, int size);
    int (*statusText)(int argument, char *buffer, int size);
    void *reserved8;
    void *reserved9;
};
static_assert(sizeof(DmonOps) == 10 * sizeof(void *));

// Runs body(argc, argv) in the foreground; SIGTERM, SIGINT and the control socket's `stop` end the
// process with status 0. Returns the body's result, or -1 when the control socket cannot be had.
int dmon_run_daemon(DmonBody body, int argc, char **argv, const DmonOps *ops);

// Writes one line to standard error, in one write, when `level` is at most the debug level (1 until
// dmon_set_level or the framework says otherwise). The text's line end is taken off and control
// characters in it are shown as \xNN. Any thread.
[[gnu::format(printf, 2, 3)]] void dmon_log(int level, const char *format, ...);

// Sets the level up to which dmon_log prints; 0 is silent. Any thread.
void dmon_set_level(int level);

// ---- what the host's framework has besides; null where the instrument's takes its place ----

// Answers a word of the control socket with a line of at most size - 1 characters, at once: from
// the thread that serves the socket.
using DmonWordFn = void (*)(char *buffer, std::size_t size);

// Adds a word to those of the control socket, before the daemon runs; at most four. The word stays
// the caller's.
[[gnu::weak]] void dmon_add_word(const char *word, DmonWordFn answer);

// The latest line of level 1 that told an error, cut to fit, and when it was written, in seconds
// since 1970; 0 and "" when there was none. Any thread.
[[gnu::weak]] void dmon_last_error(char *text, std::size_t size, std::int64_t *seconds);

// The level that is set; lets a caller skip the making of a text that nobody reads. Any thread.
[[gnu::weak]] int dmon_level();
