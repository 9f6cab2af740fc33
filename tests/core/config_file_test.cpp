// SPDX-License-Identifier: MIT
#include "core/config_file.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/options.h"
#include "storage/quota.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "support/test_root.h"

namespace {

// What the options that the file can set hold, in the order of the keys.
std::string options() {
    std::string all;
    const auto add = [&all](const std::string &value) { all += value + " "; };
    for (const char *path : {opt_resdir, opt_tpldir, opt_rptdir, opt_cfgdir}) add(path);
    const std::int32_t words[] = {opt_max_res,     opt_max_rpt,     opt_autosave,
                                  opt_fullact_res, opt_fullact_rpt, opt_fullerr,
                                  opt_autorpt,     opt_auto_fmt,    opt_autoname};
    for (const std::int32_t word : words) add(std::to_string(word));
    add(opt_lang_id.get().text);
    add(opt_dflt_lang_id);
    add(opt_dictdir);
    return all + opt_refname.get().text;
}

class ConfigFile : public testing::Test {
protected:
    ConfigFile() {
        testRoot();
        setDefaults();
    }
    // Loads a file with this content; the log with the path taken out.
    std::string load(std::string_view content, int expected) {
        const std::string path = dir_.write("vorn.cfg", content);
        const LogCapture log;
        EXPECT_EQ(loadConfigFile(path.c_str()), expected) << content;
        std::string text = log.text();
        for (std::size_t at; (at = text.find(path)) != std::string::npos;)
            text.replace(at, path.size(), "cfg");
        return text;
    }

    TempDir dir_;
};

}  // namespace

TEST_F(ConfigFile, SetsEveryOption) {
    EXPECT_EQ(load("# comment\n\n \t \nresults-dir /r\ntemplates-dir\t /t ignored\n"
                   "reports-dir \"/p\"\nconfigs-dir '/c\nmax-files 7x\nautosave Y\n"
                   "full-action purge\nblock-error -3\nlang-id english\ndef-lang-id de\n"
                   "dict-dir \"/d b\"\nautoreport txt\nautoname refseq\nreference R1",
                   CONFIG_OK),
              "");
    EXPECT_EQ(options(), "/r /t /p /c 7 7 1 2 2 -3 1 0 1 eng de /d R1");
    EXPECT_EQ(load("max-files none\nautosave\nreference\nautoreport none\nautoname time\n"
                   "purge 0\nblock-error",
                   CONFIG_FAILED),
              "Warning in [cfg:1]: number of files 'none' is not in 1 to 65535.\n"
              "Error in [cfg:7]: missing error code.\n");
    EXPECT_EQ(options(), "/r /t /p /c 0 0 0 0 0 -3 0 0 0 eng de /d ");
}

TEST_F(ConfigFile, TakesTheLaterOfKeysThatSetTheSame) {
    load("purge y\nfull-action block\n", CONFIG_OK);
    EXPECT_EQ(opt_fullact_res, FULL_BLOCK);
    EXPECT_EQ(opt_fullact_rpt, FULL_BLOCK);
    load("full-action block\npurge 1\n", CONFIG_OK);
    EXPECT_EQ(opt_fullact_rpt, FULL_PURGE);
    for (const auto &[value, expected] : {std::pair{"yes", 1}, {"1", 1}, {"true", 0}, {"no", 0}}) {
        load("autosave " + std::string(value), CONFIG_OK);
        EXPECT_EQ(opt_autosave, expected) << value;
    }
}

TEST_F(ConfigFile, WarnsOfNumbersThatQuotasCannotKeep) {
    for (const auto &[value, expected] :
         {std::pair{"fifty", 0}, {"0", 0}, {"-1", -1}, {"65536", 65536}}) {
        EXPECT_EQ(load("\nmax-files " + std::string(value), CONFIG_OK),
                  "Warning in [cfg:2]: number of files '" + std::string(value) +
                      "' is not in 1 to 65535.\n");
        EXPECT_EQ(opt_max_res, expected);
        EXPECT_EQ(opt_max_rpt, expected);
    }
    EXPECT_EQ(load("max-files 1\nmax-files 65535", CONFIG_OK), "");
}

TEST_F(ConfigFile, StopsAtTheFirstErrorAndNamesItsPlace) {
    const std::pair<const char *, std::string> cases[] = {
        {"results-dir", ":1]: missing path."},
        {"\nmax-files\n", ":2]: missing number of files."},
        {"full-action", ":1]: missing full-quota action."},
        {"full-action Stop\nnext x", ":1]: incorrect value 'Stop'."},
        {"lang-id", ":1]: missing language ID."},
        {"def-lang-id", ":1]: missing language ID."},
        {"dict-dir", ":1]: missing dictionary path."},
        {"autoreport", ":1]: missing report format."},
        {"autoreport 'doc'", ":1]: unknown report format 'doc'."},
        {"autoname", ":1]: missing report name format."},
        {"autosave y\nautoname ''\nautosave n", ":2]: unknown report name format ''."},
    };
    const std::string before = options();
    for (const auto &[content, message] : cases)
        EXPECT_EQ(load(content, CONFIG_FAILED), "Error in [cfg" + message + "\n");
    EXPECT_EQ(opt_autosave, 1);  // stood before the error
    opt_autosave = 0;
    EXPECT_EQ(options(), before);
}

TEST_F(ConfigFile, ReadsOddLinesAsTheyStand) {
    EXPECT_EQ(load("  # no comment\nautosave y\n", CONFIG_OK),
              "Warning in [cfg:1]: unknown variable '#' in config file.\n");
    // 127 characters a piece.
    EXPECT_EQ(load("reference " + std::string(115, ' ') + "abcd efg\nhi", CONFIG_OK),
              "Warning in [cfg:2]: unknown variable 'cd' in config file.\n"
              "Warning in [cfg:3]: unknown variable 'hi' in config file.\n");
    EXPECT_STREQ(opt_refname.get().text, "ab");
    // A NUL ends its line.
    EXPECT_EQ(load(std::string_view("reference x\0y\n\0\nwhat\n", 21), CONFIG_OK),
              "Warning in [cfg:3]: unknown variable 'what' in config file.\n");
    EXPECT_STREQ(opt_refname.get().text, "x");

    const std::string path = "/" + std::string(70, 'p');
    EXPECT_EQ(load("results-dir " + path, CONFIG_OK),
              "Warning: path '" + path.substr(0, 63) + "' was cut at 63 characters.\n");
    EXPECT_EQ(opt_resdir, path.substr(0, 63));
}

TEST_F(ConfigFile, FailsWithoutWaitingWhenThereIsNoFileToRead) {
    const std::string path = dir_.path("fifo");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const LogCapture log;
    EXPECT_EQ(loadConfigFile(path.c_str()), CONFIG_FAILED);
    EXPECT_EQ(log.text(), "Error loading config from " + path + ": Operation not supported\n");
}

TEST_F(ConfigFile, DefaultsStandBelowTheRoot) {
    const std::string data = testRoot().path() + "/tarix/data";
    EXPECT_EQ(options(), data + "/results " + data + "/templates " + data + "/reports " + data +
                             "/configs 50 50 0 0 0 -1 0 1 0 en en  ");
    EXPECT_EQ(opt_cfgfile, testRoot().path() + "/etc/tarix/vorn.cfg");
}
