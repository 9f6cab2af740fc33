// SPDX-License-Identifier: MIT
#include "report_findings.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t MOST_FINDINGS = 1000;

// Of a parameter that a file was not handed: once a file.
constexpr std::string_view MISSING_PARAMETER = "Parameter '%.*s' not defined.";

// Follows what a call failed of, unless it is the function that failed.
constexpr std::string_view CALL_FAILED = "plugin returned error.";

// Joins what belongs to a finding.
void join(std::string *text, std::string_view more) {
    if (more.ends_with('.')) more.remove_suffix(1);
    if (!text->empty()) *text += ": ";
    *text += more;
}

std::string placeOf(const ListedFinding &finding) {
    return finding.path + ':' + std::to_string(finding.line);
}

// "Warning in t.tpl:5: TEXT (and 3 more)".
std::string logLine(const ListedFinding &finding) {
    std::string line = finding.form->opening;
    if (finding.form->hasPlace)
        line += (finding.path.empty() ? "<unknown>" : placeOf(finding)) + ": ";
    line += finding.text;
    std::string added = finding.why;
    const bool showsPlace = !finding.isError && !finding.form->hasPlace && !finding.path.empty();
    if (showsPlace) added += (added.empty() ? "" : ", ") + placeOf(finding);
    if (!finding.isError && finding.times > 1)
        added += (added.empty() ? "and " : " and ") + std::to_string(finding.times - 1) + " more";
    return line + (added.empty() ? "" : " (" + added + ')') + '\n';
}

std::string firstLine(const ListedFinding &finding) {
    const std::string line = logLine(finding);
    return line.substr(0, line.find('\n'));
}

}  // namespace

void FindingList::take(void *user, const ReportFinding &finding) {
    static_cast<FindingList *>(user)->add(finding);
}

void FindingList::add(const ReportFinding &finding) {
    const FindingSeverity severity = finding.form->severity;
    const bool ofItsOwn = use_ == FindingUse::LOG && finding.form->opening != nullptr;
    if (severity == FOUND_CAUSE && !ofItsOwn)
        join(&pending_, finding.text);
    else if (severity == FOUND_DETAIL)
        addDetail(finding);
    else
        take(finding, severity == FOUND_ERROR || severity == FOUND_CAUSE);
}

void FindingList::addDetail(const ReportFinding &finding) {
    if (!lastIsNew_ || findings_.empty()) return;
    if (use_ == FindingUse::LINES)
        join(&findings_.back().why, finding.text);
    else
        findings_.push_back({finding.form, true, {}, 0, finding.message, finding.text, {}});
}

void FindingList::take(const ReportFinding &finding, bool isError) {
    ListedFinding listed = {
        finding.form,
        isError,
        finding.path != nullptr ? std::string(finding.folder) + finding.path : "",
        finding.line,
        finding.message,
        finding.text,
        {}};
    if (isError) listed.why = std::exchange(pending_, {});
    if (use_ == FindingUse::LINES && listed.message == CALL_FAILED && listed.why.empty()) return;
    const bool byText = !isError && (use_ == FindingUse::LOG || finding.message == MISSING_KEY);
    std::string key = listed.text + '\n' + listed.why + '\n';
    if (!byText) key += listed.message == MISSING_PARAMETER ? listed.path : placeOf(listed);
    const auto known = known_.find(key);
    lastIsNew_ = known == known_.end();
    if (!lastIsNew_) {
        ++findings_[known->second].times;
    } else if (findings_.size() >= MOST_FINDINGS) {
        ++leftOut_;
        lastIsNew_ = false;
    } else {
        known_.emplace(std::move(key), findings_.size());
        findings_.push_back(std::move(listed));
    }
}

bool FindingList::hasErrors() const {
    return std::any_of(findings_.begin(), findings_.end(),
                       [](const ListedFinding &finding) { return finding.isError; });
}

std::string FindingList::firstReason() const {
    const auto isError = [](const ListedFinding &finding) { return finding.isError; };
    const auto isPlaced = [](const ListedFinding &finding) {
        return finding.isError && finding.form->hasPlace;
    };
    if (findings_.empty()) return "";
    const auto error = std::find_if(findings_.begin(), findings_.end(), isError);
    if (error == findings_.end()) return firstLine(findings_.front());
    const auto placed = std::find_if(error, findings_.end(), isPlaced);
    const bool isAlone = placed == error || placed == findings_.end();
    return firstLine(*error) + (isAlone ? "" : ' ' + firstLine(*placed));
}

std::string FindingList::logText(bool withWarnings) const {
    std::string text;
    for (const ListedFinding &finding : findings_)
        if (finding.isError || withWarnings) text += logLine(finding);
    if (leftOut_ > 0 && withWarnings)
        text += "Warning: " + std::to_string(leftOut_) + " more findings are left out.\n";
    return text;
}
