// SPDX-License-Identifier: MIT
#include "storage/files.h"

#include <string>

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

TEST(Purging, DeletesTheFirstNamesOfTheAcceptedFiles) {
    const TempDir dir;
    for (const char *name : {"B.subs", "a.subs", "c.subs", "C.subs", "d.subs", "keep.txt", ".subs"})
        dir.write(name, "");
    const char *path = dir.path().c_str();
    EXPECT_EQ(countDirFiles(path, isSubsFile), 5);
    const LogCapture log(2);
    for (const int keep : {5, 3})
        EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, keep), keep);
    EXPECT_EQ(log.text(), "Deleted old file '" + dir.path("B.subs") + "'.\nDeleted old file '" +
                              dir.path("C.subs") + "'.\n");
    EXPECT_TRUE(!dir.exists("B.subs") && !dir.exists("C.subs"));
    dir.write(std::string(100, 'n') + ".subs", "");  // a path that is longer than an option
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 0), 0);
    EXPECT_EQ(countDirFiles(path, isSubsFile), 0);
    EXPECT_TRUE(dir.exists("keep.txt"));
}

TEST(BackupFile, MovesTheFileToTheFirstFreeNameAndLosesNone) {
    const TempDir dir;
    for (const auto &[given, moved] : {std::pair{"a.res", "a_01.res"},
                                       {"a.res", "a_02.res"},  // the first is taken now
                                       {"plain", "plain_01"},
                                       {"folder.d/plain", "folder.d/plain_01"},
                                       {"n_07.txt", "n_07_01.txt"}}) {
        dir.write(given, moved);
        EXPECT_EQ(backup_file(dir.path(given).c_str()), 0);
        EXPECT_FALSE(dir.exists(given));
        EXPECT_EQ(dir.read(moved), moved);
    }
    EXPECT_EQ(dir.read("a_01.res"), "a_01.res");
    for (int i = 1; i < 100; ++i)
        dir.write("full_" + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".res", "old");
    dir.write("full.res", "new");
    backup_file(dir.path("full.res").c_str());
    EXPECT_EQ(dir.read("full_100.res"), "new");
    EXPECT_EQ(backup_file(dir.path("none.res").c_str()), 0);
    EXPECT_EQ(backup_file(std::string(5000, 'p').c_str()), 0);
}
