// SPDX-License-Identifier: MIT
#include "listener/watched_apps.h"

#include <cstdlib>

#include <unistd.h>

#include "base/clock.h"
#include "base/guards.h"
#include "dmon/dmon.h"
#include "listener/apx_records.h"
#include "listener/event_queue.h"
#include "okra/okra.h"
#include "storage/strings.h"

namespace {

constexpr unsigned RETRY_SECONDS = 1;  // after a failure of the manager

KvStore appTable;  // application name -> AppEntry, from malloc

// What stands in the table for an application of a subscription.
struct AppKey {
    char text[APP_KEY_SIZE];

    explicit AppKey(const char *name) { copyPiece(text, name); }
};

int createChangeList(std::int32_t handle) {
    ChangeListRequest request{};
    request.kind = 2;
    copyPiece(request.listName, CHANGE_LIST_NAME);
    request.queueId = kelpQueueId();
    request.setting28 = 1;
    request.setting32 = 2;
    return APX_Create_Chg_List(handle, &request, sizeof request);
}

void unwatchApp(AppEntry *entry) {
    entry->active = 0;
    APX_Kill_Chg_List(entry->handle, CHANGE_LIST_NAME);
}

// Takes the application's handle; 0 when it runs and measures, else the manager's error code.
int lookUpApp(AppEntry *entry) {
    entry->handle = APX_Get_Handle(entry->name);
    TimeRecord time{};
    return entry->handle < 0 ? entry->handle : APX_Get_Time_Info(entry->handle, 0, &time);
}

bool isFailure(int state) {
    return state != 0 && state != APX_NOT_RUNNING && state != APX_DISABLED;
}

// A new entry in the table, watched when the application runs; null without memory.
AppEntry *addWatchedApp(const AppKey &key) {
    HeapGuard<AppEntry> entry(static_cast<AppEntry *>(std::calloc(1, sizeof(AppEntry))));
    if (!entry) return nullptr;
    copyPiece(entry->name, key.text);
    if (kvAdd(&appTable, entry->name, entry.get()) != KV_OK) return nullptr;
    watchApp(entry.get());
    return entry.release();
}

// The change list that is there names the queue that was removed.
std::int32_t rewatchApp(const char *, void *value, void *) {
    auto *entry = static_cast<AppEntry *>(value);
    if (entry->handle >= 0) APX_Kill_Chg_List(entry->handle, CHANGE_LIST_NAME);
    watchApp(entry);
    return KV_NO_MATCH;
}

std::int32_t isUnknown(const char *, void *value, void *) {
    return static_cast<const AppEntry *>(value)->isUnknown ? KV_MATCH_STOP : KV_NO_MATCH;
}

// Quietly, as long as it cannot be found out.
std::int32_t watchUnknown(const char *, void *value, void *) {
    auto *entry = static_cast<AppEntry *>(value);
    if (entry->isUnknown && !isFailure(lookUpApp(entry))) watchApp(entry);
    return KV_NO_MATCH;
}

}  // namespace

int initWatchedApps() {
    return kvInit(&appTable, 0, nullptr);
}

void freeWatchedApps() {
    kvFree(&appTable);
}

AppEntry *findWatchedApp(const char *name) {
    return static_cast<AppEntry *>(kvGet(&appTable, name));
}

void holdApp(const char *name) {
    const AppKey key(name);
    AppEntry *entry = findWatchedApp(key.text);
    if (entry == nullptr) entry = addWatchedApp(key);
    if (entry == nullptr) {
        dmon_log(1, "Error: no memory to watch application '%s'.\n", name);
        return;
    }
    ++entry->refCount;
}

void releaseApp(const char *name) {
    const AppKey key(name);
    AppEntry *entry = findWatchedApp(key.text);
    if (entry == nullptr) return;
    if (entry->refCount > 0) --entry->refCount;
    if (entry->refCount > 0) return;
    unwatchApp(entry);
    kvDel(&appTable, key.text);
}

int watchApp(AppEntry *entry) {
    int state = lookUpApp(entry);
    if (isFailure(state)) {
        sleep(RETRY_SECONDS);
        state = lookUpApp(entry);
    }
    entry->isUnknown = isFailure(state);
    if (entry->isUnknown)
        dmon_log(1, "Error: could not look up application '%s': %s. Retrying...\n", entry->name,
                 APX_Error(state));
    if (entry->handle < 0) {
        dmon_log(2, "Application '%s' not found. Subscription delayed.\n", entry->name);
        return WATCH_NO_APP;
    }
    if (state != 0) {
        entry->active = 0;
        dmon_log(2, "Application '%s' has measurements disabled. Ignored.\n", entry->name);
        return WATCH_OK;
    }
    int error = createChangeList(entry->handle);
    if (error != 0) {
        // A list of ours may be left over from a process that was killed.
        APX_Kill_Chg_List(entry->handle, CHANGE_LIST_NAME);
        sleep(RETRY_SECONDS);
        error = createChangeList(entry->handle);
    }
    if (error != 0) {
        dmon_log(1, "Could not subscribe to changes in app '%s': %s.\n", entry->name,
                 APX_Error(error));
        return WATCH_REFUSED;
    }
    entry->active = 1;
    dmon_log(2, "Created sync change list on app '%s'.\n", entry->name);
    return WATCH_OK;
}

bool isAnyAppUnknown() {
    return kvCondGet(&appTable, isUnknown, nullptr) != nullptr;
}

void watchUnknownApps() {
    static std::int64_t last = 0;
    const std::int64_t now = monotonicMs();
    if (last != 0 && now - last < std::int64_t{WATCH_AGAIN_SECONDS} * 1000) return;
    last = now;
    kvIterate(&appTable, watchUnknown, nullptr);
}

void rewatchApps() {
    kvIterate(&appTable, rewatchApp, nullptr);
}
