// SPDX-License-Identifier: MIT
// Templates as rows of text: what a merge makes of each, what it says, and how it calls plug-ins,
// which are real libraries, built as tests/plugins says.
#include <algorithm>
#include <filesystem>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "base/guards.h"
#include "core/options.h"
#include "output/dump_backend.h"
#include "report/merge.h"
#include "report/template_context.h"
#include "report/user_vars.h"
#include "results/results.h"
#include "storage/strings.h"
#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

constexpr const char *libraries[] = {"values.so", "values_next.so", "throwing.so"};

// Writes each "(%FORMAT CLAUSE%)" out as a row of one value.
std::string writtenOut(std::string text) {
    for (std::size_t at = 0; (at = text.find("(%", at)) != std::string::npos;) {
        const std::size_t end = text.find("%)", at);
        const std::size_t blank = text.find(' ', at);
        const std::string format = text.substr(at + 1, blank - at - 1);
        std::string clause = text.substr(blank, end - blank);
        if (clause.find('>') == std::string::npos) clause += '>';
        text.replace(at, end + 2 - at,
                     "<row cstyle='" + format + "'><value" + clause + "</value></row>");
    }
    return text;
}

bool isLoaded(const std::string &library) {
    void *handle = dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
}

// A directory with all that templates name; the test runs in it, so messages name plain files.
class Templates : public testing::Test {
protected:
    Templates() {
        setDefaults();
        copyPiece(opt_dictdir, ".");
        initResultsLoader();
        kvInit(&vars_, 0, nullptr);
        setUserVar(&vars_, "site", "Lab ${n}");
        setUserVar(&vars_, "label", "DUT");
        for (const char *name : libraries)
            std::filesystem::create_symlink(std::filesystem::path(VORN_TEST_PLUGIN_DIR) / name,
                                            dir_.path(name));
        std::filesystem::current_path(dir_.path());
    }
    ~Templates() override {
        kvFree(&vars_);
        std::filesystem::current_path("/");
    }

    // A template, or "@NAME CONTENT", a file of the rows below.
    CaseFields runRow(const CaseFields &row) {
        std::string text = writtenOut(row[0]);
        if (text.front() == '@') {
            const std::size_t blank = text.find(' ');
            dir_.write(text.substr(1, blank - 1), text.substr(blank + 1));
            return {};
        }
        const bool started = text.front() == '!';
        if (started)
            text.replace(0, 1, "<plugin name=st, lib=./values.so, init=start(), end=finish()>");
        if (text.front() == '^')
            text.erase(0, 1);
        else
            text = "<report>\n" + text + "\n</report>\n";
        CaseFields fields = merge(text);
        std::string trace = dir_.read("trace.txt");
        std::filesystem::remove("trace.txt");
        if (started) {
            EXPECT_TRUE(trace.starts_with("start\n") && trace.ends_with("finish\n")) << trace;
            trace = trace.substr(6, std::max<std::size_t>(trace.size(), 13) - 13);
        }
        fields.push_back(trace);
        for (const char *name : libraries) EXPECT_FALSE(isLoaded(dir_.path(name))) << name;
        return fields;
    }

private:
    // The report, and the messages behind the code when that is not 0.
    CaseFields merge(const std::string &text) {
        dir_.write("main.tpl", text);
        Results *results = nullptr;
        EXPECT_EQ(loadResultsFile("run.res", &results), RESULTS_OK);
        const FileGuard templateFile(std::fopen("main.tpl", "rt"));
        FileGuard report(std::fopen("report.txt", "wt"));
        const LogCapture capture(2);
        const int result = mergeTemplate(results, templateFile.get(), report.get(), "main.tpl",
                                         RPT_FMT_TXT, &vars_, "dict");
        report.reset();
        freeResults(results);
        std::string log = capture.text();
        if (const std::size_t at = log.find("Template merged (ret: "); at != std::string::npos)
            log.erase(at, log.find('\n', at) + 1 - at);
        log = replaced(log, "Error in main.tpl:2: ", "%");
        if (result != MERGE_OK) log.insert(0, std::to_string(result) + " ");
        const std::string made = dir_.read("report.txt").substr(3);  // behind the byte-order mark
        return {replaced(made, "\r\n", "\n"), log.substr(0, log.find_last_not_of('\n') + 1)};
    }

    TempDir dir_;
    KvStore vars_;
};

TEST_F(Templates, MakeTheirReportsAndMessages) {
    for (const char *file : {"values", "clauses", "plugins", "faults"})
        runCases("report/cases/" + std::string(file) + ".txt", 1,
                 [this](const CaseFields &row) { return runRow(row); });
}

}  // namespace
