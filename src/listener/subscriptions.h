// SPDX-License-Identifier: MIT
// The table of installed subscriptions, and their results quotas. Only the configuration thread
// calls what stands here; a quota's own operations run wherever the quota table is used.
#pragma once

#include <cstdint>

#include "core/subscription.h"
#include "listener/commands.h"

// Makes the empty table; KV_OK.
int initSubscriptions();
void freeSubscriptions();

// The installed subscription of this name, or null.
Subscription *findSubscription(const char *name);

enum InstallResult : int {
    INSTALL_OK = 0,
    INSTALL_REFUSED = -1,  // the name is taken, or there is no memory, which is logged
};

// Installs a subscription: watches its applications and takes a quota for its results. The record,
// from malloc, is the table's when INSTALL_OK is returned and stays the caller's otherwise.
int installSubscription(Subscription *subscription);

// Takes that back and releases the record. The results directory and its files stay. A name that is
// not there does nothing.
void uninstallSubscription(const char *name);

// Visits an installed subscription for a command. Returns KV_MATCH_GO_ON when it did what the
// command is about, and KV_NO_MATCH otherwise; either lets the walk go on.
using SubscriptionVisitor = std::int32_t (*)(const char *name, Subscription *subscription,
                                             const MeasCommand *command);

// Visits all in the table's order, with its lock held. Returns how many did.
std::int32_t forEachSubscription(SubscriptionVisitor visit, const MeasCommand *command);

// Visitors: take maximum and full action of the quota from the options; delete all results files.
std::int32_t updateSubsQuota(const char *name, Subscription *subscription, const MeasCommand *);
std::int32_t deleteSubsFiles(const char *name, Subscription *subscription, const MeasCommand *);
