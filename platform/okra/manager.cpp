// SPDX-License-Identifier: MIT
// What the service asks the running manager for: events, handles, times and change lists.
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <pthread.h>
#include <unistd.h>

#include "base/root_path.h"
#include "okra/manager_files.h"
#include "okra/okra.h"
#include "okra/okra_error.h"
#include "okra/records.h"

namespace {

// ---- handles ----

// A handle is a place in the table and the number of the name that it was given out for, so that
// one of a name long gone finds nothing, whoever has the place now.
struct HandleSlot {
    char name[OKRA_APP_NAME_MAX + 1];  // empty: free
    std::int32_t round;
};
constexpr std::int32_t SLOTS = 512;
constexpr std::int32_t ROUNDS = INT32_MAX / SLOTS;

HandleSlot slots[SLOTS];
pthread_mutex_t slotsLock = PTHREAD_MUTEX_INITIALIZER;

// The place of a name, or -1; an empty name finds a free place.
std::int32_t findSlot(const char *name) {
    for (std::int32_t i = 0; i < SLOTS; ++i)
        if (std::strcmp(slots[i].name, name) == 0) return i;
    return -1;
}

// Frees the places of applications that do not run any more.
void sweepSlots() {
    char path[ROOTED_PATH_SIZE];
    for (HandleSlot &slot : slots) {
        if (okraFindApp(slot.name, path) != OKRA_NOT_RUNNING) continue;
        slot.name[0] = '\0';
        slot.round = (slot.round + 1) % ROUNDS;
    }
}

// The running application of a handle: its name, and the path of its state.
int findByHandle(std::int32_t handle, char (&name)[OKRA_APP_NAME_MAX + 1],
                 char (&path)[ROOTED_PATH_SIZE]) {
    name[0] = '\0';
    if (handle >= 0) {
        const MutexGuard lock = lockMutex(&slotsLock);
        const HandleSlot &slot = slots[handle % SLOTS];
        if (slot.round == handle / SLOTS) std::memcpy(name, slot.name, sizeof name);
    }
    return okraFindApp(name, path);
}

// ---- change lists ----

// In a change-list request.
constexpr std::size_t LIST_NAME = 1;
constexpr std::size_t LIST_QUEUE = 24;
constexpr std::int32_t LIST_REQUEST_MIN = 40;

// Writes the path of a running application's change list.
int listPath(std::int32_t handle, const char *list, char (&path)[ROOTED_PATH_SIZE]) {
    char app[OKRA_APP_NAME_MAX + 1];
    const int found = findByHandle(handle, app, path);
    if (found != OKRA_OK) return found;
    if (!okraIsName(list, OKRA_LIST_NAME_MAX))
        return okraFail(OKRA_BAD_REQUEST, "bad name of a change list");
    char name[sizeof app + OKRA_LIST_NAME_MAX + 1];
    std::snprintf(name, sizeof name, "%s/%s", app, list);
    return okraPath(path, "changes", name);
}

}  // namespace

int APX_Open_Manager() {
    return okraCheckReady();
}

int APX_Subscribe_Events(std::int32_t queueId, std::int32_t kind, std::uint32_t mask) {
    if (kind != 1 || mask != 0xFFFFFFFFu)
        return okraFail(OKRA_BAD_REQUEST, "only all events of kind 1 can be had");
    if (!okraQueueExists(queueId))
        return okraFail(OKRA_BAD_REQUEST, "queue %" PRId32 " does not exist", queueId);
    DescriptorGuard lock;
    int result = okraLock(&lock);
    std::int32_t ids[OKRA_SUBSCRIBERS_MAX];
    std::size_t count = 0;
    if (result == OKRA_OK) result = okraReadSubscribers(ids, &count);
    if (result != OKRA_OK) return result;
    for (std::size_t i = 0; i < count; ++i)
        if (ids[i] == queueId) return OKRA_OK;
    if (count == OKRA_SUBSCRIBERS_MAX) return okraFail(OKRA_FILE_ERROR, "too many subscribers");
    ids[count++] = queueId;
    return okraWriteSubscribers(ids, count);
}

std::int32_t APX_Get_Handle(const char *name) {
    char path[ROOTED_PATH_SIZE];
    const int found = okraFindApp(name, path);
    if (found != OKRA_OK) return found;
    const MutexGuard lock = lockMutex(&slotsLock);
    std::int32_t place = findSlot(name);
    if (place < 0) place = findSlot("");
    if (place < 0) {
        sweepSlots();
        place = findSlot("");
    }
    if (place < 0) return okraFail(OKRA_NO_MEMORY, "too many applications");
    std::snprintf(slots[place].name, sizeof slots[place].name, "%s", name);
    return slots[place].round * SLOTS + place;
}

int APX_Get_Time_Info(std::int32_t handle, int reserved, void *record) {
    if (reserved != 0) return okraFail(OKRA_BAD_REQUEST, "unknown kind of time record");
    char name[OKRA_APP_NAME_MAX + 1];
    char path[ROOTED_PATH_SIZE];
    int result = findByHandle(handle, name, path);
    if (result != OKRA_OK) return result;
    char disabled[ROOTED_PATH_SIZE];
    result = okraPath(disabled, "disabled", name);
    if (result != OKRA_OK) return result;
    if (access(disabled, F_OK) == 0) return OKRA_DISABLED;
    if (errno != ENOENT && errno != ENOTDIR)
        return okraFail(OKRA_FILE_ERROR, "%s: %s", name, std::strerror(errno));
    OkraApp app{};
    result = okraReadApp(path, &app);
    if (result != OKRA_OK) return result;
    putField(record, 0, app.start);
    putField(record, 4, app.stop);
    return OKRA_OK;
}

int APX_Create_Chg_List(std::int32_t handle, const void *request, std::int32_t size) {
    char list[OKRA_LIST_NAME_MAX + 1];
    if (size < LIST_REQUEST_MIN) return okraFail(OKRA_BAD_REQUEST, "request too short");
    std::memcpy(list, static_cast<const char *>(request) + LIST_NAME, sizeof list);
    list[OKRA_LIST_NAME_MAX] = '\0';
    const auto queue = getField<std::int32_t>(request, LIST_QUEUE);
    if (!okraQueueExists(queue))
        return okraFail(OKRA_BAD_REQUEST, "queue %" PRId32 " does not exist", queue);

    DescriptorGuard lock;
    char path[ROOTED_PATH_SIZE];
    int result = okraLock(&lock);
    if (result == OKRA_OK) result = listPath(handle, list, path);
    if (result != OKRA_OK) return result;
    char text[16];
    std::snprintf(text, sizeof text, "%" PRId32 "\n", queue);
    return okraWriteText(path, text);
}

int APX_Kill_Chg_List(std::int32_t handle, const char *name) {
    DescriptorGuard lock;
    char path[ROOTED_PATH_SIZE];
    int result = okraLock(&lock);
    if (result == OKRA_OK) result = listPath(handle, name, path);
    if (result != OKRA_OK) return result;
    if (unlink(path) != 0)
        return errno == ENOENT || errno == ENOTDIR
                   ? static_cast<int>(OKRA_NO_LIST)
                   : okraFail(OKRA_FILE_ERROR, "%s: %s", name, std::strerror(errno));
    *std::strrchr(path, '/') = '\0';
    rmdir(path);  // only when it was the application's last list
    return OKRA_OK;
}
