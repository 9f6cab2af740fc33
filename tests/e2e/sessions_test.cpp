// SPDX-License-Identifier: MIT
// Sessions: documents whose indented blocks are what a user types after "$ " and what the programs
// answer, in a copy of examples/. A block after a line that ends in "`NAME`:" is that file: as it
// is shipped, or to be made. Run with VORN_UPDATE_GOLDEN set, the answers are written anew.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/build_paths.h"
#include "support/log_capture.h"
#include "support/program.h"
#include "support/temp_dir.h"

namespace {

constexpr char INDENT[] = "    ";

std::string indented(const std::string &text) {
    std::istringstream lines(text);
    std::string block;
    for (std::string line; std::getline(lines, line);)
        block += (line.empty() ? "" : INDENT + line) + '\n';
    return block;
}

class Session : public testing::TestWithParam<std::string> {
protected:
    Session() {
        std::filesystem::copy(sourceDir() + "/examples", dir_.path(),
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::overwrite_existing);
    }
    // What a command writes: both streams, without the marks of a text report.
    [[nodiscard]] std::string answer(const std::string &command) const {
        std::vector<std::string> words = {"env", "PATH=" + binDir() + ":" + std::getenv("PATH"),
                                          "HOME=" + dir_.path()};
#ifdef VORN_SANITIZED  // plug-ins are loaded by the sanitizer then, which knows no folder of ours
        words.push_back("LD_LIBRARY_PATH=" + binDir() + "/../lib/vorn");
#endif
        words.insert(words.end(), {"sh", "-c", "exec 2>&1\n" + command});
        const Outcome outcome = runProgram(words, dir_.path());
        std::string text = withoutStamps(outcome.out);
        std::erase(text, '\r');
        for (std::size_t at; (at = text.find("\xEF\xBB\xBF")) != std::string::npos;)
            text.erase(at, 3);
        return text;
    }
    // Compares a shipped file with its block, or makes the file.
    void takeFile(const std::string &name, const std::string &block) const {
        if (dir_.exists(name))
            EXPECT_EQ(indented(dir_.read(name)), block) << name;
        else
            dir_.write(name, unindented(block));
    }
    // A block of a session as it should be.
    [[nodiscard]] std::string played(const std::string &block) const {
        std::istringstream lines(block);
        std::string text;
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("    $ ")) text += line + '\n' + indented(answer(line.substr(6)));
        return text;
    }
    static std::string unindented(const std::string &block) {
        std::istringstream lines(block);
        std::string text;
        for (std::string line; std::getline(lines, line);)
            text += line.substr(std::min<std::size_t>(4, line.size())) + '\n';
        return text;
    }

    TempDir dir_;
};

std::vector<std::string> documents() {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(sourceDir() + "/docs/sessions"))
        names.push_back(entry.path().stem());
    std::sort(names.begin(), names.end());
    return names;
}

std::string nameOfTest(const testing::TestParamInfo<std::string> &document) {
    std::string name = document.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

}  // namespace

TEST_P(Session, AnswersAsWritten) {
    const std::string path = sourceDir() + "/docs/sessions/" + GetParam() + ".md";
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    std::istringstream lines(content.str());
    std::string actual;
    std::string file;   // that the next block holds
    std::string block;  // so far, with the empty lines that may belong to it
    const auto endBlock = [&] {
        std::string gap;
        while (block.ends_with("\n\n")) {
            block.pop_back();
            gap += '\n';
        }
        const bool session = block.starts_with("    $ ");
        if (!session && !block.empty() && !file.empty()) takeFile(file, block);
        actual += (session ? played(block) : block) + gap;
        block.clear();
        file.clear();
    };
    for (std::string line; std::getline(lines, line);) {
        const bool typed = line.starts_with("    $ ");
        if (typed && block.ends_with("\n\n") && !block.starts_with("    $ ")) endBlock();
        if (line.starts_with(INDENT) || (line.empty() && !block.empty())) {
            block += line + '\n';
            continue;
        }
        if (!block.empty()) endBlock();
        actual += line + '\n';
        if (line.ends_with("`:")) {
            const std::size_t start = line.rfind('`', line.size() - 3) + 1;
            file = line.substr(start, line.size() - 2 - start);
        }
    }
    endBlock();
    if (std::getenv("VORN_UPDATE_GOLDEN") != nullptr) std::ofstream(path) << actual;
    const std::string expected = content.str();
    if (actual == expected) return;
    const auto differing =
        std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
    const auto lineAt = [](const std::string &text, std::string::const_iterator at) {
        const std::size_t start = text.rfind('\n', static_cast<std::size_t>(at - text.begin())) + 1;
        return text.substr(start, text.find('\n', start) - start);
    };
    FAIL() << path << " has\n"
           << lineAt(expected, differing.second) << "\nand the programs say\n"
           << lineAt(actual, differing.first)
           << "\nWith VORN_UPDATE_GOLDEN set, all that they say is written.";
}

INSTANTIATE_TEST_SUITE_P(Documents, Session, testing::ValuesIn(documents()), nameOfTest);
