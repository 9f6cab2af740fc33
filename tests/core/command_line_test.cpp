// SPDX-License-Identifier: MIT
#include "core/command_line.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/options.h"
#include "support/test_root.h"

TEST(CommandLine, SetsOptionsUntilTheFirstPlainWord) {
    testRoot();
    struct Case {
        std::vector<std::string> arguments;
        int result;
        std::string state;  // opt_fgnd, opt_debug, opt_cfgfile
        std::string output;
    };
    const std::string config = testRoot().path() + "/etc/tarix/vorn.cfg";
    const std::string head = "\nvorn 1.5.1: Tarix Configurations and Reports Manager.\n\n";
    const std::string line = "    -c <file>  : Use this config file (default: ";
    const Case cases[] = {
        {{}, ARGS_OK, "0 1 " + config, ""},
        {{"-f", "-c", "-x", "-D", "3z"}, ARGS_OK, "1 3 -x", ""},
        {{"-f", "file", "-D", "3"}, ARGS_OK, "1 1 " + config, ""},
        {{"-D", "abc", "", "-f"}, ARGS_OK, "0 0 " + config, ""},
        {{"-c", "my.cfg", "--help", "-x"}, ARGS_HELP, "0 1 my.cfg", head + line + "my.cfg)\n"},
        {{"-D"}, ARGS_FAILED, "0 1 " + config, "Error: missing debug level after '-D' option.\n"},
        {{"-fD", "-f"}, ARGS_FAILED, "0 1 " + config, "Error: unknown option '-fD'.\n"},
    };
    for (Case c : cases) {
        std::string shown = "vorn";
        std::vector<char *> argv = {shown.data()};
        for (std::string &argument : c.arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        setDefaults();
        testing::internal::CaptureStdout();
        EXPECT_EQ(parseArgs(static_cast<int>(argv.size()) - 1, argv.data()), c.result) << c.output;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.output);
        EXPECT_EQ(std::to_string(opt_fgnd) + " " + std::to_string(opt_debug) + " " + opt_cfgfile,
                  c.state);
    }
    char *nothing[] = {nullptr};
    EXPECT_EQ(parseArgs(0, nothing), ARGS_OK);
}
