// SPDX-License-Identifier: MIT
// The control socket's word `stats`: what the service has done since it started, a JSON line.
#pragma once

// Adds the word, where the framework takes any, and keeps the time as that of the start. Called
// before the daemon runs.
void addStatsWord();
