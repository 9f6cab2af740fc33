// SPDX-License-Identifier: MIT
// The service's entry: hands body and callbacks to the daemon framework.
#include <cstdio>

#include "core/service.h"
#include "core/stats_word.h"
#include "core/status.h"
#include "dmon/dmon.h"
#include "storage/time_format.h"

int main(int argc, char **argv) {
    if (loadLocalTime() != 0) {
        std::fputs("vorn: no memory\n", stderr);
        return 1;
    }
    addStatsWord();
    return dmon_run_daemon(serviceMain, argc, argv, &vorn_ops);
}
