// SPDX-License-Identifier: MIT
// The service's entry: hands body and callbacks to the daemon framework.
#include "core/service.h"
#include "core/stats_word.h"
#include "core/status.h"
#include "dmon/dmon.h"

int main(int argc, char **argv) {
    addStatsWord();
    return dmon_run_daemon(serviceMain, argc, argv, &vorn_ops);
}
