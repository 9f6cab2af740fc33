// SPDX-License-Identifier: MIT
#include "core/service.h"

#include <clocale>
#include <cstdlib>

#include <sys/stat.h>

#include "base/folders.h"
#include "base/guards.h"
#include "core/command_line.h"
#include "core/config_file.h"
#include "core/options.h"
#include "core/subscription_files.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "listener/listener.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "server/server.h"
#include "storage/state_file.h"

namespace {

// Hands the listener a copy of an initial subscription: it releases every record it is done with,
// and those of opt_subs are not from malloc. False when the copy could not be made or posted.
bool postInitialSubscription(const Subscription &initial) {
    HeapGuard<Subscription> copy(static_cast<Subscription *>(std::malloc(sizeof(Subscription))));
    if (!copy) return false;
    *copy = initial;
    if (startInitialSubs(copy.get()) != POST_OK) return false;
    static_cast<void>(copy.release());
    return true;
}

}  // namespace

int serviceMain(int argc, char **argv) {
    int result = setDefaults();
    if (result != 0) return result;
    std::setlocale(LC_NUMERIC, "en");

    result = parseArgs(argc, argv);
    if (result != ARGS_OK) return result;
    result = loadConfigFile(opt_cfgfile);
    if (result != CONFIG_OK) return result;
    result = loadPersistentData();
    if (result != STATE_OK) return result;
    result = loadSubscriptionFiles();
    if (result != SUBSCRIPTION_OK) return result;

    result = runService();
    dmon_log(1, "Server stopped.\n");
    return result;
}

int runService() {
    vorn_status = LISTENER_CONNECTED;
    dmon_log(1, "Configs and Reports Manager (VORN) is running...\n");
    initReports();
    // The listener's first save sets a user variable, and may come before the first client.
    initUserVars();

    initMeasListener();
    const int result = startMeasListener();
    if (result != START_OK) {
        dmon_log(1, "Could not start measurements listener.\n");
        return result;
    }
    for (int i = 0; i < opt_num_subs; ++i) {
        if (!postInitialSubscription(opt_subs[i]))
            dmon_log(1, "Error: could not start subscription '%s'.\n", opt_subs[i].name);
    }

    // What is there already, or cannot be made, shows at the first file.
    for (const char *directory : {opt_cfgdir, opt_resdir, opt_rptdir})
        static_cast<void>(makeFolder(directory, 0775));
    return runVornServer();
}
