// SPDX-License-Identifier: MIT
// The daemon framework: what the log prints.
#include "dmon/dmon.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "support/temp_dir.h"

namespace {

// Everything that `act` writes to standard error.
template <class Act>
std::string standardErrorOf(Act act) {
    const TempDir dir;
    const DescriptorGuard saved(dup(STDERR_FILENO));
    const DescriptorGuard file(open(dir.path("log").c_str(), O_WRONLY | O_CREAT, 0600));
    dup2(file.get(), STDERR_FILENO);
    act();
    dup2(saved.get(), STDERR_FILENO);
    return dir.read("log");
}

}  // namespace

TEST(DmonLog, PrintsUtcWithMillisecondsTheLevelAndOneLineWhateverTheTextHolds) {
    const std::string text = standardErrorOf([] {
        errno = ENOENT;
        dmon_set_level(2);
        dmon_log(2, "file '%s' %d\n", "a\r\n2026-05-01T10:15:00.123Z 1 forged\t\x1B[2J\x7F\xC2\x9B",
                 7);
        dmon_log(1, "Gr\xC3\xBC\xC3\x9F \xC2\xA9 without an end");
        dmon_log(2, "%s\n", std::string(3000, 'w').c_str());  // long, but whole
        dmon_log(3, "not printed\n");
        dmon_set_level(0);
        dmon_log(1, "not printed\n");
        dmon_log(0, "not printed\n");
        dmon_set_level(1);
        EXPECT_EQ(errno, ENOENT);
    });
    std::string masked;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::replace_if(
            line.begin(), line.begin() + 24, [](char c) { return std::isdigit(c) != 0; }, '9');
        masked += line + "\n";
    }
    EXPECT_EQ(masked,
              "9999-99-99T99:99:99.999Z 2 file 'a\\x0D\\x0A2026-05-01T10:15:00.123Z 1 "
              "forged\\x09\\x1B[2J\\x7F\\xC2\\x9B' 7\n"
              "9999-99-99T99:99:99.999Z 1 Gr\xC3\xBC\xC3\x9F \xC2\xA9 without an end\n"
              "9999-99-99T99:99:99.999Z 2 " +
                  std::string(3000, 'w') + "\n");
}

TEST(DmonLog, GivesTheJournalPrioritiesInPlaceOfTimesAndNobodyElse) {
    const auto logAll = [](int inodeOffset) {
        return standardErrorOf([inodeOffset] {
            struct stat stream {};
            fstat(STDERR_FILENO, &stream);
            const std::string name =
                std::to_string(stream.st_dev) + ":" +
                std::to_string(stream.st_ino + static_cast<unsigned>(inodeOffset));
            setenv("JOURNAL_STREAM", name.c_str(), 1);
            dmon_set_level(3);
            dmon_log(1, "Error in x\n");
            dmon_log(1, "Warning: y\n");
            dmon_log(1, "running\n");
            dmon_log(2, "Error for those who look\n");
            dmon_log(3, "trace\n");
            dmon_set_level(1);
            unsetenv("JOURNAL_STREAM");
        });
    };
    EXPECT_EQ(logAll(0),
              "<3>Error in x\n<4>Warning: y\n<5>running\n<6>Error for those who look\n<7>trace\n");
    EXPECT_EQ(logAll(1).find('<'), std::string::npos);
}
