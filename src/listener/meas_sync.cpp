// SPDX-License-Identifier: MIT
#include "listener/meas_sync.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

#include <sys/msg.h>
#include <unistd.h>

#include "dmon/dmon.h"
#include "listener/apx_records.h"
#include "listener/commands.h"
#include "listener/event_queue.h"
#include "listener/listener.h"
#include "okra/okra.h"
#include "storage/statistics.h"
#include "storage/strings.h"

namespace {

enum KelpEventType : long { EVENT_APP = 1, EVENT_SYNC = 2 };

// Bits of an application event's mask.
constexpr std::uint32_t APP_CREATED = 1U << 0;
constexpr std::uint32_t APP_DESTROYED = 1U << 1;

constexpr std::uint8_t STATE_SYNCHRONISED = 2;

// A message as msgrcv delivers it. Its type is as wide as the machine's long, but the positions of
// the fields after it count as if it had 4 bytes.
struct KelpEvent {
    long type;
    char text[3988];
};
constexpr std::size_t TYPE_SIZE = 4;
constexpr std::size_t MASK_POSITION = 4 - TYPE_SIZE;
constexpr std::size_t EVENT_NAME_POSITION = 8 - TYPE_SIZE;
constexpr std::size_t SYNC_NAME_POSITION = 4 - TYPE_SIZE;
constexpr std::size_t SYNC_NAME_SIZE = 16;
constexpr std::size_t STATE_POSITION = 20 - TYPE_SIZE;

void postAppCommand(CommandCode code, const char *name, std::int32_t startTime) {
    MeasCommand *command = newCommand(code);
    if (command != nullptr) {
        copyPiece(command->app.name, name);
        command->app.startTime = startTime;
    }
    if (postCommand(command, POST_EVENT) != POST_OK) statCount(STAT_EVENTS_DROPPED);
}

// The start time of a running application's measurement, or 0 after a message.
std::int32_t readStartTime(const char *name) {
    TimeRecord time{};
    const int error = APX_Get_Time_Info(APX_Get_Handle(name), 0, &time);
    if (error == 0) return time.startTime;
    dmon_log(1, "Error getting start time of '%s': %s.\n", name, APX_Error(error));
    return 0;
}

// Takes a name, which ends at a NUL or with the message.
void readName(char (&name)[APP_KEY_SIZE], std::string_view field) {
    copyPiece(name, field.substr(0, field.find('\0')));
}

// Messages that are too short for their fields do nothing: the queue is open to every process.

void onAppEvent(std::string_view text) {
    std::uint32_t mask = 0;
    if (text.size() < MASK_POSITION + sizeof mask) return;
    std::memcpy(&mask, text.data() + MASK_POSITION, sizeof mask);
    dmon_log(2, "App event received. Event mask =0x%04X.\n", mask);
    if (text.size() <= EVENT_NAME_POSITION) return;
    char name[APP_KEY_SIZE];
    readName(name, text.substr(EVENT_NAME_POSITION));
    if ((mask & APP_CREATED) != 0) postAppCommand(CMD_APP_CREATED, name, 0);
    if ((mask & APP_DESTROYED) != 0) postAppCommand(CMD_APP_DESTROYED, name, 0);
}

void onSyncResponse(std::string_view text) {
    if (text.size() <= STATE_POSITION) return;
    char name[APP_KEY_SIZE];
    readName(name, text.substr(SYNC_NAME_POSITION, SYNC_NAME_SIZE));
    const auto state = static_cast<std::uint8_t>(text[STATE_POSITION]);
    dmon_log(2, "Sync response from %s, sync=%d.\n", name, state);
    if (state == STATE_SYNCHRONISED) postAppCommand(CMD_SYNC, name, readStartTime(name));
}

// Opens the queue and has everything sent there. The status tells what is missing.
bool reopenQueue() {
    msqid_ds status{};
    vorn_status = LISTENER_NO_QUEUE;
    if (!openEventQueue() || msgctl(kelpQueueId(), IPC_STAT, &status) != 0) return false;
    vorn_status = LISTENER_NO_EVENTS;
    return subscribeToEvents();
}

// Goes on when receiving works again: the queue may have been removed, and another one is then
// asked for. What happened meanwhile is not told by anybody, so the applications are looked at.
void recoverQueue(int error) {
    constexpr unsigned RETRY_SECONDS = 5;
    dmon_log(1, "Error receiving events: %s. Retrying...\n", std::strerror(error));
    vorn_status = LISTENER_NO_QUEUE;
    do {
        sleep(RETRY_SECONDS);
    } while (!reopenQueue());
    postCommand(newCommand(CMD_QUEUE_OPENED), POST_INITIAL);
    vorn_status = LISTENER_CONNECTED;
    dmon_log(1, "Events are received again.\n");
}

}  // namespace

void *measSyncThread(void *) {
    KelpEvent event;
    for (;;) {
        // A message longer than the buffer would stay in the queue for ever if it were not cut.
        const ssize_t size = msgrcv(kelpQueueId(), &event, sizeof event.text, 0, MSG_NOERROR);
        if (size < 0) {
            if (errno != EINTR) recoverQueue(errno);
            continue;
        }
        statCount(STAT_EVENTS);
        const std::string_view text(event.text, static_cast<std::size_t>(size));
        if (event.type == EVENT_APP)
            onAppEvent(text);
        else if (event.type == EVENT_SYNC)
            onSyncResponse(text);
    }
}
