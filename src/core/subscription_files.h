// SPDX-License-Identifier: MIT
// The subscription files: every *.subs in /etc/tarix/vorn, read once at the start into opt_subs.
#pragma once

#include "core/findings.h"
#include "core/subscription.h"

enum SubscriptionResult : int { SUBSCRIPTION_OK = 0, SUBSCRIPTION_FAILED = -1 };

// Reads every subscription file, in the order in which the directory delivers them.
// SUBSCRIPTION_OK, also without a directory or, after an error line, when it cannot be read;
// SUBSCRIPTION_FAILED when at least one file failed: the others are read all the same, and a
// finding names each that failed.
int loadSubscriptionFiles(const FindingSink &sink = logFindings);

// Reads one file into the next free entries of opt_subs. SUBSCRIPTION_FAILED when it cannot be read
// (without a finding) or at its first wrong line; the entries before that line stay.
// Called by loadSubscriptionFiles.
int loadSubscriptionFile(const char *path, const FindingSink &sink = logFindings);

// Fills a record from "name:app,app,...:template", of which all but the name may be left out; null
// or no name is SUBSCRIPTION_FAILED. Texts are cut to the record's fields, the template after
// a warning.
// Called by loadSubscriptionFile.
//   at  where the text stands, for a sink that wants to know
int parseSubscription(const char *text, Subscription *record, const FindingSink &sink = logFindings,
                      const Place &at = {"", 0});
