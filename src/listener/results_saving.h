// SPDX-License-Identifier: MIT
// Saves the results of a subscription and makes the automatic report. Runs on the configuration
// thread.
#pragma once

#include "core/subscription.h"

enum SaveResult : int {
    SAVE_OK = 0,
    SAVE_FAILED = -4,      // an older file could not be moved aside, or the manager did not save
    SAVE_QUOTA_FULL = -5,  // no room for one more results file
};

// Saves a subscription whose applications have all synchronised, as the options say when it begins.
// Returns SAVE_OK, a SaveResult or the report's code; failures are logged.
int saveSubscriptionResults(const Subscription *subscription);
