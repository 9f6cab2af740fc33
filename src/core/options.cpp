// SPDX-License-Identifier: MIT
#include "core/options.h"

#include "base/root_path.h"
#include "core/settings.h"
#include "output/dump_backend.h"
#include "storage/files.h"
#include "storage/quota.h"

namespace {

constexpr char CONFIG_FILE[] = "/etc/tarix/vorn.cfg";

}  // namespace

int setDefaults() {
    opt_fgnd = 0;
    opt_debug = 1;
    char path[ROOTED_PATH_SIZE];
    rootedPath(path, "%s", CONFIG_FILE);
    copyPath(opt_cfgfile, sizeof opt_cfgfile, path);
    presetSettings();
    opt_auto_fmt = RPT_FMT_PDF;
    opt_auto_flags = 1;
    opt_autoseq = 1;
    opt_num_subs = 0;
    std::memset(opt_subs, 0, sizeof opt_subs);
    return quotaInit();
}
