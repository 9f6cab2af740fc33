// SPDX-License-Identifier: MIT
// What has synchronised: the pending times of a subscription's applications. Runs on the
// configuration thread.
#pragma once

#include <cstdint>

#include "core/subscription.h"

// Notes an application's synchronisation, over one that is pending.
//   startTime  seconds since 1970-01-01 UTC, 0: not known, which counts as none
// True when it was the subscription's turn: there are active applications and each of them has
// synchronised; the others neither hold it back nor, alone, make it save. Then the earliest time
// becomes the subscription's and none is pending any more.
bool noteSynchronisation(Subscription *subscription, const char *appName, std::int32_t startTime);
