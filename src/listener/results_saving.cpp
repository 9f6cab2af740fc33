// SPDX-License-Identifier: MIT
#include "listener/results_saving.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "base/folders.h"
#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/apx_records.h"
#include "listener/result_names.h"
#include "okra/okra.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/state_file.h"
#include "storage/statistics.h"
#include "storage/strings.h"

namespace {

// What the options said when a save began; clients may change them while it runs.
struct SaveSettings {
    bool autoReport;
    std::int32_t reportFormat;  // ReportFormat
    std::int16_t nameFormat;
    std::int32_t sequence;
};

// What one save is about.
struct Save {
    const Subscription *subscription;
    SaveSettings settings;
    char base[BASE_NAME_SIZE];    // what the templates show
    char path[RESULT_PATH_SIZE];  // of the results file
};

// Names the results file, and tells the name to the templates. An older file of that name is moved
// aside: nothing is saved over one that stays.
int makeRoom(Save *save) {
    const SaveSettings &settings = save->settings;
    makeBaseName(save->base, settings.nameFormat, save->subscription->syncTime,
                 opt_refname.get().text, settings.sequence);
    if (setUserVar(&kv_urv, "report-name", save->base) != KV_OK)
        dmon_log(1, "Error: no memory for the user variable 'report-name'.\n");
    makeResultsPath(save->path, save->subscription, save->base);
    const int error = makeFolder(save->subscription->resultsDir, 0775);
    if (error != 0) {
        dmon_log(1, "Error: could not save results to %s: its folder cannot be made: %s\n",
                 save->path, std::strerror(error));
        return SAVE_FAILED;
    }
    errno = 0;
    if (backup_file(save->path) == 0) return SAVE_OK;
    dmon_log(
        1,
        "Error: could not save results to %s: the file there could not be moved aside safely: %s\n",
        save->path, std::strerror(errno));
    return SAVE_FAILED;
}

bool isGone(const char *path) {
    return access(path, F_OK) != 0 && errno == ENOENT;
}

// A purge keeps the names that sort last, and the new one need not be among them.
void tellWhenPurged(const Save *save) {
    if (!isGone(save->path)) return;
    dmon_log(1,
             "Error: the quota's purge deleted %s, which was just saved: its name sorts before "
             "those of the files that stay.\n",
             save->path);
}

int saveResultsFile(const Save *save) {
    const Subscription *subscription = save->subscription;
    SaveRequest request{};
    request.kind = 1;
    copyPiece(request.path, save->path);
    request.numApps = subscription->numApps;
    for (int i = 0; i < subscription->numApps; ++i)
        copyPiece(request.appNames[i], subscription->apps[i].appName);
    const int error = APX_Save_Mult_Config(&request);
    if (error != 0) {
        dmon_log(1, "Error: could not save results to %s: %s\n", save->path, APX_Error(error));
        return SAVE_FAILED;
    }
    dmon_log(2, "Saved results file %s.\n", save->path);
    quotaAddCount(subscription->quotaId, 1);
    tellWhenPurged(save);
    return SAVE_OK;
}

int makeAutoreport(const Save *save, char (&reportPath)[RESULT_PATH_SIZE]) {
    const Subscription *subscription = save->subscription;
    makeReportPath(reportPath, save->path, save->settings.reportFormat);
    char templatePath[RESULT_PATH_SIZE];
    makeTemplatePath(templatePath, subscription);

    dmon_log(2, "Autoreport for %s:\n", subscription->name);
    dmon_log(2, "  Subs name     : %s\n", subscription->name);
    dmon_log(2, "  Results file  : %s\n", save->path);
    dmon_log(2, "  Template file : %s\n", templatePath);
    dmon_log(2, "  Report file   : %s\n", reportPath);
    return generateReport(save->path, templatePath, reportPath,
                          static_cast<std::uint32_t>(opt_auto_flags),
                          static_cast<std::uint32_t>(save->settings.reportFormat), &kv_urv,
                          subscription->name, save->base);
}

// Turns the results file into a report, which takes its place. A failed report leaves the results
// file, and its count, as they are: what was measured is not lost.
int replaceByReport(const Save *save) {
    char reportPath[RESULT_PATH_SIZE];
    const int error = makeAutoreport(save, reportPath);
    if (error != REPORT_OK) {
        dmon_log(1, "Error: could not generate autoreport from %s (err=%d).\n", save->path, error);
        return error;
    }
    // A purge of the reports takes those that look oldest, as this one does when the clock was set
    // back.
    if (opt_fullact_rpt == FULL_PURGE && isGone(reportPath)) {
        dmon_log(1, "Error: report %s is not there any more, so the results stay in %s.\n",
                 reportPath, save->path);
        return REPORT_OK;
    }
    if (unlink(save->path) == 0)
        quotaAddCount(save->subscription->quotaId, -1);
    else if (errno != ENOENT)
        dmon_log(1, "Error: could not delete %s, which has become a report: %s\n", save->path,
                 std::strerror(errno));
    return REPORT_OK;
}

// Moves on to the next sequence number, unless a client has set another one meanwhile.
void advanceSequence(std::int32_t used) {
    const auto next = static_cast<std::int32_t>(static_cast<std::uint32_t>(used) + 1);
    opt_autoseq.compare_exchange_strong(used, next);
    savePersistentData();
}

}  // namespace

int saveSubscriptionResults(const Subscription *subscription) {
    Save save{subscription, {opt_autorpt != 0, opt_auto_fmt, opt_autoname, opt_autoseq}, "", ""};
    if (save.settings.autoReport && subscription->templateName[0] == '\0') {
        dmon_log(2, "Not autogenerating report for '%s' since template is not set.\n",
                 subscription->name);
        return SAVE_OK;
    }
    quotaRefreshCount(subscription->quotaId);
    if (quotaCheckBefore(subscription->quotaId, 1) == QUOTA_REFUSED) {
        dmon_log(1, "Error: too many result files.\n");
        statCount(STAT_SAVES_REFUSED);
        return SAVE_QUOTA_FULL;
    }
    int result = makeRoom(&save);
    if (result == SAVE_OK) result = saveResultsFile(&save);
    statCount(result == SAVE_OK ? STAT_SAVES : STAT_SAVES_FAILED);
    if (result == SAVE_OK && save.settings.autoReport) result = replaceByReport(&save);
    if (result == SAVE_OK && save.settings.nameFormat == NAME_BY_SEQUENCE)
        advanceSequence(save.settings.sequence);
    return result;
}
