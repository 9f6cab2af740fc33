// SPDX-License-Identifier: MIT
#include "listener/commands.h"

#include <cstdlib>

#include "dmon/dmon.h"
#include "storage/strings.h"
#include "util/guards.h"

MsgQueue commandQueue;

namespace {

constexpr std::uint32_t COMMAND_TYPE = 2;  // handed back with each command; nobody asks for it

int postPlain(CommandCode code) {
    return postCommand(newCommand(code));
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

int postCommand(MeasCommand *command) {
    HeapGuard<MeasCommand> owner(command);
    if (mqPut(&commandQueue, command, COMMAND_TYPE, COMMAND_KEY, 0) != MQ_OK) {
        dmon_log(1, "Overflow in command queue.\n");
        return POST_REFUSED;
    }
    static_cast<void>(owner.release());
    return POST_OK;
}

void freeCommand(void *command) {
    const HeapGuard<MeasCommand> owner(static_cast<MeasCommand *>(command));
    if (owner->any.code == CMD_START_SUBS) std::free(owner->subs.subscription);
}

int startMeasSubs(Subscription *subscription) {
    MeasCommand *command = newCommand(CMD_START_SUBS);
    if (command != nullptr) {
        copyPiece(command->subs.name, subscription->name);
        command->subs.subscription = subscription;
    }
    return postCommand(command);
}

int stopMeasSubs(const char *name) {
    MeasCommand *command = newCommand(CMD_STOP_SUBS);
    if (command != nullptr) copyPiece(command->subs.name, name);
    return postCommand(command);
}

int setSubsTemplate(const char *name, const char *templateName) {
    MeasCommand *command = newCommand(CMD_SET_TEMPLATE);
    if (command != nullptr) {
        copyPiece(command->setTemplate.name, name);
        copyPiece(command->setTemplate.templateName, templateName);
    }
    return postCommand(command);
}

int updateAllSubsQuotas() {
    return postPlain(CMD_UPDATE_QUOTAS);
}

int deleteAllSubsFiles() {
    return postPlain(CMD_DELETE_ALL);
}
