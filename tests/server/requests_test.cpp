// SPDX-License-Identifier: MIT
// Hands requests to the callback as the server library does and compares everything a request may
// do: result, reply, options, log, and the calls into the rest of the service, whose functions are
// replaced here by ones that write down how they were called.
#include "server/requests.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

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

std::string calls;   // with a ";" behind each
int nextResult = 0;  // what the calls return

int call(const std::string &text) {
    calls += text + ";";
    return nextResult;
}

}  // namespace

int startMeasSubs(Subscription *subscription) {
    const Subscription s = *subscription;
    if (nextResult == 0) std::free(subscription);
    const SubscriptionApp last = s.apps[s.numApps - 1];
    return call(std::string("start ") + s.name + " " + std::to_string(s.numApps) + " " +
                last.appName + "/" + last.appLabel + " '" + s.templateName + "' " +
                std::to_string(s.quotaId));
}
int stopMeasSubs(const char *name) {
    return call("stop " + std::string(name));
}
int setSubsTemplate(const char *name, const char *templateName) {
    return call("template " + std::string(name) + " " + templateName);
}
int updateAllSubsQuotas() {
    return call("results quotas");
}
int deleteAllSubsFiles() {
    return call("delete results");
}
int savePersistentData() {
    return call("save " + std::to_string(opt_autoseq));
}
int updateReportQuota() {
    return call("report quota");
}
int deleteAllReports() {
    return call("delete reports");
}
int getReportCount() {
    return 7;
}
int generateReport(const char *resultsPath, const char *templatePath, const char *reportPath,
                   std::uint32_t flags, std::uint32_t format, KvStore *userVars,
                   const char *dictName, const char *name) {
    EXPECT_EQ(userVars, &kv_urv);
    return call(std::string("report ") + resultsPath + " " + templatePath + " " + reportPath + " " +
                std::to_string(flags) + " " + std::to_string(format) + " " + dictName + " " + name);
}
int APX_Set_Global_Meas_Ctrl(const void *control) {
    return call(*static_cast<const char *>(control) == 3 ? "measure" : "hold");
}

namespace {

// The next part of a line, up to a "|" and without blanks around it.
std::string nextField(std::istringstream *line) {
    std::string field;
    std::getline(*line >> std::ws, field, '|');
    return field.substr(0, field.find_last_not_of(' ') + 1);
}

// A request's type, parameters and items: texts ('' is empty) and #numbers.
void build(std::istringstream words, PktMessage *request) {
    std::int32_t numbers[3];
    for (std::int32_t &number : numbers) words >> number;
    pktInitFull(request, static_cast<std::uint16_t>(numbers[0]), numbers[1], numbers[2]);
    for (std::string word; words >> word;) {
        if (word.front() == '#') {
            pktPut16(request, static_cast<std::uint16_t>(std::stoi(word.substr(1))));
        } else {
            pktPutString(request, word == "''" ? "" : word.c_str());
        }
    }
}

class Requests : public testing::Test {
protected:
    Requests() {
        setDefaults();
        initUserVars();
        nextResult = 0;
    }

