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
        "compopt() { :; }; . " + sourceDir() + "/tools/completions/vornctl; PATH=" + binDir() +
        ":$PATH; COMP_WORDS=(vornctl " + words +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vornctl; echo \"${COMPREPLY[*]}\"";
    return runProgram({"bash", "-c", script}).out;
}

}  // namespace

TEST(Completion, OffersWhatTheHelpNames) {
    const char *cases[][2] = {
        {"''", "add-subs remove-subs set-template set-var report set-lang set-quota full-action "},
        {"--port 5 --json full-action reports p", "purge\n"},
        {"autoreport on ''", "txt pdf\n"},
        {"report --format ''", "txt pdf\n"},
        {"report --f", "--format --flags\n"},
        {"report tx /et", "/etc\n"},
        {"nonsense ''", "\n"},
    };
    for (const auto &[words, expected] : cases)
        EXPECT_EQ(offered(words).rfind(expected, 0), 0u) << words << offered(words);
}
