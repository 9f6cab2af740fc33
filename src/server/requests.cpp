// SPDX-License-Identifier: MIT
// The handlers of clients' requests. What a client sends is checked here, before it becomes part of
// a path; what concerns subscriptions is then only posted to the listener's thread.
#include "server/requests.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "base/guards.h"
#include "base/whole_file.h"
#include "base/words.h"
#include "core/options.h"
#include "core/subscription.h"
#include "dmon/dmon.h"
#include "listener/commands.h"
#include "listener/result_names.h"
#include "output/dump_backend.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "storage/files.h"
#include "storage/quota.h"
#include "storage/state_file.h"
#include "storage/strings.h"

namespace {

constexpr std::uint32_t LAST_FULL_ACTION = FULL_PURGE;
constexpr std::uint32_t LAST_REPORT_FORMAT = RPT_FMT_PDF;
constexpr int USER_VAR_NAME_SIZE = 16;
constexpr int USER_VAR_VALUE_SIZE = 128;

// ---- fields ----

template <std::size_t N>
int readText(const PktMessage *request, char (&text)[N], std::uint32_t *position) {
    return pktGetString(request, text, N, position) == PKT_OK ? SRV_OK : SRV_BAD_FIELD;
}

// True for a name that, put behind "directory/", stays in that directory.
bool staysInside(std::string_view name) {
    return name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

// True for a relative path that climbs out of the directory it is put behind, or could.
bool climbs(std::string_view path) {
    if (path.starts_with('/')) return false;
    for (;;) {
        const std::size_t end = std::min(path.find('/'), path.size());
        if (path.substr(0, end) == "..") return true;
        if (end == path.size()) return false;
        path.remove_prefix(end + 1);
    }
}

// Reads a file's name and makes its path: an absolute name is the path, any other is made safe and
// names a file directly in `directory`. On failure the path is empty.
int readPath(const PktMessage *request, const char *directory, char (&path)[OPTION_PATH_SIZE],
             std::uint32_t *position) {
    char name[OPTION_PATH_SIZE] = "";
    if (readText(request, name, position) != SRV_OK) return SRV_BAD_FIELD;
    if (name[0] == '/') {
        safe_strncpy(path, name, sizeof path);
        return SRV_OK;
    }
    make_filename(name);
    if (name[0] == '\0' || !staysInside(name)) return SRV_BAD_FIELD;  // names a directory
    joinPath(path, sizeof path, directory, name);
    return SRV_OK;
}

int replyResult(PktMessage *reply, int result) {
    pktInitFull(reply, REPLY_RESULT, result, 0);
    return SRV_OK;
}

// ---- steps of the longer handlers ----

int readSubscription(const PktMessage *request, Subscription *subscription) {
    std::uint32_t position = 0;
    if (subscription->numApps < 0 || subscription->numApps > MAX_SUBSCRIPTION_APPS) {
        return SRV_BAD_APP_COUNT;
    }
    if (readText(request, subscription->name, &position) != SRV_OK) return SRV_BAD_FIELD;
    // The name becomes that of the results directory.
    if (subscription->name[0] == '\0' || !staysInside(subscription->name)) return SRV_BAD_FIELD;
    for (int i = 0; i < subscription->numApps; ++i) {
        SubscriptionApp *app = &subscription->apps[i];
        if (readText(request, app->appName, &position) != SRV_OK) return SRV_BAD_FIELD;
        if (readText(request, app->appLabel, &position) != SRV_OK) return SRV_BAD_FIELD;
    }
    if (subscription->numApps == 0) {
        safe_strncpy(subscription->apps[0].appName, subscription->name, NAME_SIZE);
        safe_strncpy(subscription->apps[0].appLabel, subscription->name, NAME_SIZE);
        subscription->numApps = 1;
    }
    return SRV_OK;
}

struct ReportRequest {
    char subscription[NAME_SIZE];
    char results[OPTION_PATH_SIZE];
    char templateFile[OPTION_PATH_SIZE];
    char report[OPTION_PATH_SIZE];
};

int readReportRequest(const PktMessage *request, ReportRequest *fields) {
    std::uint32_t position = 0;
    if (readText(request, fields->subscription, &position) != SRV_OK) return SRV_BAD_FIELD;
    if (!staysInside(fields->subscription)) return SRV_BAD_FIELD;  // names the dictionary's file
    int result = readPath(request, opt_resdir, fields->results, &position);
    if (result == SRV_OK) result = readPath(request, opt_tpldir, fields->templateFile, &position);
    if (result == SRV_OK) result = readPath(request, opt_rptdir, fields->report, &position);
    // The next start would take such a file for one that was left over.
    if (result == SRV_OK && isPartName(fields->report)) result = SRV_BAD_FIELD;
    return result;
}

// Takes the report's name for templates from its path: the last part up to RESULTS_ENDING. Others
// may set the variable again before the report is made.
void setReportName(std::string_view path, char (&text)[BASE_NAME_SIZE]) {
    const std::string_view name = fileNameOf(path).substr(0, sizeof text - 1);
    copyPiece(text, name.substr(0, name.find(RESULTS_ENDING)));
    setUserVar(&kv_urv, "report-name", text);
}

// ---- handlers: what they read, and what they do besides replying ----

// param1: number of applications, 0 for one that is called as the subscription. Payload: the
// subscription's name, then an application's name and its second name for each.
int srvAddSubscription(const PktMessage *request, PktMessage *reply) {
    Subscription fields{};
    fields.quotaId = QUOTA_NONE;
    fields.numApps = request->param1;
    int result = readSubscription(request, &fields);
    dmon_log(2, "Server: add subscription '%s', num_apps=%d, ret=%d.\n", fields.name,
             fields.numApps, result);
    if (result != SRV_OK) return replyResult(reply, result);

    HeapGuard<Subscription> subscription(
        static_cast<Subscription *>(std::malloc(sizeof(Subscription))));
    if (!subscription) {
        dmon_log(1, "Error: no memory for subscription '%s'.\n", fields.name);
        return replyResult(reply, SRV_NOT_STORED);
    }
    *subscription = fields;
    result = startMeasSubs(subscription.get());
    if (result == POST_OK) static_cast<void>(subscription.release());  // the listener's from now on
    return replyResult(reply, result);
}

// Payload: the subscription's name.
int srvRemoveSubscription(const PktMessage *request, PktMessage *reply) {
    char name[NAME_SIZE] = "";
    std::uint32_t position = 0;
    int result = readText(request, name, &position);
    if (result == SRV_OK) result = stopMeasSubs(name);
    dmon_log(2, "Server: remove subscription '%s', ret=%d.\n", name, result);
    return replyResult(reply, result);
}

// param1: maximum number of files; param2: QuotaSubject.
int srvSetQuota(const PktMessage *request, PktMessage *reply) {
    const std::int32_t max = request->param1;
    int result = SRV_OK;
    if (request->param2 == QUOTA_RESULTS) {
        opt_max_res = max;
        updateAllSubsQuotas();
    } else if (request->param2 == QUOTA_REPORTS) {
        opt_max_rpt = max;
        updateReportQuota();
    } else {
        result = SRV_UNKNOWN_ID;
    }
    dmon_log(2, "Server: set quota-id #%d to %d (ret=%d).\n", request->param2, max, result);
    return replyResult(reply, result);
}

// param1: number of pairs. Payload: name and value of each. Pairs before a failure stay stored.
int srvSetUserVars(const PktMessage *request, PktMessage *reply) {
    std::uint32_t position = 0;
    int result = SRV_OK;
    for (std::int32_t i = 0; i < request->param1 && result == SRV_OK; ++i) {
        char name[USER_VAR_NAME_SIZE] = "";
        char value[USER_VAR_VALUE_SIZE] = "";
        result = readText(request, name, &position);
        if (result == SRV_OK) result = readText(request, value, &position);
        if (result != SRV_OK) break;
        dmon_log(2, "Server: set URV %s=%s.\n", name, value);
        if (setUserVar(&kv_urv, name, value) != KV_OK) {
            dmon_log(1, "Error: no memory for user variable '%s'.\n", name);
            result = SRV_NOT_STORED;
        }
    }
    return replyResult(reply, result);
}

// Makes a report before it replies. param1: flags; param2: ReportFormat. Payload: subscription,
// results file, template and report file. A file's name that begins with '/' is taken as it is;
// any other is made safe and names a file directly in its directory.
int srvMakeReport(const PktMessage *request, PktMessage *reply) {
    const auto flags = static_cast<std::uint32_t>(request->param1);
    ReportRequest fields{};
    int result = readReportRequest(request, &fields);
    dmon_log(2, "Server: make report (flags=%04X, format=%d) :\n", flags, request->param2);
    dmon_log(2, "  Result file    : %s\n", fields.results);
    dmon_log(2, "  Template file  : %s\n", fields.templateFile);
    dmon_log(2, "  Report file    : %s\n", fields.report);
    char name[BASE_NAME_SIZE];
    setReportName(fields.report, name);
    if (result == SRV_OK) {
        result = generateReport(fields.results, fields.templateFile, fields.report, flags,
                                static_cast<std::uint32_t>(request->param2), &kv_urv,
                                fields.subscription, name);
    }
    dmon_log(2, "Server: make report done, ret=%d.\n", result);
    return replyResult(reply, result);
}

// Payload: language identifier, at most 3 characters.
int srvSetLangId(const PktMessage *request, PktMessage *reply) {
    char id[sizeof opt_lang_id.get().text] = "";
    std::uint32_t position = 0;
    const int result = readText(request, id, &position);
    if (result == SRV_OK) opt_lang_id.set(id);
    dmon_log(2, "Server: set lang ID '%s'.\n", opt_lang_id.get().text);
    return replyResult(reply, result);
}

// param1: on or off; param2: ReportFormat. Payload: 16-bit name format and, when that is 1, the
// reference name; without that name SRV_BAD_FIELD and no reply.
int srvSetAutoreport(const PktMessage *request, PktMessage *reply) {
    const bool on = request->param1 != 0;
    int result = SRV_OK;
    if (on && static_cast<std::uint32_t>(request->param2) > LAST_REPORT_FORMAT) {
        result = SRV_BAD_FORMAT;
    } else {
        opt_autorpt = on ? 1 : 0;
        opt_auto_fmt = request->param2;
        std::uint32_t position = 0;
        std::uint16_t nameFormat = 0;
        if (pktGet16(request, &nameFormat, &position) == PKT_OK) {
            opt_autoname = static_cast<std::int16_t>(nameFormat);
        }
        if (opt_autoname == NAME_BY_SEQUENCE) {
            char reference[sizeof opt_refname.get().text] = "";
            if (readText(request, reference, &position) != SRV_OK) return SRV_BAD_FIELD;
            opt_refname.set(reference);
        }
    }
    dmon_log(2, "Server: set autoreport (%d,%d) autoname=%d.\n", opt_autorpt.load(),
             opt_auto_fmt.load(), opt_autoname.load());
    return replyResult(reply, result);
}

// param1: next sequence number.
int srvSetAutoSequence(const PktMessage *request, PktMessage *reply) {
    opt_autoseq = request->param1;
    savePersistentData();
    dmon_log(2, "Server: set auto-sequence (%d)\n", request->param1);
    return replyResult(reply, SRV_OK);
}

// Replies with name format and sequence number.
int srvGetAutoSequence(const PktMessage * /*request*/, PktMessage *reply) {
    const int nameFormat = opt_autoname;
    const int sequence = opt_autoseq;
    dmon_log(2, "Server: get auto-sequence (%d,%d).\n", nameFormat, sequence);
    pktInitFull(reply, REQ_GET_AUTOSEQ, nameFormat, sequence);
    return SRV_OK;
}

// Payload: subscription, template. SRV_BAD_FIELD and no reply when one cannot be read.
int srvSetTemplate(const PktMessage *request, PktMessage *reply) {
    char name[NAME_SIZE] = "";
    char templateName[sizeof Subscription::templateName] = "";
    std::uint32_t position = 0;
    if (readText(request, name, &position) != SRV_OK) return SRV_BAD_FIELD;
    if (readText(request, templateName, &position) != SRV_OK) return SRV_BAD_FIELD;
    const int result = climbs(templateName) ? SRV_BAD_FIELD : setSubsTemplate(name, templateName);
    dmon_log(2, "Server: set template of '%s' to '%s', ret=%d.\n", name, templateName, result);
    return replyResult(reply, result);
}

// param1: FullAction; param2: QuotaSubject.
int srvSetFullAction(const PktMessage *request, PktMessage *reply) {
    const std::int32_t action = request->param1;
    const bool known = static_cast<std::uint32_t>(action) <= LAST_FULL_ACTION;
    int result = SRV_UNKNOWN_ID;
    if (known && request->param2 == QUOTA_RESULTS) {
        opt_fullact_res = action;
        updateAllSubsQuotas();
        result = SRV_OK;
    } else if (known && request->param2 == QUOTA_REPORTS) {
        opt_fullact_rpt = action;
        updateReportQuota();
        result = SRV_OK;
    }
    dmon_log(2, "Server: set full action, quota: %d, action: %d (status:%d).\n", request->param2,
             action, result);
    return replyResult(reply, result);
}

// param2: QuotaSubject, only QUOTA_REPORTS. Replies with maximum and number of files.
int srvGetNumFiles(const PktMessage *request, PktMessage *reply) {
    if (request->param2 == QUOTA_REPORTS) {
        pktInitFull(reply, REQ_GET_NUMFILES, opt_max_rpt, getReportCount());
    } else {
        pktInitFull(reply, REPLY_RESULT, SRV_UNKNOWN_ID, 0);
    }
    dmon_log(2, "Server: get num-files (%d,%d).\n", reply->param1, reply->param2);
    return SRV_OK;
}

// param1: on or off.
int srvSetAutosave(const PktMessage *request, PktMessage *reply) {
    const int on = request->param1 != 0 ? 1 : 0;
    opt_autosave = on;
    dmon_log(2, "Server: set autosave = %d.\n", on);
    replyResult(reply, SRV_OK);
    quotaEnableAll(on);
    return SRV_OK;
}

// param1: QuotaSubject, which other requests have in param2.
int srvDeleteAllFiles(const PktMessage *request, PktMessage *reply) {
    int result = SRV_UNKNOWN_ID;
    if (request->param1 == QUOTA_RESULTS) {
        result = deleteAllSubsFiles();
    } else if (request->param1 == QUOTA_REPORTS) {
        result = deleteAllReports();
    }
    dmon_log(2, "Server: delete all files, quota=%d, ret=%d.\n", request->param1, result);
    return replyResult(reply, result);
}

}  // namespace

const Request requestTable[] = {
#define VORN_REQUEST(name, code, ...) {name, __VA_ARGS__},
#include "server/requests.def"
#undef VORN_REQUEST
};
const std::size_t requestCount = std::size(requestTable);

const Request *findRequest(unsigned code) {
    const Request *found = std::find_if(std::begin(requestTable), std::end(requestTable),
                                        [code](const Request &row) { return row.code == code; });
    return found == std::end(requestTable) ? nullptr : found;
}
