// SPDX-License-Identifier: MIT
// What the engine found in a template, each different finding once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "results/report_findings.h"

// Of a key that no dictionary has. Translations are of the whole report: where a key is looked up
// again says nothing new.
constexpr std::string_view MISSING_KEY = "dictionary key '%s' not found.";

// Of a dictionary without its files, or with one that breaks a rule.
constexpr std::string_view UNREADABLE_DICT = "dictionary '%s' could not be opened.";

struct ListedFinding {
    const FindingForm *form;
    bool isError;
    std::string path;  // empty: no place
    int line;
    std::string message;  // one for all findings of a kind
    std::string text;
    std::string why;          // what belongs to it, in words of its own; empty: nothing
    std::uint64_t times = 1;  // that it was found
};

// How a list is going to be shown.
enum class FindingUse {
    LOG,    // as the service words it: causes and details are lines, a warning counts once a text
    LINES,  // one line a place, with what belongs to it
};

class FindingList {
public:
    explicit FindingList(FindingUse use) : use_(use) {}

    // For a ReportSink; `user` is the list.
    static void take(void *user, const ReportFinding &finding);

    void add(const ReportFinding &finding);

    [[nodiscard]] const std::vector<ListedFinding> &findings() const { return findings_; }
    [[nodiscard]] std::uint64_t leftOut() const { return leftOut_; }  // for being too many
    [[nodiscard]] bool empty() const { return findings_.empty(); }
    [[nodiscard]] bool hasErrors() const;

    // The messages as a log has them, a line each: without the time, and with what we add behind.
    [[nodiscard]] std::string logText(bool withWarnings) const;

    // The first error, or else the first warning, in one line: as the log has it, and with the
    // error behind it that has a place when it has none itself.
    [[nodiscard]] std::string firstReason() const;

private:
    void take(const ReportFinding &finding, bool isError);
    void addDetail(const ReportFinding &finding);

    FindingUse use_;
    std::vector<ListedFinding> findings_;
    std::unordered_map<std::string, std::size_t> known_;
    std::string pending_;     // causes of the next error
    bool lastIsNew_ = false;  // what belongs to a finding that was known is known
    std::uint64_t leftOut_ = 0;
};
