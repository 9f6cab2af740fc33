// SPDX-License-Identifier: MIT
// The service's body: the order in which everything starts.
#pragma once

// Reads the settings, then runs the service on the calling thread until it fails or is stopped.
// Returns 1 after --help, else the negative code of the step that failed: the command line's, the
// configuration's, the state file's, the subscription files' or runService's.
int serviceMain(int argc, char **argv);

// Starts the reports, the listener and the initial subscriptions, then serves clients. Returns the
// client server's result, or START_FAILED. Called by serviceMain.
int runService();
