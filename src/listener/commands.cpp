// SPDX-License-Identifier: MIT
#include "listener/commands.h"

#include <cstdlib>

#include "base/guards.h"
#include "dmon/dmon.h"
#include "storage/statistics.h"
#include "storage/strings.h"
#include "util/waiting.h"

namespace {

MsgQueue commandQueue;

constexpr std::uint32_t COMMAND_KEY = 1;
constexpr std::uint32_t COMMAND_TYPE = 2;  // handed back with each command; nobody asks for it

// Between two tries without memory, which nobody tells to be back.
constexpr std::uint32_t MEMORY_MS = 100;

// Who finds the queue full waits under this lock, and who takes a command signals under it, so that
// no place becomes free unseen between the look and the wait.
pthread_mutex_t placeLock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t placeFreed = PTHREAD_COND_INITIALIZER;

bool isFull() {
    return mqNumElems(&commandQueue) >= COMMAND_QUEUE_SIZE;
}

// Waits, with placeLock held, until it is worth trying again; false when the time is over. A queue
// that refuses and is not full has got a place meanwhile, or has no memory: the last of the tries
// is made at once.
bool waitForPlace(const WaitLimit &limit, std::uint32_t *tries) {
    if (isFull()) return waitOnce(&placeFreed, &placeLock, limit);
    if (*tries == 0) return false;
    if (--*tries > 0) waitOnce(&placeFreed, &placeLock, limitOfMilliseconds(MEMORY_MS));
    return true;
}

// Puts a command into the queue as soon as there is a place. MQ_OK, or mqPut's last refusal.
std::int32_t putCommand(MeasCommand *command, const Posting &posting) {
    const WaitLimit limit = limitOfMilliseconds(posting.placeMs);
    std::uint32_t tries = limit.kind == WaitKind::UNTIL ? posting.placeMs / MEMORY_MS + 1 : 1;
    const MutexGuard lock = lockForWork(&placeLock);
    std::int32_t result = MQ_FULL;
    do {
        result = mqPut(&commandQueue, command, COMMAND_TYPE, COMMAND_KEY, posting.poster);
    } while (result == MQ_FULL && waitForPlace(limit, &tries));
    statHighest(STAT_QUEUE_MAX, static_cast<std::uint32_t>(mqNumElems(&commandQueue)));
    return result;
}

int postPlain(CommandCode code) {
    return postCommand(newCommand(code), POST_OPERATION);
}

int postStart(Subscription *subscription, const Posting &posting) {
    MeasCommand *command = newCommand(CMD_START_SUBS);
    if (command != nullptr) {
        copyPiece(command->subs.name, subscription->name);
        command->subs.subscription = subscription;
    }
    return postCommand(command, posting);
}

}  // namespace

int initCommandQueue() {
    return mqInit(&commandQueue, COMMAND_QUEUE_SIZE, freeCommand);
}

MeasCommand *newCommand(CommandCode code) {
    auto *command = static_cast<MeasCommand *>(std::calloc(1, sizeof(MeasCommand)));
    if (command != nullptr) command->any.code = code;
    return command;
}

int postCommand(MeasCommand *command, const Posting &posting) {
    HeapGuard<MeasCommand> owner(command);
    if (command == nullptr || putCommand(command, posting) != MQ_OK) {
        dmon_log(1, command != nullptr && isFull()
                        ? "Overflow in command queue.\n"
                        : "Error: no memory for a command to the listener; it is lost.\n");
        return POST_REFUSED;
    }
    static_cast<void>(owner.release());
    return POST_OK;
}

MeasCommand *takeCommand(std::uint32_t wait) {
    std::uint32_t key = COMMAND_KEY;
    void *command = mqGet(&commandQueue, &key, nullptr, wait);
    const MutexGuard lock = lockForWork(&placeLock);
    pthread_cond_broadcast(&placeFreed);
    return static_cast<MeasCommand *>(command);
}

void freeCommand(void *command) {
    const HeapGuard<MeasCommand> owner(static_cast<MeasCommand *>(command));
    if (owner->any.code == CMD_START_SUBS) std::free(owner->subs.subscription);
}

int startMeasSubs(Subscription *subscription) {
    return postStart(subscription, POST_OPERATION);
}

int startInitialSubs(Subscription *subscription) {
    return postStart(subscription, POST_INITIAL);
}

int stopMeasSubs(const char *name) {
    MeasCommand *command = newCommand(CMD_STOP_SUBS);
    if (command != nullptr) copyPiece(command->subs.name, name);
    return postCommand(command, POST_OPERATION);
}

int setSubsTemplate(const char *name, const char *templateName) {
    MeasCommand *command = newCommand(CMD_SET_TEMPLATE);
    if (command != nullptr) {
        copyPiece(command->setTemplate.name, name);
        copyPiece(command->setTemplate.templateName, templateName);
    }
    return postCommand(command, POST_OPERATION);
}

int updateAllSubsQuotas() {
    return postPlain(CMD_UPDATE_QUOTAS);
}

int deleteAllSubsFiles() {
    return postPlain(CMD_DELETE_ALL);
}
