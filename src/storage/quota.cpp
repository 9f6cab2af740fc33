// SPDX-License-Identifier: MIT
#include "storage/quota.h"

#include <algorithm>
#include <limits>

#include "base/guards.h"
#include "dmon/dmon.h"
#include "storage/meas_control.h"
#include "storage/strings.h"

namespace {

struct QuotaSlot {
    std::uint8_t inUse;
    std::uint8_t enabled;  // takes part in evaluation
    std::uint8_t action;   // FullAction
    std::uint16_t count;   // files counted or added
    std::uint16_t max;
    QuotaPurgeFn purgeFiles;
    QuotaCountFn countFiles;
    void *user;
    char name[QUOTA_NAME_SIZE]{};
};

// Guards the table and the measurement control's last value. Held while files are counted and
// deleted and while the application manager is told, so that what is told matches the counts.
pthread_mutex_t tableLock = PTHREAD_MUTEX_INITIALIZER;
QuotaSlot table[QUOTA_SLOTS];

// All below run under the lock.

// The slot of a handle, or null.
QuotaSlot *findSlot(int handle) {
    if (handle < 0 || handle >= QUOTA_SLOTS || table[handle].inUse == 0) return nullptr;
    return &table[handle];
}

// A count in its field's range: a folder of 65536 files is full, not empty.
std::uint16_t toCount(std::int64_t files) {
    constexpr std::int64_t MOST = std::numeric_limits<std::uint16_t>::max();
    return static_cast<std::uint16_t>(std::clamp<std::int64_t>(files, 0, MOST));
}

void purgeSurplus(int handle, QuotaSlot *slot) {
    slot->count = toCount(slot->purgeFiles(slot->user, slot->max));
    if (slot->count > slot->max)
        dmon_log(1, "Error: purge function #%d didn't leave %d files, but %d.\n", handle, slot->max,
                 slot->count);
}

// Brings the world in line with the table: deletes surplus files, and allows or forbids new
// measurements. Ends every operation that changes a slot.
void quotaEvaluate() {
    int full = 0;
    for (int handle = 0; handle < QUOTA_SLOTS; ++handle) {
        QuotaSlot *slot = &table[handle];
        if (slot->inUse == 0 || slot->enabled == 0) continue;
        if (slot->action == FULL_BLOCK && slot->count >= slot->max)
            ++full;
        else if (slot->action == FULL_PURGE && slot->count > slot->max &&
                 slot->purgeFiles != nullptr)
            purgeSurplus(handle, slot);
    }
    enableNewMeas(full == 0 ? 1 : 0);
}

// What may be looked at while the table is locked for long.
pthread_mutex_t viewLock = PTHREAD_MUTEX_INITIALIZER;
QuotaView views[QUOTA_SLOTS];

// Holds the table, and shows at the end what has become of it.
class TableGuard {
public:
    TableGuard() : lock_(lockMutex(&tableLock)) {}
    TableGuard(const TableGuard &) = delete;
    TableGuard &operator=(const TableGuard &) = delete;
    ~TableGuard() {
        const MutexGuard lock = lockMutex(&viewLock);
        for (int handle = 0; handle < QUOTA_SLOTS; ++handle) {
            const QuotaSlot &slot = table[handle];
            views[handle] = {slot.inUse != 0, slot.action, slot.count, slot.max, ""};
            copyPiece(views[handle].name, slot.name);
        }
    }

private:
    MutexGuard lock_;
};

}  // namespace

int quotaInit() {
    const TableGuard lock;
    std::fill(std::begin(table), std::end(table), QuotaSlot{});
    return QUOTA_OK;
}

int quotaInstall(std::uint16_t max, std::uint8_t action, QuotaPurgeFn purge, QuotaCountFn count,
                 void *user) {
    const TableGuard lock;
    QuotaSlot *slot = std::find_if(std::begin(table), std::end(table),
                                   [](const QuotaSlot &s) { return s.inUse == 0; });
    if (slot == std::end(table)) return QUOTA_NONE;
    *slot = {1, 1, action, 0, max, purge, count, user};
    if (count != nullptr) {
        slot->count = toCount(count(user));
        quotaEvaluate();
    }
    return static_cast<int>(slot - table);
}

int quotaRemove(int handle) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    slot->inUse = 0;
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaSetMax(int handle, std::uint16_t max) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    slot->max = max;
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaSetAction(int handle, std::uint8_t action) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    slot->action = action;
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaSetLimits(int handle, std::uint16_t max, std::uint8_t action) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    slot->max = max;
    slot->action = action;
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaGetCount(int handle) {
    const TableGuard lock;
    const QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    return slot->count;
}

int quotaRefreshCount(int handle) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    if (slot->countFiles != nullptr) {
        slot->count = toCount(slot->countFiles(slot->user));
        quotaEvaluate();
    }
    return QUOTA_OK;
}

int quotaAddCount(int handle, int delta) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    slot->count = toCount(std::int64_t{slot->count} + delta);
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaCheckBefore(int handle, int files) {
    const TableGuard lock;
    const QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    const bool tooMany = std::int64_t{slot->count} + files > slot->max;
    return tooMany && slot->action != FULL_PURGE ? QUOTA_REFUSED : QUOTA_ALLOWED;
}

int quotaDeleteAll(int handle) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr || slot->purgeFiles == nullptr) return QUOTA_NONE;
    slot->count = toCount(slot->purgeFiles(slot->user, 0));
    const bool filesLeft = slot->count != 0;
    if (filesLeft)
        dmon_log(1, "Error: purge function #%d didn't clean all files (%d left).\n", handle,
                 slot->count);
    quotaEvaluate();
    return filesLeft ? QUOTA_NONE : QUOTA_OK;
}

int quotaEnableAll(int flag) {
    const TableGuard lock;
    for (QuotaSlot &slot : table) slot.enabled = flag != 0 ? 1 : 0;
    quotaEvaluate();
    return QUOTA_OK;
}

int quotaSetName(int handle, const char *name) {
    const TableGuard lock;
    QuotaSlot *slot = findSlot(handle);
    if (slot == nullptr) return QUOTA_NONE;
    copyPiece(slot->name, name);
    return QUOTA_OK;
}

QuotaView quotaView(int handle) {
    const MutexGuard lock = lockMutex(&viewLock);
    return views[handle];
}
