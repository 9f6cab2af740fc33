// SPDX-License-Identifier: MIT
#include "storage/files.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

TEST(OpenForReading, TakesRegularFilesOnlyAndNeverWaits) {
    const TempDir dir;
    dir.write("file", "text");
    dir.makeDir("folder");
    ASSERT_EQ(mkfifo(dir.path("fifo").c_str(), 0600), 0);
    const std::pair<std::string, int> cases[] = {{dir.path("folder"), EISDIR},
                                                 {dir.path("fifo"), ENOTSUP},
                                                 {"/dev/zero", ENOTSUP},
                                                 {dir.path("none"), ENOENT}};
    for (const auto &[path, error] : cases) {
        errno = 0;
        EXPECT_EQ(openForReading(path.c_str()), nullptr);
        EXPECT_EQ(errno, error) << path;
    }
    EXPECT_NE(openForReading(dir.path("file").c_str()), nullptr);
}

TEST(Paths, ThatAreCutWarnWithWhatIsLeft) {
    const LogCapture log;
    char path[64];
    EXPECT_TRUE(joinPath(path, sizeof path, "/a", std::string(60, 'b').c_str()));
    EXPECT_EQ(path, "/a/" + std::string(60, 'b'));
    EXPECT_TRUE(copyPath(path, sizeof path, std::string(63, 'c').c_str()));
    EXPECT_EQ(log.text(), "");
    EXPECT_FALSE(joinPath(path, sizeof path, "/a", std::string(61, 'b').c_str()));
    EXPECT_FALSE(copyPath(path, sizeof path, std::string(64, 'c').c_str()));
    EXPECT_EQ(path, std::string(63, 'c'));
    EXPECT_EQ(log.text(), "Warning: path '/a/" + std::string(60, 'b') +
                              "' was cut at 63 characters.\nWarning: path '" +
                              std::string(63, 'c') + "' was cut at 63 characters.\n");
}

TEST(Purging, DeletesTheFirstNamesOfTheAcceptedFiles) {
    const TempDir dir;
    for (const char *name : {"B.subs", "a.subs", "c.subs", "C.subs", "d.subs", "keep.txt", ".subs"})
        dir.write(name, "");
    const char *path = dir.path().c_str();
    EXPECT_EQ(countDirFiles(path, isSubsFile), 5);

    const LogCapture log(2);
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 5), 5);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 3), 3);
    EXPECT_EQ(log.text(), "Deleted old file '" + dir.path("B.subs") + "'.\nDeleted old file '" +
                              dir.path("C.subs") + "'.\n");
    EXPECT_FALSE(dir.exists("B.subs"));
    EXPECT_TRUE(dir.exists("a.subs"));
    dir.write(std::string(100, 'n') + ".subs", "");  // a path that is longer than an option
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 0), 0);
    EXPECT_EQ(countDirFiles(path, isSubsFile), 0);
    EXPECT_TRUE(dir.exists("keep.txt"));

    EXPECT_EQ(purgeDirFiles("/no/such/folder", isSubsFile, misc_alphasort, 0), 0);
}

TEST(BackupFile, MovesTheFileToTheFirstFreeNameAndLosesNone) {
    const std::pair<const char *, const char *> cases[] = {
        {"a.res", "a_01.res"},       {"a.res", "a_02.res"},  // the first is taken now
        {"plain", "plain_01"},       {"x.y_z", "x_01.y_z"}, {"folder.d/plain", "folder.d/plain_01"},
        {"n_07.txt", "n_07_01.txt"},
    };
    const TempDir dir;
    for (const auto &[given, moved] : cases) {
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
    EXPECT_FALSE(dir.exists("none_01.res"));
}
