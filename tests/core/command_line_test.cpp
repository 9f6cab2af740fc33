// SPDX-License-Identifier: MIT
#include "core/command_line.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/options.h"
#include "storage/strings.h"
#include "support/case_runner.h"

TEST(CommandLine, SetsOptionsUntilTheFirstPlainWord) {
    runCases("core/cases/command_line.txt", 1, [](const CaseFields &row) -> CaseFields {
        std::istringstream words("vorn " + row[0]);
        std::vector<std::string> arguments;
        for (std::string word; words >> word;) arguments.push_back(word);
        std::vector<char *> argv;
        for (std::string &argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        setDefaults();
        safe_strncpy(opt_cfgfile, "default", sizeof opt_cfgfile);
        testing::internal::CaptureStdout();
        const int result = parseArgs(static_cast<int>(argv.size()) - 1, argv.data());
        std::string output = testing::internal::GetCapturedStdout();
        if (result == ARGS_HELP) output.erase(0, output.find("Tarix"));
        return {std::to_string(result) + " " + std::to_string(opt_fgnd) + " " +
                    std::to_string(opt_debug) + " " + opt_cfgfile,
                output};
    });
    char *nothing[] = {nullptr};
    EXPECT_EQ(parseArgs(0, nothing), ARGS_OK);
}
