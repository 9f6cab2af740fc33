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
