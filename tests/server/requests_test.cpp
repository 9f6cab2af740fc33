// SPDX-License-Identifier: MIT
// Hands requests to the callback as the server library does and compares everything a request may
// do: result, reply, options, log, and the calls into the rest of the service, whose functions are
// replaced here by ones that write down how they were called.
#include "server/requests.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "core/options.h"
#include "core/subscription.h"
#include "listener/commands.h"
#include "okra/okra.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "server/server.h"
#include "storage/persistent.h"
#include "storage/quota.h"
#include "storage/strings.h"
#include "support/log_capture.h"

namespace {

std::string calls;     // one line a call
int nextResult = 0;    // what the calls return
Subscription started;  // the record of the last startMeasSubs

int call(const std::string &text) {
    calls += text + "\n";
    return nextResult;
}

}  // namespace

int startMeasSubs(Subscription *subscription) {
    started = *subscription;
    if (nextResult == 0) std::free(subscription);
    return call("start " + std::string(started.name));
}
int stopMeasSubs(const char *name) {
    return call("stop " + std::string(name));
}
int setSubsTemplate(const char *name, const char *templateName) {
    return call("template " + std::string(name) + " " + templateName);
}
int updateAllSubsQuotas() {
    return call("update results quotas");
}
int deleteAllSubsFiles() {
    return call("delete results");
}
int savePersistentData() {
    return call("save " + std::to_string(opt_autoseq));
}
int updateReportQuota() {
    return call("update report quota");
}
int deleteAllReports() {
    return call("delete reports");
}
int getReportCount() {
    return 7;
}
int generateReport(const char *resultsPath, const char *templatePath, const char *reportPath,
                   std::uint32_t flags, std::uint32_t format, KvStore *userVars,
                   const char *dictName) {
    EXPECT_EQ(userVars, &kv_urv);
    char name[64] = "";
    copyUserVar(userVars, "report-name", name, sizeof name);
    return call(std::string("report ") + resultsPath + " " + templatePath + " " + reportPath + " " +
                std::to_string(flags) + " " + std::to_string(format) + " " + dictName + " " + name);
}
int APX_Set_Global_Meas_Ctrl(const void *control) {
    return call(*static_cast<const char *>(control) == 3 ? "measure" : "do not measure");
}

namespace {

using Item = std::variant<const char *, int>;

// param1 of a REPLY_RESULT.
std::string result(int param1) {
    return "256 " + std::to_string(param1) + " 0";
}

class Requests : public testing::Test {
protected:
    void SetUp() override {
        setDefaults();
        initUserVars();
        calls.clear();
        nextResult = 0;
    }

