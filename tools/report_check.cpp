// SPDX-License-Identifier: MIT
#include "report_check.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/mman.h>

#include "base/guards.h"
#include "base/utf8_text.h"
#include "base/words.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "report/merge.h"
#include "report/user_vars.h"
#include "report_advice.h"
#include "report_findings.h"
#include "report_make.h"
#include "report_watch.h"
#include "results/results.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr FindingForm unreadableForm = {FOUND_ERROR, 1, false, ""};

// The merges that make a check, all into one list.
class Check {
public:
    Check(const CheckOrder &order, FindingList *findings) : order_(order), findings_(findings) {}

    // Opens what is to be read; false when a finding tells that something cannot be. Without the
    // results the template is looked at all the same, without itself nothing is.
    bool open() {
        template_ = openTemplate(order_.templateFile);
        if (!template_)
            addUnreadable(order_.templateFile, 1,
                          "template cannot be opened: ", std::strerror(errno));
        if (!order_.results.empty()) load();
        nowhere_.reset(std::fopen("/dev/null", "we"));
        if (!nowhere_) addUnreadable("/dev/null", 1, "cannot be opened: ", std::strerror(errno));
        return template_ && nowhere_ && (hasResults_ || order_.results.empty());
    }

    // Takes a dictionary that has no file for an empty one; false after a message.
    bool allowMissingDicts() {
        emptyFile_.reset(memfd_create("empty.lxc", MFD_CLOEXEC));
        emptyDict_ = "/proc/self/fd/" + std::to_string(emptyFile_.get());
        if (emptyFile_.get() >= 0) return true;
        std::perror("vorn-report: no file for the dictionaries that are missing");
        return false;
    }

    // What needs no results is looked at in every section and loop, whatever the results say.
    void merge(std::uint32_t format) {
        if (!template_ || !nowhere_) return;
        mergeOnce(format, true);
        if (hasResults_) mergeOnce(format, false);
    }

private:
    void addUnreadable(const std::string &file, int line, const char *what,
                       const std::string &why) {
        const std::string text = what + why;
        findings_->add({&unreadableForm, "", shownInput(file).c_str(), line, what, text.c_str()});
    }

    // What is wrong in results that can be loaded is a finding of theirs.
    static void takeOfResults(void *user, const ReportFinding &finding) {
        const auto *check = static_cast<const Check *>(user);
        ReportFinding placed = finding;
        const std::string path = shownInput(check->order_.results);
        placed.path = path.c_str();
        placed.line = 1;
        check->findings_->add(placed);
    }

    void load() {
        const ReportSink sink = {takeOfResults, this, false, false, false, nullptr, nullptr};
        ResultsFault fault{};
        reportSink = &sink;
        hasResults_ = loadResults(order_.results, &results_, &fault);
        reportSink = nullptr;
        if (!hasResults_)
            addUnreadable(order_.results, std::max(1, static_cast<int>(fault.line)),
                          "results cannot be loaded: ", fault.reason);
    }

    void mergeOnce(std::uint32_t format, bool withoutResults) {
        if (findings_->leftOut() > 0) return;  // there is room for no more
        const ReportSink sink = {FindingList::take,
                                 findings_,
                                 true,
                                 true,
                                 withoutResults,
                                 noteReportFile,
                                 emptyDict_.empty() ? nullptr : emptyDict_.c_str()};
        reportSink = &sink;
        std::rewind(template_.get());
        const std::string path = shownInput(order_.templateFile);
        const std::string folder(folderOf(path));
        static_cast<void>(mergeTemplate(results_.get(), template_.get(), nowhere_.get(),
                                        fileNameOf(path).data(), format, &kv_urv,
                                        order_.dict.c_str(), nullptr, folder.c_str()));
        reportSink = nullptr;
    }

    const CheckOrder &order_;
    FindingList *findings_;
    FileGuard template_, nowhere_;
    DescriptorGuard emptyFile_;
    std::string emptyDict_;
    ResultsGuard results_;
    bool hasResults_ = false;
};

