// SPDX-License-Identifier: MIT
#include "listener/results_saving.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/stat.h>
#include <unistd.h>

#include "core/options.h"
#include "dmon/dmon.h"
#include "listener/apx_records.h"
#include "listener/commands.h"
#include "listener/watched_apps.h"
#include "okra/okra.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "storage/files.h"
#include "storage/persistent.h"
#include "storage/quota.h"
#include "storage/strings.h"

namespace {

enum SaveResult : int {
    SAVE_OK = 0,
    SAVE_FAILED = -4,      // the application manager could not save
    SAVE_QUOTA_FULL = -5,  // no room for one more results file
};

constexpr std::size_t PATH_SIZE = 64;
constexpr std::size_t BASE_NAME_SIZE = 40;

// What the options said when a save began; clients may change them while it runs.
struct SaveSettings {
    bool autoReport;
    std::int32_t reportFormat;  // ReportFormat
    std::int16_t nameFormat;
    std::int32_t sequence;
};

// ---- when to save ----

SubscriptionApp *findApp(Subscription *subscription, const char *name) {
    for (int i = 0; i < subscription->numApps; ++i)
        if (std::strcmp(subscription->apps[i].appName, name) == 0) return &subscription->apps[i];
    return nullptr;
}

// True when there are active applications and each of them has synchronised. The others neither
// hold the subscription back nor make it save.
bool allSynchronised(const Subscription *subscription) {
    int active = 0;
    int synced = 0;
    for (int i = 0; i < subscription->numApps; ++i) {
        const AppEntry *entry = findWatchedApp(subscription->apps[i].appName);
        if (entry == nullptr || entry->active != 1) continue;
        ++active;
        if (subscription->apps[i].syncTime != 0) ++synced;
    }
    return active > 0 && synced == active;
}

// Takes the applications' pending times; the earliest becomes the subscription's.
void takeSyncTimes(Subscription *subscription) {
    std::int32_t earliest = 0;
    for (int i = 0; i < subscription->numApps; ++i) {
        std::int32_t &pending = subscription->apps[i].syncTime;
        if (earliest == 0 || (pending > 0 && pending < earliest)) earliest = pending;
        pending = 0;
    }
    subscription->syncTime = earliest;
}

// ---- names ----

void makeBaseName(char (&base)[BASE_NAME_SIZE], const Subscription *subscription,
                  const SaveSettings &settings) {
    if (settings.nameFormat == NAME_BY_TIME) {
        const std::time_t time = subscription->syncTime;
        std::tm utc{};
        gmtime_r(&time, &utc);
        std::snprintf(base, sizeof base, "%04d-%02d-%02d-%02d%02d%02d", utc.tm_year + 1900,
                      utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    } else if (settings.nameFormat == NAME_BY_SEQUENCE) {
        std::snprintf(base, sizeof base, "%s%05d", opt_refname.get().text, settings.sequence);
    } else {
        copyPiece(base, "report");
    }
}

// Names the results file, and tells the name to the templates. An older file of that name is moved
// aside.
void makeResultsPath(char (&path)[PATH_SIZE], const Subscription *subscription,
                     const SaveSettings &settings) {
    char base[BASE_NAME_SIZE];
    makeBaseName(base, subscription, settings);
    setUserVar(&kv_urv, "report-name", base);
    make_filename(base);
    char fileName[BASE_NAME_SIZE + sizeof ".res"];
    std::snprintf(fileName, sizeof fileName, "%s.res", base);
    joinPath(path, sizeof path, subscription->resultsDir, fileName);
    mkdir(subscription->resultsDir, 0775);
    backup_file(path);
}

// Replaces the results file's ending, and whatever follows it, by the report format's.
void setReportEnding(char *reportPath, std::int32_t format) {
    static constexpr const char *endings[] = {".txt", ".pdf"};  // by ReportFormat
    char *ending = std::strstr(reportPath, ".res");
    if (ending == nullptr || format < 0 || format >= static_cast<std::int32_t>(std::size(endings)))
        return;
    std::memcpy(ending, endings[format], sizeof ".txt");
}

// ---- saving ----

int saveResultsFile(const Subscription *subscription, const char (&path)[PATH_SIZE]) {
    SaveRequest request{};
    request.kind = 1;
    copyPiece(request.path, path);
    request.numApps = subscription->numApps;
    for (int i = 0; i < subscription->numApps; ++i)
        copyPiece(request.appNames[i], subscription->apps[i].appName);
    const int error = APX_Save_Mult_Config(&request);
    if (error != 0) {
        dmon_log(1, "Error: could not save results to %s: %s\n", path, APX_Error(error));
        return SAVE_FAILED;
    }
    dmon_log(2, "Saved results file %s.\n", path);
    quotaAddCount(subscription->quotaId, 1);
    return SAVE_OK;
}

int makeAutoreport(const Subscription *subscription, const char *resultsPath, std::int32_t format) {
    const char *slash = std::strrchr(resultsPath, '/');
    char reportPath[PATH_SIZE];
    joinPath(reportPath, sizeof reportPath, opt_rptdir, slash != nullptr ? slash + 1 : resultsPath);
    setReportEnding(reportPath, format);
    char templatePath[PATH_SIZE];
    if (subscription->templateName[0] == '/')
        copyPath(templatePath, sizeof templatePath, subscription->templateName);
    else
        joinPath(templatePath, sizeof templatePath, opt_tpldir, subscription->templateName);

    dmon_log(2, "Autoreport for %s:\n", subscription->name);
    dmon_log(2, "  Subs name     : %s\n", subscription->name);
    dmon_log(2, "  Results file  : %s\n", resultsPath);
    dmon_log(2, "  Template file : %s\n", templatePath);
    dmon_log(2, "  Report file   : %s\n", reportPath);
    return generateReport(resultsPath, templatePath, reportPath,
                          static_cast<std::uint32_t>(opt_auto_flags),
                          static_cast<std::uint32_t>(format), &kv_urv, subscription->name);
}

// Turns a results file into a report, which takes its place. A failed report leaves the results
// file, and its count, as they are: what was measured is not lost.
int replaceByReport(const Subscription *subscription, const char *path, std::int32_t format) {
    const int error = makeAutoreport(subscription, path, format);
    if (error != REPORT_OK) {
        dmon_log(1, "Error: could not generate autoreport from %s (err=%d).\n", path, error);
        return error;
    }
    unlink(path);
    quotaAddCount(subscription->quotaId, -1);
    return REPORT_OK;
}

// Moves on to the next sequence number, unless a client has set another one meanwhile.
void advanceSequence(std::int32_t used) {
    const auto next = static_cast<std::int32_t>(static_cast<std::uint32_t>(used) + 1);
    opt_autoseq.compare_exchange_strong(used, next);
    savePersistentData();
}

int saveSubscriptionResults(const Subscription *subscription) {
    const SaveSettings settings{opt_autorpt != 0, opt_auto_fmt, opt_autoname, opt_autoseq};
    if (settings.autoReport && subscription->templateName[0] == '\0') {
        dmon_log(2, "Not autogenerating report for '%s' since template is not set.\n",
                 subscription->name);
        return SAVE_OK;
    }
    quotaRefreshCount(subscription->quotaId);
    if (quotaCheckBefore(subscription->quotaId, 1) == QUOTA_REFUSED) {
        dmon_log(1, "Error: too many result files.\n");
        return SAVE_QUOTA_FULL;
    }
    char path[PATH_SIZE];
    makeResultsPath(path, subscription, settings);
    int result = saveResultsFile(subscription, path);
    if (result == SAVE_OK && settings.autoReport)
        result = replaceByReport(subscription, path, settings.reportFormat);
    if (result == SAVE_OK && settings.nameFormat == NAME_BY_SEQUENCE)
        advanceSequence(settings.sequence);
    return result;
}

}  // namespace

std::int32_t syncSubscription(const char *, void *value, void *argument) {
    auto *subscription = static_cast<Subscription *>(value);
    const auto *command = static_cast<const MeasCommand *>(argument);
    SubscriptionApp *app = findApp(subscription, command->app.name);
    if (app == nullptr) return KV_NO_MATCH;
    app->syncTime = command->app.startTime;
    if (!allSynchronised(subscription)) return KV_NO_MATCH;
    takeSyncTimes(subscription);
    static_cast<void>(saveSubscriptionResults(subscription));
    return KV_MATCH_GO_ON;
}
