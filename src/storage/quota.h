// SPDX-License-Identifier: MIT
// Limits on the number of stored files. One table of eight quotas serves the process. Every
// operation holds the table's mutex while it works and may be called from any thread.
#pragma once

#include <cstdint>
#include <iterator>

constexpr int QUOTA_SLOTS = 8;
constexpr int QUOTA_NAME_SIZE = 16;
constexpr int QUOTA_MAX_FILES = 65535;  // 16 bits are kept

// What a full quota does. The numbers are those of the request protocol.
enum FullAction : std::uint8_t {
    FULL_STOP = 0,   // refuse the new file
    FULL_BLOCK = 1,  // refuse it, and disable new measurements
    FULL_PURGE = 2,  // accept it, and delete the oldest
};
constexpr const char *fullActionWords[] = {"stop", "block", "purge"};
static_assert(std::size(fullActionWords) == FULL_PURGE + 1);

// Which files a quota counts. The numbers are those of the request protocol, not handles.
enum QuotaSubject : std::int32_t {
    QUOTA_RESULTS = 0,  // results files of every subscription
    QUOTA_REPORTS = 1,  // report files
};

enum QuotaResult : int {
    QUOTA_OK = 0,
    QUOTA_NONE = -1,  // no such handle, no free slot, or files that could not be deleted
};

enum QuotaAnswer : int { QUOTA_REFUSED = 0, QUOTA_ALLOWED = 1 };

// Deletes files until `keep` are left and returns the number left. Runs under the table's mutex: it
// must not call a quota operation.
using QuotaPurgeFn = int (*)(void *user, int keep);

// Returns the number of files now present. Runs under the table's mutex.
using QuotaCountFn = int (*)(void *user);

// Clears the table. Called once, before any other operation.
int quotaInit();

// Takes a free slot for a directory of at most `max` files.
//   purge, count  may be null: then nothing is deleted, or counted again
//   user          handed to both; stays the caller's, who keeps it until quotaRemove
// Returns the handle, 0 to 7, or QUOTA_NONE when all slots are in use.
int quotaInstall(std::uint16_t max, std::uint8_t action, QuotaPurgeFn purge, QuotaCountFn count,
                 void *user);

// All below return QUOTA_NONE for a handle that is out of range or not in use.
int quotaRemove(int handle);

// Set one of the limits and evaluate. For who changes one alone: what the service changes comes as
// both, and goes through quotaSetLimits.
int quotaSetMax(int handle, std::uint16_t max);
int quotaSetAction(int handle, std::uint8_t action);

// Sets both and evaluates once: files are never deleted for an action that is no more.
int quotaSetLimits(int handle, std::uint16_t max, std::uint8_t action);

// The count as last known, 0 to 65535.
int quotaGetCount(int handle);

// Counts the files again.
int quotaRefreshCount(int handle);

// Adds to the count, which never goes below 0.
int quotaAddCount(int handle, int delta);

// QUOTA_ALLOWED or QUOTA_REFUSED for `files` more files.
int quotaCheckBefore(int handle, int files);

// Deletes all files. QUOTA_NONE, after a message, when some are left.
int quotaDeleteAll(int handle);

// Switches evaluation (blocking and purging) of all eight slots on or off. QUOTA_OK.
int quotaEnableAll(int flag);

// Gives a quota the name by which people are told of it, cut to 15 characters.
int quotaSetName(int handle, const char *name);

// A slot as its last finished operation left it.
struct QuotaView {
    bool inUse;
    std::uint8_t action;  // FullAction
    std::uint16_t count;
    std::uint16_t max;
    char name[QUOTA_NAME_SIZE];
};

// Never waits for a quota that is being counted or purged.
//   handle  0 to 7
QuotaView quotaView(int handle);
