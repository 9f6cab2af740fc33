// SPDX-License-Identifier: MIT
#include "core/options.h"

#include <cstring>

#include "base/root_path.h"
#include "core/settings.h"
#include "dmon/dmon.h"
#include "output/dump_backend.h"
#include "storage/files.h"
#include "storage/quota.h"

namespace {

constexpr char CONFIG_FILE[] = "/etc/tarix/vorn.cfg";
constexpr int NO_DEFAULTS = -1;

}  // namespace

int setDefaults() {
    opt_fgnd = 0;
    opt_debug = 1;
    char path[ROOTED_PATH_SIZE];
    if (const int error = rootedPath(path, "%s", CONFIG_FILE); error != 0) {
        dmon_log(1, "Error: VORN_ROOT: %s.\n", std::strerror(error));
        return NO_DEFAULTS;
    }
    copyPath(opt_cfgfile, sizeof opt_cfgfile, path);
    presetSettings();
    opt_auto_fmt = RPT_FMT_PDF;
    opt_auto_flags = 1;
    opt_autoseq = 1;
    opt_num_subs = 0;
    std::memset(opt_subs, 0, sizeof opt_subs);
    return quotaInit();
}