    // Makes requests, one a line, and compares all that comes of them:
    //   request | reply | calls | log
    // The reply is the result of a REPLY_RESULT, the three numbers of another reply, or "code N"
    // for a callback result without reply. The log's lines stand without "Server: " and end in ";".
    static void check(const std::string &script) {
        std::istringstream lines(script);
        for (std::string line; std::getline(lines >> std::ws, line);) {
            SCOPED_TRACE(line);
            std::istringstream fields(line);
            std::uint8_t memory[1024];
            PktMessage request{0, 0, 0, 0, sizeof memory, memory};
            build(std::istringstream(nextField(&fields)), &request);
            PktMessage made{};
            calls.clear();
            LogCapture log(2);
            const int code = serverRequestCallback(nullptr, nullptr, &request, &made);
            std::string reply = std::to_string(made.param1);
            if (made.type != REPLY_RESULT) {
                reply.insert(0, std::to_string(made.type) + " ");
                reply += " " + std::to_string(made.param2);
            }
            EXPECT_EQ(code != 0 ? "code " + std::to_string(code) : reply, nextField(&fields));
            EXPECT_EQ(calls, nextField(&fields));
            std::string logged = log.text();
            std::replace(logged.begin(), logged.end(), '\n', ';');
            for (std::size_t at = 0; (at = logged.find("Server: ")) != std::string::npos;)
                logged.erase(at, 8);
            EXPECT_EQ(logged, nextField(&fields));
        }
    }
};

TEST_F(Requests, WithoutHandlerGetAResultAndNoReply) {
    check(
        "0 1 0 a | code 1\n 256 0 0 | code 1\n 260 0 0 | code 1\n 268 0 0 | code 1\n"
        "273 0 0 | code 1\n 65535 0 0 | code 1");
    EXPECT_EQ(serverRequestCallback(nullptr, nullptr, nullptr, nullptr), SRV_NO_MESSAGE);
}

TEST_F(Requests, AddSubscriptionPostsTheWholeRecordOrNothing) {
    const std::string eight = "a1 l1 a2 l2 a3 l3 a4 l4 a5 l5 a6 l6 a7 l7 a8 l8";
    check("257 8 0 tx " + eight +
          " | 0 | start tx 8 a8/l8 '' -1; | add subscription 'tx', num_apps=8, ret=0.;");
    check("257 9 0 tx " + eight + " a9 l9 | -8 | | add subscription '', num_apps=9, ret=-8.;");
    check(R"(
        257 0 0 eth | 0 | start eth 1 eth/eth '' -1; | add subscription 'eth', num_apps=1, ret=0.;
        257 -1 0 tx | -8 | | add subscription '', num_apps=-1, ret=-8.;
        257 1 0 | -6 | | add subscription '', num_apps=1, ret=-6.;
        257 0 0 abcdefghijklmnop | -6 | | add subscription '', num_apps=0, ret=-6.;
        257 1 0 tx a1 | -6 | | add subscription 'tx', num_apps=1, ret=-6.;
        257 0 0 '' | -6 | | add subscription '', num_apps=0, ret=-6.;
        257 0 0 . | -6 | | add subscription '.', num_apps=0, ret=-6.;
        257 0 0 .. | -6 | | add subscription '..', num_apps=0, ret=-6.;
        257 0 0 ../x | -6 | | add subscription '../x', num_apps=0, ret=-6.;)");
    nextResult = -1;  // the record stays the handler's, which frees it
    check("257 0 0 e | -1 | start e 1 e/e '' -1; | add subscription 'e', num_apps=1, ret=0.;");
}

TEST_F(Requests, OnSubscriptionsLanguageAndSequenceAreDoneOrRefused) {
    check(R"(
        258 0 0 tx | 0 | stop tx; | remove subscription 'tx', ret=0.;
        258 0 0 #3 | -6 | | remove subscription '', ret=-6.;
        267 0 0 tx s/t..tpl | 0 | template tx s/t..tpl; | set template of 'tx' to 's/t..tpl', ret=0.;
        267 0 0 tx /a/../t | 0 | template tx /a/../t; | set template of 'tx' to '/a/../t', ret=0.;
        267 0 0 tx a/../../t | -6 | | set template of 'tx' to 'a/../../t', ret=-6.;
        267 0 0 tx | code -6
        267 0 0 | code -6
        272 0 1 | 0 | delete results; | delete all files, quota=0, ret=0.;
        272 1 0 | 0 | delete reports; | delete all files, quota=1, ret=0.;
        272 2 0 | -22 | | delete all files, quota=2, ret=-22.;)");
    nextResult = -1;  // the state file's trouble is only logged
    check(R"(
        258 0 0 tx | -1 | stop tx; | remove subscription 'tx', ret=-1.;
        263 0 0 deu | 0 | | set lang ID 'deu'.;
        263 0 0 engl | -6 | | set lang ID 'deu'.;
        265 -3 0 | 0 | save -3; | set auto-sequence (-3);
        266 0 0 | 266 0 -3 | | get auto-sequence (0,-3).;)");
}

TEST_F(Requests, OnQuotasChangeTheOptionThenTellItsOwner) {
    nextResult = -1;  // nobody looks at it
    check(R"(
        259 70000 0 | 0 | results quotas; | set quota-id #0 to 70000 (ret=0).;
        259 3 1 | 0 | report quota; | set quota-id #1 to 3 (ret=0).;
        259 9 2 | -22 | | set quota-id #2 to 9 (ret=-22).;
        269 1 0 | 0 | results quotas; | set full action, quota: 0, action: 1 (status:0).;
        269 2 1 | 0 | report quota; | set full action, quota: 1, action: 2 (status:0).;
        269 0 -1 | -22 | | set full action, quota: -1, action: 0 (status:-22).;
        269 3 0 | -22 | | set full action, quota: 0, action: 3 (status:-22).;
        269 -1 1 | -22 | | set full action, quota: 1, action: -1 (status:-22).;
        270 0 1 | 270 3 7 | | get num-files (3,7).;
        270 0 0 | -22 | | get num-files (-22,0).;)");
    EXPECT_TRUE(opt_max_res == 70000 && opt_max_rpt == 3);
    EXPECT_TRUE(opt_fullact_res == FULL_BLOCK && opt_fullact_rpt == FULL_PURGE);

    quotaAddCount(quotaInstall(0, FULL_BLOCK, nullptr, nullptr, nullptr), 1);
    check("271 0 0 | 0 | measure; | set autosave = 0.;Measurement enable control: enabled;");
    EXPECT_EQ(opt_autosave, 0);
    check("271 -5 0 | 0 | hold; | set autosave = 1.;Measurement enable control: disabled;");
    EXPECT_EQ(opt_autosave, 1);
}

TEST_F(Requests, UserVariablesAreStoredUpToTheFirstThatFails) {
    check("261 1 0 f " + std::string(128, 'v') + " | -6");
    check(R"(
        261 3 0 a 1 b #5 c 3 | -6 | | set URV a=1.;
        261 2 0 a 2 d %s | 0 | | set URV a=2.;set URV d=%s.;
        261 -2147483648 0 e 1 | 0
        261 2147483647 0 | -6)");
    std::string stored;
    for (const char *name : {"a", "b", "c", "d", "e", "f"}) {
        char text[128];
        copyUserVar(&kv_urv, name, text, sizeof text);
        stored += std::string(text) + ";";
    }
    EXPECT_EQ(stored, "2;;;%s;;;");
}

TEST_F(Requests, MakeReportKeepsRelativeNamesInTheirDirectories) {
    safe_strncpy(opt_resdir, "/r", sizeof opt_resdir);
    safe_strncpy(opt_tpldir, "/t", sizeof opt_tpldir);
    safe_strncpy(opt_rptdir, "/long", sizeof opt_rptdir);
    const auto make = [](const std::string &request, const std::string &told,
                         const std::string &head, const std::string &results,
                         const std::string &templateFile, const std::string &report) {
        check("262 " + request + " | " + told + " | " + head + " :;  Result file    : " + results +
              ";  Template file  : " + templateFile + ";  Report file    : " + report +
              ";make report done, ret=" + told.substr(0, told.find(' ')) + ".;");
    };
    make("48879 1 tx /a/../b.res /t.tpl /x/l.res.pdf",
         "0 | report /a/../b.res /t.tpl /x/l.res.pdf 48879 1 tx l;",
         "make report (flags=BEEF, format=1)", "/a/../b.res", "/t.tpl", "/x/l.res.pdf");
    const std::string cut = "/long/" + std::string(57, 'n');
    make("0 0 tx b t " + std::string(60, 'n'),
         "0 | report /r/b /t/t " + cut + " 0 0 tx " + std::string(39, 'n') + ";",
         "Warning: path '" + cut + "' was cut at 63 characters.;make report (flags=0000, format=0)",
         "/r/b", "/t/t", cut);
    nextResult = -9;
    make("-1 0 '' a/b.res ..t ../x.pdf",
         "-9 | report /r/a_b.res /t/..t /long/.._x.pdf 4294967295 0  .._x.pdf;",
         "make report (flags=FFFFFFFF, format=0)", "/r/a_b.res", "/t/..t", "/long/.._x.pdf");

    const auto refused = [&](const std::string &items, const char *results,
                             const char *templateFile) {
        make("0 7 " + items, "-6 | ", "make report (flags=0000, format=7)", results, templateFile,
             "");
        char name[64] = "old";
        EXPECT_TRUE(copyUserVar(&kv_urv, "report-name", name, sizeof name));
        EXPECT_STREQ(name, "");
    };
    refused("", "", "");
    refused("../tx b t x", "", "");  // would name a dictionary elsewhere
    refused("tx . t x", "", "");     // the directory itself
    refused("tx b .. x", "/r/b", "");
    refused("tx b t ''", "/r/b", "/t/t");
    refused("tx b t", "/r/b", "/t/t");
}

TEST_F(Requests, AutoreportChangesNothingOnABadFormatButMuchWithoutAReference) {
    const auto autoreport = [](const char *line, const char *options) {
        check(line);
        EXPECT_EQ(std::to_string(opt_autorpt) + std::to_string(opt_auto_fmt) +
                      std::to_string(opt_autoname) + opt_refname.get().text,
                  options);
    };
    autoreport("264 5 0 #1 run | 0 | | set autoreport (1,0) autoname=1.;", "101run");
    autoreport("264 1 2 #0 | -19 | | set autoreport (1,0) autoname=1.;", "101run");
    autoreport("264 1 -1 #0 | -19 | | set autoreport (1,0) autoname=1.;", "101run");
    autoreport("264 0 7 #1 | code -6", "071run");
    autoreport("264 1 1 | code -6", "111run");  // still by sequence
    autoreport("264 0 7 #0 | 0 | | set autoreport (0,7) autoname=0.;", "070run");
    autoreport("264 1 1 | 0 | | set autoreport (1,1) autoname=0.;", "110run");
}

TEST_F(Requests, AreNotTakenWhenTheServerCannotBeMade) {
    setenv("NX_PORT", "none", 1);
    LogCapture log;
    EXPECT_EQ(runVornServer(), -1);
    EXPECT_EQ(log.text(), "Error creating client listener: NX_PORT is no port number\n");
}

}  // namespace
