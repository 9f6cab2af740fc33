// SPDX-License-Identifier: MIT
#include "listener/subscriptions.h"

#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/watched_apps.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "vorn/plugin.h"

namespace {

KvStore subscriptionTable;  // subscription name -> Subscription, from malloc

// ---- the results quota of a subscription; run under the quota table's mutex ----

int countResultsFiles(void *user) {
    const auto *subscription = static_cast<const Subscription *>(user);
    return countDirFiles(subscription->resultsDir, isResultsFile);
}

// Names are made so that those of older files sort first.
int purgeResultsFiles(void *user, int keep) {
    const auto *subscription = static_cast<const Subscription *>(user);
    return purgeDirFiles(subscription->resultsDir, isResultsFile, misc_alphasort, keep);
}

struct Visit {
    SubscriptionVisitor visit;
    const MeasCommand *command;
};

std::int32_t visitEntry(const char *key, void *value, void *argument) {
    const auto *visit = static_cast<const Visit *>(argument);
    return visit->visit(key, static_cast<Subscription *>(value), visit->command);
}

}  // namespace

int initSubscriptions() {
    return kvInit(&subscriptionTable, 0, nullptr);
}

void freeSubscriptions() {
    kvFree(&subscriptionTable);
}

Subscription *findSubscription(const char *name) {
    return static_cast<Subscription *>(kvGet(&subscriptionTable, name));
}

int installSubscription(Subscription *subscription) {
    const std::int32_t added = kvAdd(&subscriptionTable, subscription->name, subscription);
    if (added != KV_OK) {
        if (added == KV_EXISTS)
            dmon_log(2, "Subscription '%s' is there already: nothing is added.\n",
                     subscription->name);
        else
            dmon_log(1, "Error: no memory for subscription '%s'.\n", subscription->name);
        return INSTALL_REFUSED;
    }
    joinPath(subscription->resultsDir, sizeof subscription->resultsDir, opt_resdir,
             subscription->name);
    for (int i = 0; i < subscription->numApps; ++i) holdApp(subscription->apps[i].appName);
    subscription->quotaId = quotaInstall(static_cast<std::uint16_t>(opt_max_res.load()),
                                         static_cast<std::uint8_t>(opt_fullact_res.load()),
                                         purgeResultsFiles, countResultsFiles, subscription);
    if (subscription->quotaId == QUOTA_NONE)
        dmon_log(1, "Warning: no quota left for subscription '%s'.\n", subscription->name);
    quotaSetName(subscription->quotaId, subscription->name);
    return INSTALL_OK;
}

void uninstallSubscription(const char *name) {
    const Subscription *subscription = findSubscription(name);
    if (subscription == nullptr) {
        dmon_log(2, "There is no subscription '%s': nothing is removed.\n", name);
        return;
    }
    for (int i = 0; i < subscription->numApps; ++i) releaseApp(subscription->apps[i].appName);
    quotaRemove(subscription->quotaId);
    kvDel(&subscriptionTable, name);
}

std::int32_t forEachSubscription(SubscriptionVisitor visit, const MeasCommand *command) {
    Visit each{visit, command};
    return kvIterate(&subscriptionTable, visitEntry, &each);
}

std::int32_t updateSubsQuota(const char *name, Subscription *subscription, const MeasCommand *) {
    const std::int32_t max = opt_max_res;
    const std::int32_t action = opt_fullact_res;
    quotaSetLimits(subscription->quotaId, static_cast<std::uint16_t>(max),
                   static_cast<std::uint8_t>(action));
    dmon_log(2, "Update quota of '%s', max.files: %d, action: %d\n", name, max, action);
    return KV_NO_MATCH;
}

std::int32_t deleteSubsFiles(const char *name, Subscription *subscription, const MeasCommand *) {
    quotaDeleteAll(subscription->quotaId);
    dmon_log(2, "Delete results of '%s'\n", name);
    return KV_NO_MATCH;
}
