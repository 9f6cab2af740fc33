// SPDX-License-Identifier: MIT
#include "core/options.h"

#include <climits>

#include "output/dump_backend.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/strings.h"
#include "util/root_path.h"

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
constexpr char DATA_DIRECTORY[] = "/tarix/data";

// A fixed path, with the optional name of a folder in it; a root that is too long shows in the log.
void setFixedPath(char (&option)[OPTION_PATH_SIZE], const char *path, const char *folder = "") {
    char whole[PATH_MAX];
    withRoot(whole, sizeof whole, path);
    safe_strncat(whole, folder, sizeof whole);
    copyPath(option, sizeof option, whole);
}

}  // namespace

int setDefaults() {
    opt_fgnd = 0;
    opt_debug = 1;
    setFixedPath(opt_cfgfile, CONFIG_FILE);
    setFixedPath(opt_resdir, DATA_DIRECTORY, "/results");
    setFixedPath(opt_tpldir, DATA_DIRECTORY, "/templates");
    setFixedPath(opt_rptdir, DATA_DIRECTORY, "/reports");
    setFixedPath(opt_cfgdir, DATA_DIRECTORY, "/configs");
    opt_dictdir[0] = '\0';
    opt_lang_id.set("en");
    copyPiece(opt_dflt_lang_id, "en");
    opt_max_res = 50;
    opt_max_rpt = 50;
    opt_fullact_res = FULL_STOP;
    opt_fullact_rpt = FULL_STOP;
    opt_fullerr = -1;
    opt_autosave = 0;
    opt_autorpt = 0;
    opt_auto_fmt = RPT_FMT_PDF;
    opt_auto_flags = 1;
    opt_autoname = NAME_BY_TIME;
    opt_refname.set("");
    opt_autoseq = 1;
    opt_num_subs = 0;
    std::memset(opt_subs, 0, sizeof opt_subs);
    return quotaInit();
}
