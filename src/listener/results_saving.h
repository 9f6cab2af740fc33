// SPDX-License-Identifier: MIT
// Saves the results of a subscription once all its applications have synchronised, and makes the
// automatic report. Runs on the configuration thread.
#pragma once

#include <cstdint>

// Visits an installed subscription with a CMD_SYNC command.
//   key           the subscription's name
//   subscription  Subscription
//   command       MeasCommand
// Returns KV_MATCH_GO_ON when it was this subscription's turn to be saved, whatever came of it, and
// KV_NO_MATCH otherwise; either lets the walk go on. Failures show in the log only.
std::int32_t syncSubscription(const char *key, void *subscription, void *command);
