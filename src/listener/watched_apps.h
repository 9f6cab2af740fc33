// SPDX-License-Identifier: MIT
// The applications that installed subscriptions name. For each that runs, the application manager
// keeps a change list, which has its synchronisations reported to the service. Only the
// configuration thread calls what stands here.
#pragma once

#include <cstdint>

#include "listener/commands.h"
#include "vorn/plugin.h"

struct AppEntry {
    std::int32_t refCount;    // installed subscriptions that name it
    std::int32_t handle;      // negative: the application does not run
    char name[APP_KEY_SIZE];  // the key in the table
    std::int32_t active;      // 1: the change list exists and measurements are enabled
    bool isUnknown;           // whether it runs could not be found out
};

enum WatchResult : int {
    WATCH_OK = 0,  // also when the measurements are disabled: then it is not active
    WATCH_NO_APP = -2,
    WATCH_REFUSED = -3,  // the manager made no change list
};

// Makes the empty table; KV_OK.
int initWatchedApps();
void freeWatchedApps();

// The entry with exactly this name, or null: one of a name longer than 8 characters is never found.
AppEntry *findWatchedApp(const char *name);

// Counts a subscription's interest in an application; the first has it watched.
void holdApp(const char *name);
// Takes that back; the last has it watched no more.
void releaseApp(const char *name);

// Has the manager make the change list, when the application runs and its measurements are enabled.
int watchApp(AppEntry *entry);

// Whether watching an application failed for a reason that may pass, and another try for all of
// these, once in WATCH_AGAIN_SECONDS however often it is called.
constexpr std::uint32_t WATCH_AGAIN_SECONDS = 5;
bool isAnyAppUnknown();
void watchUnknownApps();

// Has the manager send what it tells of all applications to the registry's queue as it is now.
void rewatchApps();
