// SPDX-License-Identifier: MIT
#include "listener/meas_config.h"

#include <cstdint>
#include <memory>

#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "listener/results_saving.h"
#include "listener/watched_apps.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/strings.h"
#include "vorn/plugin.h"

namespace {

KvStore subscriptionTable;  // subscription name -> Subscription, from malloc

Subscription *findSubscription(const char *name) {
    return static_cast<Subscription *>(kvGet(&subscriptionTable, name));
}

// ---- the results quota of a subscription; run under the quota table's mutex ----

int isResultsFile(const struct dirent *entry) {
    return isFileEndingIn(entry, ".res") ? 1 : 0;
}

int countResultsFiles(void *user) {
    const auto *subscription = static_cast<const Subscription *>(user);
    return countDirFiles(subscription->resultsDir, isResultsFile);
}

// Names are made so that those of older files sort first.
int purgeResultsFiles(void *user, int keep) {
    const auto *subscription = static_cast<const Subscription *>(user);
    return purgeDirFiles(subscription->resultsDir, isResultsFile, misc_alphasort, keep);
}

// ---- installing and removing ----

void installSubscription(Subscription *subscription) {
    joinPath(subscription->resultsDir, sizeof subscription->resultsDir, opt_resdir,
             subscription->name);
    for (int i = 0; i < subscription->numApps; ++i) holdApp(subscription->apps[i].appName);
    subscription->quotaId = quotaInstall(static_cast<std::uint16_t>(opt_max_res.load()),
                                         static_cast<std::uint8_t>(opt_fullact_res.load()),
                                         purgeResultsFiles, countResultsFiles, subscription);
    if (subscription->quotaId == QUOTA_NONE)
        dmon_log(1, "Warning: no quota left for subscription '%s'.\n", subscription->name);
}

// The results directory and its files stay.
void uninstallSubscription(const Subscription *subscription) {
    for (int i = 0; i < subscription->numApps; ++i) releaseApp(subscription->apps[i].appName);
    quotaRemove(subscription->quotaId);
}

// ---- visitors of the installed subscriptions ----

std::int32_t updateSubsQuota(const char *key, void *value, void *) {
    const auto *subscription = static_cast<const Subscription *>(value);
    const std::int32_t max = opt_max_res;
    const std::int32_t action = opt_fullact_res;
    quotaSetLimits(subscription->quotaId, static_cast<std::uint16_t>(max),
                   static_cast<std::uint8_t>(action));
    dmon_log(2, "Update quota of '%s', max.files: %d, action: %d\n", key, max, action);
    return KV_NO_MATCH;
}

std::int32_t deleteSubsFiles(const char *key, void *value, void *) {
    quotaDeleteAll(static_cast<const Subscription *>(value)->quotaId);
    dmon_log(2, "Delete results of '%s'\n", key);
    return KV_NO_MATCH;
}

// ---- the commands ----

void onStartSubs(MeasCommand *command) {
    dmon_log(2, "Command: start subs '%s'.\n", command->subs.name);
    Subscription *subscription = command->subs.subscription;
    // A name that is there already keeps its subscription; the new record goes with the command.
    if (kvAdd(&subscriptionTable, command->subs.name, subscription) != KV_OK) return;
    command->subs.subscription = nullptr;
    installSubscription(subscription);
}

void onStopSubs(MeasCommand *command) {
    dmon_log(2, "Command: stop subs '%s'.\n", command->subs.name);
    const Subscription *subscription = findSubscription(command->subs.name);
    if (subscription == nullptr) return;
    uninstallSubscription(subscription);
    kvDel(&subscriptionTable, command->subs.name);
}

void onSync(MeasCommand *command) {
    const std::int32_t autosave = opt_autosave;
    dmon_log(2, "Command: sync on '%s' (autosave=%d).\n", command->app.name, autosave);
    if (autosave != 0) kvIterate(&subscriptionTable, syncSubscription, command);
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
}

void onUpdateQuotas(MeasCommand *) {
    dmon_log(2, "Command: update quotas.\n");
    kvIterate(&subscriptionTable, updateSubsQuota, nullptr);
}

void onDeleteAll(MeasCommand *) {
    dmon_log(2, "Command: delete all results.\n");
    kvIterate(&subscriptionTable, deleteSubsFiles, nullptr);
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
    kvInit(&subscriptionTable, 0, nullptr);
    initWatchedApps();
    for (;;) {
        const std::unique_ptr<MeasCommand, CommandFreer> command(takeCommand());
        if (!command) break;
        const std::int32_t code = command->any.code;
        if (code >= 0 && code < CMD_COUNT) handlers[code].handle(command.get());
    }
    kvFree(&subscriptionTable);
    freeWatchedApps();
    return nullptr;
}
