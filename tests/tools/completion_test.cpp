// SPDX-License-Identifier: MIT
// What bash offers behind the words of a command line, asked of the programs themselves.
#include <string>

#include <gtest/gtest.h>

#include "support/build_paths.h"
#include "support/program.h"

namespace {

// What stands behind the last word, which may be empty.
std::string offered(const std::string &words) {
    const std::string script =
        "compopt() { :; }; . " + sourceDir() + "/tools/completions/tools; PATH=" + binDir() +
        ":$PATH; COMP_WORDS=(" + words +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vorn; echo \"${COMPREPLY[*]}\"";
    return runProgram({"bash", "-c", script}).out;
}

}  // namespace

TEST(Completion, OffersWhatTheHelpNames) {
    const char *cases[][2] = {
        {"vornctl ''",
         "add-subs remove-subs set-template set-var report set-lang set-quota full-action "},
        {"vornctl --port 5 --json full-action reports p", "purge\n"},
        {"vornctl autoreport on ''", "txt pdf\n"},
        {"vornctl report --format ''", "txt pdf\n"},
        {"vornctl report --f", "--format --flags\n"},
        {"vornctl report --h", "--help --host\n"},
        {"vornctl report tx /et", "/etc\n"},
        {"vornctl nonsense ''", "\n"},
        {"tarix-sim d", "down destroy disable\n"},
        {"tarix-sim create x /et", "/etc\n"},
        {"vorn-report --format pdf /et", "/etc\n"},
        {"vorn-report --def", "--def-lang\n"},
    };
    for (const auto &[words, expected] : cases)
        EXPECT_EQ(offered(words).rfind(expected, 0), 0u) << words << offered(words);
}