    // Makes one request and compares all that comes of it.
    //   reply  its three numbers, or "result N" for a callback result without reply
    static void check(std::uint16_t type, std::int32_t param1, std::int32_t param2,
                      const std::vector<Item> &payload, const std::string &reply,
                      const std::string &expectedCalls, const std::string &expectedLog) {
        SCOPED_TRACE(testing::Message() << type << ": " << expectedLog);
        std::array<std::uint8_t, 1024> memory{};
        PktMessage request{};
        request.payload = memory.data();
        request.capacity = memory.size();
        pktInitFull(&request, type, param1, param2);
        for (const Item &item : payload) {
            if (const int *number = std::get_if<int>(&item)) {
                pktPut16(&request, static_cast<std::uint16_t>(*number));
            } else {
                pktPutString(&request, std::get<const char *>(item));
            }
        }
        PktMessage made{};
        calls.clear();
        LogCapture log(2);
        const int code = serverRequestCallback(nullptr, nullptr, &request, &made);
        EXPECT_EQ(code != 0 ? "result " + std::to_string(code)
                            : std::to_string(made.type) + " " + std::to_string(made.param1) + " " +
                                  std::to_string(made.param2),
                  reply);
        EXPECT_EQ(calls, expectedCalls);
        EXPECT_EQ(log.text(), expectedLog);
    }
    static std::string userVar(const char *name) {
        char text[128];
        return copyUserVar(&kv_urv, name, text, sizeof text) ? text : "(none)";
    }
};

// What a report's request logs around its three paths.
std::string reportLog(const std::string &head, const std::string &results,
                      const std::string &templateFile, const std::string &report,
                      const std::string &ret) {
    return "Server: make report (" + head + ") :\n  Result file    : " + results +
           "\n  Template file  : " + templateFile + "\n  Report file    : " + report +
           "\nServer: make report done, ret=" + ret + ".\n";
}

TEST_F(Requests, WithoutHandlerGetAResultAndNoReply) {
    for (const int code : {0, 256, 260, 268, 273, 65535}) {
        check(static_cast<std::uint16_t>(code), 1, 0, {"eth1"}, "result 1", "", "");
    }
    EXPECT_EQ(serverRequestCallback(nullptr, nullptr, nullptr, nullptr), SRV_NO_MESSAGE);
}

TEST_F(Requests, AddSubscriptionPostsTheWholeRecordOrNothing) {
    const std::vector<Item> eight = {"tx", "a1", "l1", "a2", "l2", "a3", "l3", "a4", "l4",
                                     "a5", "l5", "a6", "l6", "a7", "l7", "a8", "l8"};
    check(REQ_ADD_SUBS, 8, 0, eight, result(0), "start tx\n",
          "Server: add subscription 'tx', num_apps=8, ret=0.\n");
    EXPECT_EQ(started.numApps, 8);
    EXPECT_EQ(started.quotaId, -1);
    EXPECT_STREQ(started.apps[7].appName, "a8");
    EXPECT_STREQ(started.apps[7].appLabel, "l8");
    check(REQ_ADD_SUBS, 0, 0, {"eth1"}, result(0), "start eth1\n",
          "Server: add subscription 'eth1', num_apps=1, ret=0.\n");
    EXPECT_STREQ(started.apps[0].appName, "eth1");
    EXPECT_STREQ(started.apps[0].appLabel, "eth1");
    EXPECT_STREQ(started.templateName, "");

    const auto refused = [](int apps, const std::vector<Item> &payload, int ret, const char *name) {
        check(REQ_ADD_SUBS, apps, 0, payload, result(ret), "",
              std::string("Server: add subscription '") + name +
                  "', num_apps=" + std::to_string(apps) + ", ret=" + std::to_string(ret) + ".\n");
    };
    refused(9, eight, SRV_BAD_APP_COUNT, "");
    refused(-1, eight, SRV_BAD_APP_COUNT, "");
    refused(1, {}, SRV_BAD_FIELD, "");
    refused(0, {"abcdefghijklmnop"}, SRV_BAD_FIELD, "");
    refused(2, {"tx", "a1", "l1"}, SRV_BAD_FIELD, "tx");
    refused(1, {"tx", "a1"}, SRV_BAD_FIELD, "tx");
    for (const char *name : {"", ".", "..", "../x", "/tmp"})
        refused(0, {name}, SRV_BAD_FIELD, name);
    nextResult = -1;  // the record stays the handler's, which frees it
    check(REQ_ADD_SUBS, 0, 0, {"eth1"}, result(-1), "start eth1\n",
          "Server: add subscription 'eth1', num_apps=1, ret=0.\n");
}

TEST_F(Requests, OnSubscriptionsArePosted) {
    check(REQ_REMOVE_SUBS, 0, 0, {"tx"}, result(0), "stop tx\n",
          "Server: remove subscription 'tx', ret=0.\n");
    check(REQ_REMOVE_SUBS, 0, 0, {3}, result(-6), "", "Server: remove subscription '', ret=-6.\n");
    check(REQ_SET_TEMPLATE, 0, 0, {"tx", "sub/t..tpl"}, result(0), "template tx sub/t..tpl\n",
          "Server: set template of 'tx' to 'sub/t..tpl', ret=0.\n");
    check(REQ_SET_TEMPLATE, 0, 0, {"tx", "/a/../t"}, result(0), "template tx /a/../t\n",
          "Server: set template of 'tx' to '/a/../t', ret=0.\n");
    check(REQ_SET_TEMPLATE, 0, 0, {"tx", "a/../../t"}, result(-6), "",
          "Server: set template of 'tx' to 'a/../../t', ret=-6.\n");
    check(REQ_SET_TEMPLATE, 0, 0, {"tx"}, "result -6", "", "");
    check(REQ_SET_TEMPLATE, 0, 0, {}, "result -6", "", "");
    check(REQ_DELETE_ALL, 0, 1, {}, result(0), "delete results\n",
          "Server: delete all files, quota=0, ret=0.\n");
    check(REQ_DELETE_ALL, 1, 0, {}, result(0), "delete reports\n",
          "Server: delete all files, quota=1, ret=0.\n");
    check(REQ_DELETE_ALL, 2, 0, {}, result(-22), "",
          "Server: delete all files, quota=2, ret=-22.\n");
    nextResult = -1;
    check(REQ_REMOVE_SUBS, 0, 0, {"tx"}, result(-1), "stop tx\n",
          "Server: remove subscription 'tx', ret=-1.\n");
}

TEST_F(Requests, OnQuotasChangeTheOptionThenTellItsOwner) {
    nextResult = -1;  // nobody looks at it
    check(REQ_SET_QUOTA, 70000, 0, {}, result(0), "update results quotas\n",
          "Server: set quota-id #0 to 70000 (ret=0).\n");
    check(REQ_SET_QUOTA, 3, 1, {}, result(0), "update report quota\n",
          "Server: set quota-id #1 to 3 (ret=0).\n");
    check(REQ_SET_QUOTA, 9, 2, {}, result(-22), "", "Server: set quota-id #2 to 9 (ret=-22).\n");
    EXPECT_EQ(opt_max_res, 70000);
    EXPECT_EQ(opt_max_rpt, 3);

    check(REQ_SET_FULLACTION, 1, 0, {}, result(0), "update results quotas\n",
          "Server: set full action, quota: 0, action: 1 (status:0).\n");
    check(REQ_SET_FULLACTION, 2, 1, {}, result(0), "update report quota\n",
          "Server: set full action, quota: 1, action: 2 (status:0).\n");
    check(REQ_SET_FULLACTION, 0, -1, {}, result(-22), "",
          "Server: set full action, quota: -1, action: 0 (status:-22).\n");
    check(REQ_SET_FULLACTION, 3, 0, {}, result(-22), "",
          "Server: set full action, quota: 0, action: 3 (status:-22).\n");
    check(REQ_SET_FULLACTION, -1, 1, {}, result(-22), "",
          "Server: set full action, quota: 1, action: -1 (status:-22).\n");
    EXPECT_EQ(opt_fullact_res, FULL_BLOCK);
    EXPECT_EQ(opt_fullact_rpt, FULL_PURGE);

    check(REQ_GET_NUMFILES, 0, 1, {}, "270 3 7", "", "Server: get num-files (3,7).\n");
    check(REQ_GET_NUMFILES, 0, 0, {}, result(-22), "", "Server: get num-files (-22,0).\n");
}

TEST_F(Requests, AutosaveSwitchesTheOptionAndEveryQuota) {
    const int quota = quotaInstall(0, FULL_BLOCK, nullptr, nullptr, nullptr);
    quotaAddCount(quota, 1);
    check(REQ_SET_AUTOSAVE, 0, 0, {}, result(0), "measure\n",
          "Server: set autosave = 0.\nMeasurement enable control: enabled\n");
    EXPECT_EQ(opt_autosave, 0);
    check(REQ_SET_AUTOSAVE, -5, 0, {}, result(0), "do not measure\n",
          "Server: set autosave = 1.\nMeasurement enable control: disabled\n");
    EXPECT_EQ(opt_autosave, 1);
}

TEST_F(Requests, UserVariablesAreStoredUpToTheFirstThatFails) {
    check(REQ_SET_URV, 3, 0, {"a", "1", "b", 5, "c", "3"}, result(-6), "",
          "Server: set URV a=1.\n");
    check(REQ_SET_URV, 2, 0, {"a", "2", "d", "%s"}, result(0), "",
          "Server: set URV a=2.\nServer: set URV d=%s.\n");
    check(REQ_SET_URV, INT_MIN, 0, {"e", "1"}, result(0), "", "");
    check(REQ_SET_URV, INT_MAX, 0, {}, result(-6), "", "");
    check(REQ_SET_URV, 1, 0, {"f", std::string(128, 'v').c_str()}, result(-6), "", "");
    EXPECT_EQ(userVar("a") + userVar("b") + userVar("c") + userVar("d") + userVar("e"),
              "2(none)(none)%s(none)");
}

TEST_F(Requests, MakeReportKeepsRelativeNamesInTheirDirectories) {
    safe_strncpy(opt_resdir, "/r", sizeof opt_resdir);
    safe_strncpy(opt_tpldir, "/t", sizeof opt_tpldir);
    safe_strncpy(opt_rptdir, "/long", sizeof opt_rptdir);
    check(REQ_MAKE_REPORT, 0xBEEF, 1, {"tx", "/a/../b.res", "/t.tpl", "/x/l.res.pdf"}, result(0),
          "report /a/../b.res /t.tpl /x/l.res.pdf 48879 1 tx l\n",
          reportLog("flags=BEEF, format=1", "/a/../b.res", "/t.tpl", "/x/l.res.pdf", "0"));
    nextResult = -9;
    check(REQ_MAKE_REPORT, -1, 0, {"", "a/b.res", "..t", "../x.pdf"}, result(-9),
          "report /r/a_b.res /t/..t /long/.._x.pdf 4294967295 0  .._x.pdf\n",
          reportLog("flags=FFFFFFFF, format=0", "/r/a_b.res", "/t/..t", "/long/.._x.pdf", "-9"));
    nextResult = 0;
    const std::string name(60, 'n');
    const std::string cut = "/long/" + name.substr(0, 57);
    check(REQ_MAKE_REPORT, 0, 0, {"tx", "b", "t", name.c_str()}, result(0),
          "report /r/b /t/t " + cut + " 0 0 tx " + name.substr(0, 39) + "\n",
          "Warning: path '" + cut + "' was cut at 63 characters.\n" +
              reportLog("flags=0000, format=0", "/r/b", "/t/t", cut, "0"));

    const auto refused = [](const std::vector<Item> &payload, const std::string &results,
                            const std::string &templateFile) {
        check(REQ_MAKE_REPORT, 0, 7, payload, result(-6), "",
              reportLog("flags=0000, format=7", results, templateFile, "", "-6"));
        EXPECT_EQ(userVar("report-name"), "");
    };
    refused({}, "", "");
    refused({"../tx", "b", "t", "x"}, "", "");  // would name a dictionary elsewhere
    refused({"tx", ".", "t", "x"}, "", "");     // the directory itself
    refused({"tx", "b", "..", "x"}, "/r/b", "");
    refused({"tx", "b", "t", ""}, "/r/b", "/t/t");
    refused({"tx", "b", "t"}, "/r/b", "/t/t");
}

TEST_F(Requests, AutoreportChangesNothingOnABadFormatButMuchWithoutAReference) {
    const auto state = [] {
        return std::to_string(opt_autorpt) + " " + std::to_string(opt_auto_fmt) + " " +
               std::to_string(opt_autoname) + " " + opt_refname.get().text;
    };
    const auto autoreport = [](int on, int format, const std::vector<Item> &payload, int ret,
                               const std::string &options) {
        check(REQ_SET_AUTOREPORT, on, format, payload, result(ret), "",
              "Server: set autoreport " + options + ".\n");
    };
    autoreport(5, 0, {1, "run"}, 0, "(1,0) autoname=1");
    EXPECT_EQ(state(), "1 0 1 run");
    autoreport(1, 2, {0}, -19, "(1,0) autoname=1");
    autoreport(1, -1, {0}, -19, "(1,0) autoname=1");
    EXPECT_EQ(state(), "1 0 1 run");
    check(REQ_SET_AUTOREPORT, 0, 7, {1}, "result -6", "", "");
    EXPECT_EQ(state(), "0 7 1 run");
    check(REQ_SET_AUTOREPORT, 1, 1, {}, "result -6", "", "");  // still by sequence
    EXPECT_EQ(state(), "1 1 1 run");
    autoreport(0, 7, {0}, 0, "(0,7) autoname=0");
    autoreport(1, 1, {}, 0, "(1,1) autoname=0");
    EXPECT_EQ(state(), "1 1 0 run");
}

TEST_F(Requests, OnLanguageAndSequenceSetAndTellThem) {
    nextResult = -10;  // the state file's trouble is only logged
    check(REQ_SET_LANG, 0, 0, {"deu"}, result(0), "", "Server: set lang ID 'deu'.\n");
    check(REQ_SET_LANG, 0, 0, {"engl"}, result(-6), "", "Server: set lang ID 'deu'.\n");
    check(REQ_SET_AUTOSEQ, -3, 0, {}, result(0), "save -3\n", "Server: set auto-sequence (-3)\n");
    check(REQ_GET_AUTOSEQ, 0, 0, {}, "266 0 -3", "", "Server: get auto-sequence (0,-3).\n");
}

TEST_F(Requests, AreNotTakenWhenTheServerCannotBeMade) {
    setenv("NX_PORT", "none", 1);
    LogCapture log;
    EXPECT_EQ(runVornServer(), -1);
    EXPECT_EQ(log.text(), "Error creating client listener: NX_PORT is no port number\n");
}

}  // namespace
