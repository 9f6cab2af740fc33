// SPDX-License-Identifier: MIT
// The commands to the listener's configuration thread, which does all work on subscriptions, and
// the queue that carries them there. Everything here may be called from any thread once
// initCommandQueue has run.
#pragma once

#include <cstdint>

#include "core/subscription.h"
#include "vorn/plugin.h"

enum CommandCode : std::int32_t {
    CMD_START_SUBS,
    CMD_STOP_SUBS,
    CMD_SYNC,
    CMD_APP_CREATED,
    CMD_APP_DESTROYED,
    CMD_SET_TEMPLATE,
    CMD_UPDATE_QUOTAS,
    CMD_DELETE_ALL,
    CMD_QUEUE_OPENED,  // another registry queue has taken the place of one that was removed
    CMD_COUNT
};

// Applications are known to the listener, and saved, by their first 8 characters.
constexpr int APP_KEY_SIZE = 9;

// A command: each member begins with the code, which says which of them holds the fields. From
// malloc; it belongs to the queue until the configuration thread takes it, and then to that thread.
union MeasCommand {
    struct {
        std::int32_t code;
    } any;
    struct {
        std::int32_t code;
        char name[NAME_SIZE];
        Subscription *subscription;  // owned, from malloc; null in a stop command
    } subs;
    struct {
        std::int32_t code;
        char name[APP_KEY_SIZE];
        std::int32_t startTime;  // seconds since 1970-01-01 UTC, 0: not known; CMD_SYNC only
    } app;
    struct {
        std::int32_t code;
        char name[9];  // of the subscription: longer ones cannot be named here
        char templateName[64];
    } setTemplate;
};
static_assert(sizeof(MeasCommand) == 80);

enum PostResult : int {
    POST_OK = 0,
    POST_REFUSED = -1,  // the queue was full, or there was no memory
};

// At most this many commands wait; one more is refused.
constexpr int COMMAND_QUEUE_SIZE = 50;

// Makes the empty queue. Called once, before any other operation here. MQ_OK.
int initCommandQueue();

// A zeroed command of this code, or null when there is no memory.
MeasCommand *newCommand(CommandCode code);

// How a command is posted: the last word of mqPut, which tells who posts, and how many milliseconds
// it waits for a place when the queue is full.
struct Posting {
    std::uint32_t poster;
    std::uint32_t placeMs;
};

// A client is told that the queue is full, and may ask again.
constexpr Posting POST_OPERATION = {5, VORN_NO_WAIT};

// Applications that synchronise together make more events at once than the queue holds. While one
// waits, those behind it are safe in the registry's queue.
constexpr Posting POST_EVENT = {0, 1000};

// Events may fill the queue before the initial subscriptions come, and nobody posts those again.
// Installing one takes up to a second for each of its applications.
constexpr Posting POST_INITIAL = {5, 30000};

// Queues a command and takes it over. POST_REFUSED, after a message, when the queue is and stays
// full, when there is no memory, or when the command is null because there was none: then the
// command is released, but not a start command's subscription.
int postCommand(MeasCommand *command, const Posting &posting);

// Takes the next command out of the queue and lets those know that wait for a place. The command is
// the caller's; null when none came.
//   wait  VORN_WAIT_FOREVER, as the configuration thread does, or another of mqGet's time-outs
MeasCommand *takeCommand(std::uint32_t wait);

// Releases a command that nobody handled, with a start command's subscription.
void freeCommand(void *command);

// The operations that start the service and serve its clients post. POST_OK or POST_REFUSED.

// Installs a subscription. The record, from malloc, is the listener's when POST_OK is returned and
// stays the caller's otherwise.
int startMeasSubs(Subscription *subscription);

// The same for a subscription of the files, which waits for a place.
int startInitialSubs(Subscription *subscription);

// Removes an installed subscription; its files stay.
int stopMeasSubs(const char *name);

// Sets a subscription's template for automatic reports. Only subscriptions whose names have at most
// 8 characters can be reached: of a longer name the first 8 are looked for.
int setSubsTemplate(const char *name, const char *templateName);

// Takes maximum and full action of all results quotas from the options.
int updateAllSubsQuotas();

// Deletes the results files of all installed subscriptions.
int deleteAllSubsFiles();
