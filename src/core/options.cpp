// SPDX-License-Identifier: MIT
#include "core/options.h"

#include <climits>

#include "base/root_path.h"
#include "core/settings.h"
#include "output/dump_backend.h"
#include "storage/files.h"
#include "storage/quota.h"

std::int32_t opt_fgnd;
std::int32_t opt_debug;
char opt_cfgfile[OPTION_PATH_SIZE];
char opt_resdir[OPTION_PATH_SIZE];
char opt_tpldir[OPTION_PATH_SIZE];
char opt_rptdir[OPTION_PATH_SIZE];
char opt_cfgdir[OPTION_PATH_SIZE];
char opt_dictdir[OPTION_PATH_SIZE];
char opt_dflt_lang_id[4];
std::int32_t opt_fullerr;
std::int32_t opt_auto_flags;
std::int32_t opt_num_subs;
Subscription opt_subs[MAX_INITIAL_SUBSCRIPTIONS];

OptionText<4> opt_lang_id;
std::atomic<std::int32_t> opt_max_res;
std::atomic<std::int32_t> opt_max_rpt;
std::atomic<std::int32_t> opt_fullact_res;
std::atomic<std::int32_t> opt_fullact_rpt;
std::atomic<std::int32_t> opt_autosave;
std::atomic<std::int32_t> opt_autorpt;
std::atomic<std::int32_t> opt_auto_fmt;
std::atomic<std::int16_t> opt_autoname;
OptionText<32> opt_refname;
std::atomic<std::int32_t> opt_autoseq;

namespace {

constexpr char CONFIG_FILE[] = "/etc/tarix/vorn.cfg";
}  // namespace

int setDefaults() {
    opt_fgnd = 0;
    opt_debug = 1;
    char path[PATH_MAX];
    withRoot(path, sizeof path, CONFIG_FILE);
    copyPath(opt_cfgfile, sizeof opt_cfgfile, path);
    presetSettings();
    opt_auto_fmt = RPT_FMT_PDF;
    opt_auto_flags = 1;
    opt_autoseq = 1;
    opt_num_subs = 0;
    std::memset(opt_subs, 0, sizeof opt_subs);
    return quotaInit();
}
