// SPDX-License-Identifier: MIT
#include "listener/meas_config.h"

#include <cstdint>
#include <iterator>
#include <memory>

#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "listener/results_saving.h"
#include "listener/subscriptions.h"
#include "listener/synchronisation.h"
#include "listener/watched_apps.h"
#include "storage/strings.h"
#include "vorn/plugin.h"

namespace {

// Saves a subscription when it is its turn, whatever comes of it.
std::int32_t syncSubscription(const char *, Subscription *subscription,
                              const MeasCommand *command) {
    if (!noteSynchronisation(subscription, command->app.name, command->app.startTime))
        return KV_NO_MATCH;
    static_cast<void>(saveSubscriptionResults(subscription));
    return KV_MATCH_GO_ON;
}

void onStartSubs(MeasCommand *command) {
    dmon_log(2, "Command: start subs '%s'.\n", command->subs.name);
    // A name that is there already keeps its subscription; the new record goes with the command.
    if (installSubscription(command->subs.subscription) == INSTALL_OK)
        command->subs.subscription = nullptr;
}

void onStopSubs(MeasCommand *command) {
    dmon_log(2, "Command: stop subs '%s'.\n", command->subs.name);
    uninstallSubscription(command->subs.name);
}

void onSync(MeasCommand *command) {
    const std::int32_t autosave = opt_autosave;
    dmon_log(2, "Command: sync on '%s' (autosave=%d).\n", command->app.name, autosave);
    if (autosave != 0) forEachSubscription(syncSubscription, command);
}

void onAppCreated(MeasCommand *command) {
    dmon_log(2, "Command: app created '%s'.\n", command->app.name);
    AppEntry *entry = findWatchedApp(command->app.name);
    if (entry != nullptr) watchApp(entry);
}

void onAppDestroyed(MeasCommand *command) {
    dmon_log(2, "Command: app destroyed '%s'.\n", command->app.name);
    AppEntry *entry = findWatchedApp(command->app.name);
    if (entry != nullptr) entry->handle = -1;
}

void onSetTemplate(MeasCommand *command) {
    dmon_log(2, "Command: set template of '%s' to '%s'.\n", command->setTemplate.name,
             command->setTemplate.templateName);
    Subscription *subscription = findSubscription(command->setTemplate.name);
    if (subscription != nullptr)
        copyPiece(subscription->templateName, command->setTemplate.templateName);
    else
        dmon_log(2, "There is no subscription '%s': no template is set.\n",
                 command->setTemplate.name);
}

void onUpdateQuotas(MeasCommand *command) {
    dmon_log(2, "Command: update quotas.\n");
    forEachSubscription(updateSubsQuota, command);
}

void onDeleteAll(MeasCommand *command) {
    dmon_log(2, "Command: delete all results.\n");
    forEachSubscription(deleteSubsFiles, command);
}

void onQueueOpened(MeasCommand *) {
    dmon_log(2, "Command: watch applications again.\n");
    rewatchApps();
}

struct CommandHandler {
    CommandCode code;
    void (*handle)(MeasCommand *command);
};

constexpr CommandHandler handlers[] = {
    {CMD_START_SUBS, onStartSubs},
    {CMD_STOP_SUBS, onStopSubs},
    {CMD_SYNC, onSync},
    {CMD_APP_CREATED, onAppCreated},
    {CMD_APP_DESTROYED, onAppDestroyed},
    {CMD_SET_TEMPLATE, onSetTemplate},
    {CMD_UPDATE_QUOTAS, onUpdateQuotas},
    {CMD_DELETE_ALL, onDeleteAll},
    {CMD_QUEUE_OPENED, onQueueOpened},
};

constexpr bool eachCodeIsItsIndex() {
    for (int i = 0; i < CMD_COUNT; ++i)
        if (handlers[i].code != i) return false;
    return std::size(handlers) == CMD_COUNT;
}
static_assert(eachCodeIsItsIndex());

struct CommandFreer {
    void operator()(MeasCommand *command) const { freeCommand(command); }
};

}  // namespace

void *measConfigThread(void *) {
    initSubscriptions();
    initWatchedApps();
    for (;;) {
        const bool isWaiting = isAnyAppUnknown();
        const std::unique_ptr<MeasCommand, CommandFreer> command(
            takeCommand(isWaiting ? WATCH_AGAIN_SECONDS : VORN_WAIT_FOREVER));
        if (!command && !isWaiting) break;
        if (isWaiting) watchUnknownApps();
        if (!command) continue;
        const std::int32_t code = command->any.code;
        if (code >= 0 && code < CMD_COUNT) handlers[code].handle(command.get());
    }
    freeSubscriptions();
    freeWatchedApps();
    return nullptr;
}
