// SPDX-License-Identifier: MIT
#include "support/merge_run.h"

#include <cstdlib>

#include <unistd.h>

#include "base/guards.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "report/merge.h"
#include "report/user_vars.h"
#include "results/results.h"
#include "support/log_capture.h"

namespace {

void replaceAll(std::string *text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text->find(from, at)) != std::string::npos; at += to.size())
        text->replace(at, from.size(), to);
}

// The row that stands for what a case file puts between two "`".
std::string rowOf(const std::string &shorthand) {
    if (shorthand.front() == '=')
        return "<row cstyle='%s'><value>" + shorthand.substr(1) + "</value></row>";
    const std::size_t blank = shorthand.find(' ');
    const std::string args = shorthand.substr(blank + 1);
    const bool hasText = args.find('>') != std::string::npos;
    return "<row cstyle='" + shorthand.substr(0, blank) + "'><value " + args +
           (hasText ? "" : ">") + "</value></row>";
}

}  // namespace

MergeRun::MergeRun(std::string_view results) {
    setDefaults();
    initResultsLoader();
    kvInit(&vars_, 0, nullptr);
    dir_.write("run.res", results);
    if (chdir(dir_.path().c_str()) != 0) std::abort();
}

MergeRun::~MergeRun() {
    kvFree(&vars_);
    if (chdir("/") != 0) std::abort();
}

void MergeRun::setVar(const char *name, const char *text) {
    setUserVar(&vars_, name, text);
}

MergeOutcome MergeRun::merge(std::string_view text, int logLevel, const char *dictName) {
    dir_.write("main.tpl", text);
    Results *results = nullptr;
    if (loadResultsFile("run.res", &results) != RESULTS_OK) std::abort();
    const FileGuard templateFile(std::fopen("main.tpl", "rt"));
    FileGuard report(std::fopen("report.txt", "wt"));
    const LogCapture log(logLevel);
    const int result = mergeTemplate(results, templateFile.get(), report.get(), "main.tpl",
                                     RPT_FMT_TXT, &vars_, dictName);
    report.reset();
    freeResults(results);
    return {result, dir_.read("report.txt").substr(3), log.text()};
}

MergeOutcome MergeRun::report(std::string_view body, int logLevel) {
    return merge("<report>\n" + std::string(body) + "\n</report>\n", logLevel);
}

CaseFields MergeRun::caseOutcome(std::string_view body) {
    std::string text(body);
    for (std::size_t start; (start = text.find('`')) != std::string::npos;) {
        const std::size_t end = text.find('`', start + 1);
        text.replace(start, end - start + 1, rowOf(text.substr(start + 1, end - start - 1)));
    }
    const MergeOutcome outcome = report(text);
    CaseFields fields = {outcome.report, outcome.log};
    replaceAll(&fields[0], "\r\n", "/");
    replaceAll(&fields[1], "Error in main.tpl:2: ", "%");
    if (fields[1].ends_with('\n')) fields[1].pop_back();
    if (outcome.result != 0) fields[1] += " " + std::to_string(outcome.result);
    return fields;
}
