// SPDX-License-Identifier: MIT
// Hands requests to the callback as the server library does and compares everything a request may
// do: result, reply, options, log, and the calls into the rest of the service, whose functions are
// replaced here by ones that write down how they were called.
#include "server/requests.h"

#include <cctype>
#include <cstdlib>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "core/settings.h"
#include "core/subscription.h"
#include "listener/commands.h"
#include "okra/okra.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "server/server.h"
#include "storage/quota.h"
#include "storage/state_file.h"
#include "support/case_runner.h"
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

// A request's type, parameters and items: texts ('' is empty, N*c is c N times) and #numbers.
void build(std::istringstream words, PktMessage *request) {
    std::int32_t numbers[3];
    for (std::int32_t &number : numbers) words >> number;
    pktInitFull(request, static_cast<std::uint16_t>(numbers[0]), numbers[1], numbers[2]);
    for (std::string word; words >> word;) {
        const std::size_t star = word.find('*');
        if (star != std::string::npos) word = std::string(std::stoul(word), word[star + 1]);
        if (word.front() == '#')
            pktPut16(request, static_cast<std::uint16_t>(std::stoi(word.substr(1))));
        else
            pktPutString(request, word == "''" ? "" : word.c_str());
    }
}

// Makes a request; its reply, calls and log. The reply is the result of a REPLY_RESULT, the three
// numbers of another reply, or "code N" for a callback result without reply.
CaseFields make(const std::string &text) {
    std::uint8_t memory[1024];
    PktMessage request{0, 0, 0, 0, sizeof memory, memory};
    build(std::istringstream(text), &request);
    PktMessage made{};
    calls.clear();
    const LogCapture log(2);
    const int code = serverRequestCallback(nullptr, nullptr, &request, &made);
    std::string reply = std::to_string(made.param1);
    if (made.type != REPLY_RESULT)
        reply = std::to_string(made.type) + " " + reply + " " + std::to_string(made.param2);
    return {code != 0 ? "code " + std::to_string(code) : reply, calls,
            replaced(replaced(log.text(), "\n", ";"), "Server: ", "")};
}

std::string optionsNow() {
    std::string shown;
    for (const std::int32_t option :
         {opt_max_res.load(), opt_max_rpt.load(), opt_fullact_res.load(), opt_fullact_rpt.load(),
          opt_autosave.load(), opt_autorpt.load(), opt_auto_fmt.load(), opt_autoname.load() + 0})
        shown += std::to_string(option) + " ";
    return shown + "," + opt_refname.get().text;
}

// A request, or "calls return N", "set KEY WORD", "options" or "vars NAME...".
CaseFields runRow(const CaseFields &row) {
    std::istringstream words(row[0]);
    std::string word, value;
    words >> word;
    if (std::isalpha(word.front()) == 0) return make(row[0]);
    if (word == "options") return {optionsNow()};
    if (word == "calls") {
        words >> word >> nextResult;
        return {};
    }
    if (word == "set") {
        words >> word >> value;
        findSetting(word)->set(logFindings, {"", 0}, value.c_str());
        return {};
    }
    std::string shown;
    while (words >> word) {
        char text[128];
        copyUserVar(&kv_urv, word.c_str(), text, sizeof text);
        shown += std::string(text) + ";";
    }
    return {shown};
}

TEST(Requests, GetTheirRepliesCallsAndLogLines) {
    setDefaults();
    initUserVars();
    quotaAddCount(quotaInstall(0, FULL_BLOCK, nullptr, nullptr, nullptr), 1);
    runCases("server/cases/requests.txt", 1, runRow);
    EXPECT_EQ(serverRequestCallback(nullptr, nullptr, nullptr, nullptr), CALLBACK_NO_MESSAGE);
}

TEST(Requests, AreNotTakenWhenTheServerCannotBeMade) {
    setenv("NX_PORT", "none", 1);
    const LogCapture log;
    EXPECT_EQ(runVornServer(), -1);
    EXPECT_EQ(log.text(), "Error creating client listener: NX_PORT is no port number\n");
}

}  // namespace
