// SPDX-License-Identifier: MIT
// The one place that tells the application manager to allow or forbid new measurements.
#pragma once

enum MeasResult : int {
    MEAS_OK = 0,
    MEAS_REFUSED = -21,  // the application manager refused the control
};

// Forgets what was sent, so that the next control is sent whatever it says. Called before a second
// thread exists.
void initMeasControl();

// Sends the control unless it says what the last one said: 1 enables new measurements, 0 disables
// them with the error code opt_fullerr. A refused control is not repeated until the flag changes.
// MEAS_OK or MEAS_REFUSED. The quota table calls it, under its mutex, which guards the last value.
int enableNewMeas(int flag);
