// SPDX-License-Identifier: MIT
#include "core/config_file.h"

#include <cctype>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/options.h"
#include "core/settings.h"
#include "support/build_paths.h"
#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_root.h"

namespace {

// What the options hold that the file can set, where it is not the default.
std::string changedOptions() {
    static std::vector<std::string> defaults;
    std::vector<std::string> now = {opt_resdir,       opt_tpldir,
                                    opt_rptdir,       opt_cfgdir,
                                    opt_dflt_lang_id, opt_lang_id.get().text,
                                    opt_dictdir,      opt_refname.get().text};
    for (const std::int32_t word :
         {opt_max_res.load(), opt_max_rpt.load(), opt_fullact_res.load(), opt_fullact_rpt.load(),
          opt_fullerr, opt_autosave.load(), opt_autorpt.load(), opt_auto_fmt.load(),
          opt_autoname.load() + 0})
        now.push_back(std::to_string(word));
    if (defaults.empty()) defaults = now;
    const char *names[] = {"res",  "tpl",  "rpt",    "cfg",    "deflang", "lang",
                           "dict", "ref",  "maxres", "maxrpt", "actres",  "actrpt",
                           "err",  "save", "auto",   "fmt",    "name"};
    std::string changed;
    for (std::size_t i = 0; i < now.size(); ++i)
        if (now[i] != defaults[i]) changed += std::string(names[i]) + "=" + now[i] + " ";
    return changed;
}

}  // namespace

TEST(ConfigFile, AppliesItsLinesUntilAnErrorAndNamesThePlace) {
    const TempDir dir;
    testRoot();
    setDefaults();
    changedOptions();
    runCases("core/cases/config_file.txt", 1, [&](const CaseFields &row) -> CaseFields {
        setDefaults();
        const std::string path = dir.write("vorn.cfg", row[0]);
        const LogCapture log;
        const int result = loadConfigFile(path.c_str());
        return {std::to_string(result) + " " + changedOptions(), replaced(log.text(), path, "cfg")};
    });
    const std::string pipe = dir.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const LogCapture log;
    EXPECT_EQ(loadConfigFile(pipe.c_str()), CONFIG_FAILED);  // without waiting for a writer
    EXPECT_EQ(log.text(), "Error loading config from " + pipe + ": Operation not supported\n");
}

TEST(Settings, StandInTheGuideAndTheExampleWithTheirDefaults) {
    testRoot();
    setDefaults();
    EXPECT_EQ(opt_resdir, testRoot().path() + "/tarix/data/results");
    EXPECT_EQ(opt_cfgfile, testRoot().path() + "/etc/tarix/vorn.cfg");
    std::ifstream guide(sourceDir() + "/docs/service.md");
    std::string line;
    while (line.rfind("| key |", 0) != 0) ASSERT_TRUE(std::getline(guide, line));
    std::getline(guide, line);
    for (std::size_t i = 0; i < settingsCount; ++i) {
        std::getline(guide, line);
        std::erase(line, '`');
        std::string preset = settings[i].preset == nullptr ? "" : settings[i].preset;
        if (preset.empty() && settings[i].preset != nullptr) preset = "empty";
        const std::string head = "| " + std::string(settings[i].key) + " | ";
        EXPECT_EQ(line.substr(0, head.size()), head);
        EXPECT_NE(line.find(preset.empty() ? " | | " : " | " + preset + " | "), std::string::npos)
            << line;
    }
    std::getline(guide, line);
    EXPECT_EQ(line, "");

    // The example has each key once, behind a '#' without a blank.
    std::set<std::string_view> shown;
    std::ifstream example(sourceDir() + "/etc/vorn.cfg");
    while (std::getline(example, line)) {
        std::istringstream words(line);
        std::string key, word, more;
        if (line.size() < 2 || std::islower(line[1]) == 0) continue;
        words >> key >> word >> more;
        const Setting *setting = findSetting(key.substr(1));
        ASSERT_NE(setting, nullptr) << line;
        EXPECT_TRUE(shown.insert(setting->key).second) << line;
        EXPECT_EQ(word == "\"\"" ? "" : word, setting->preset == nullptr ? "no" : setting->preset);
        EXPECT_EQ(more, "");
    }
    EXPECT_EQ(shown.size(), settingsCount);
}