// A text without the full stop that the next part of a line would follow.
std::string_view withoutStop(std::string_view text) {
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

std::string messageOf(const ListedFinding &finding) {
    std::string message(withoutStop(finding.text));
    if (!finding.why.empty()) message += " (" + finding.why + ')';
    return message;
}

// What is known at the end of the template only stands at its first line.
std::string fileOf(const CheckOrder &order, const ListedFinding &finding) {
    return finding.path.empty() ? shownInput(order.templateFile) : finding.path;
}

int lineOf(const ListedFinding &finding) {
    return finding.path.empty() ? 1 : finding.line;
}

// By file in the order in which they were read, and by line.
std::vector<ListedFinding> sorted(const CheckOrder &order, const FindingList &list) {
    std::map<std::string, std::size_t> files = {{shownInput(order.templateFile), 0}};
    for (const ListedFinding &finding : list.findings())
        files.emplace(fileOf(order, finding), files.size());
    std::vector<ListedFinding> findings = list.findings();
    std::stable_sort(findings.begin(), findings.end(), [&](const auto &a, const auto &b) {
        return std::pair(files[fileOf(order, a)], lineOf(a)) <
               std::pair(files[fileOf(order, b)], lineOf(b));
    });
    return findings;
}

// A missing key's "NAME[GROUP]"; the text in the default language, if any, follows it.
std::string groupOf(const ListedFinding &finding) {
    return finding.why.substr(0, finding.why.find(": "));
}

// Those of keys alone, by dictionary and group in the order of their first.
std::vector<ListedFinding> missingKeys(const CheckOrder &order, const FindingList &list) {
    std::map<std::string, std::size_t> groups;
    std::vector<ListedFinding> keys;
    for (const ListedFinding &finding : sorted(order, list)) {
        if (finding.message != MISSING_KEY) continue;
        groups.emplace(groupOf(finding), groups.size());
        keys.push_back(finding);
    }
    std::stable_sort(keys.begin(), keys.end(), [&groups](const auto &a, const auto &b) {
        return groups[groupOf(a)] < groups[groupOf(b)];
    });
    return keys;
}

// The dictionary of "NAME[GROUP]" as a comment, and the line that begins the group.
std::string headingOf(const std::string &group) {
    const std::size_t open = group.find('[');
    if (open == std::string::npos) return "# no dictionary is named: dict=NAME[1] in the report\n";
    return "# " + group.substr(0, open) + '_' + opt_lang_id.get().text + ".lxc\n" +
           group.substr(open) + '\n';
}

std::string missingKey(const ListedFinding &finding) {
    const std::size_t start = finding.text.find('\'') + 1;
    return finding.text.substr(start, finding.text.rfind('\'') - start);
}

// The line of a dictionary that gives a key its text, or a comment: not every key can be written.
std::string entryOf(const std::string &key) {
    const bool isText = !key.empty() && key.find('\n') == std::string::npos && isUtf8Text(key);
    const bool isQuotable = key.find('"') == std::string::npos;
    const bool isPlain = key.find_first_of("#[\"") != 0 && key.find('=') == std::string::npos &&
                         trim(key) == key && std::count(key.begin(), key.end(), '"') % 2 == 0;
    if (!isText || (!isPlain && !isQuotable))
        return "# a dictionary cannot hold the key: " + key.substr(0, key.find('\n')) + '\n';
    return (isPlain ? key : '"' + key + '"') + " = \n";
}

std::string asLine(const CheckOrder &order, const ListedFinding &finding) {
    std::string text = fileOf(order, finding) + ':' + std::to_string(lineOf(finding));
    text += finding.isError ? ": error: " : ": warning: ";
    text += messageOf(finding);
    const std::string advice = adviceFor(finding.message);
    if (!advice.empty()) text.append("; ").append(advice);
    return text + '\n';
}

std::string asLines(const CheckOrder &order, const FindingList &list) {
    std::string text;
    for (const ListedFinding &finding : sorted(order, list)) text += asLine(order, finding);
    if (list.leftOut() > 0)
        text += shownInput(order.templateFile) + ":1: warning: " + std::to_string(list.leftOut()) +
                " more findings are left out\n";
    return text;
}

std::string asJson(const CheckOrder &order, const FindingList &list) {
    Json findings = Json::array();
    for (const ListedFinding &finding : sorted(order, list))
        findings.push_back({{"file", fileOf(order, finding)},
                            {"line", lineOf(finding)},
                            {"severity", finding.isError ? "error" : "warning"},
                            {"message", messageOf(finding)},
                            {"advice", adviceFor(finding.message)},
                            {"times", finding.times}});
    return Json{{"findings", findings}, {"left_out", list.leftOut()}}.dump(
               2, ' ', false, Json::error_handler_t::replace) +
           '\n';
}

// Whether there are dictionaries of which nobody knows what they lack, after a message each.
bool tellUnreadableDicts(const CheckOrder &order, const FindingList &list) {
    std::string text;
    for (const ListedFinding &finding : sorted(order, list))
        if (finding.message == UNREADABLE_DICT) text += asLine(order, finding);
    std::fputs(text.c_str(), stderr);
    return !text.empty();
}

int print(const std::string &text, const FindingList &findings) {
    std::fputs(text.c_str(), stdout);
    return static_cast<int>(findings.findings().size());
}

}  // namespace

int checkTemplate(const CheckOrder &order) {
    FindingList findings(FindingUse::LINES);
    Check check(order, &findings);
    check.open();
    for (const ReportFormat format : {RPT_FMT_TXT, RPT_FMT_PDF})
        if (order.format.empty() || order.format == reportFormatWords[format]) check.merge(format);
    return print(order.json ? asJson(order, findings) : asLines(order, findings), findings);
}

int listMissingKeys(const CheckOrder &order) {
    FindingList findings(FindingUse::LINES);
    Check check(order, &findings);
    const bool isOpen = check.open();
    std::fputs(asLines(order, findings).c_str(), stderr);
    if (!isOpen || !check.allowMissingDicts()) return -1;
    check.merge(RPT_FMT_TXT);
    if (tellUnreadableDicts(order, findings)) return -1;
    std::string text;
    std::string heading;  // dictionary and group of the lines so far
    int count = 0;
    for (const ListedFinding &finding : missingKeys(order, findings)) {
        const std::string group = groupOf(finding);
        if (group != heading || count == 0) text += headingOf(heading = group);
        text += "# " + fileOf(order, finding) + ':' + std::to_string(lineOf(finding)) +
                finding.why.substr(group.size()) + '\n';
        text += entryOf(missingKey(finding));
        ++count;
    }
    std::fputs(text.c_str(), stdout);
    return count;
}
