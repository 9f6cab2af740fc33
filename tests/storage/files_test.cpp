// SPDX-License-Identifier: MIT
#include "storage/files.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

struct dirent entry(unsigned char type, const char *name) {
    struct dirent made {};
    made.d_type = type;
    std::strncpy(made.d_name, name, sizeof made.d_name - 1);
    return made;
}

}  // namespace

TEST(OpenForReading, TakesRegularFilesOnlyAndNeverWaits) {
    const TempDir dir;
    dir.write("file", "text");
    dir.makeDir("folder");
    ASSERT_EQ(mkfifo(dir.path("fifo").c_str(), 0600), 0);
    struct Case {
        std::string path;
        int error;
    };
    const Case cases[] = {{dir.path("folder"), EISDIR},
                          {dir.path("fifo"), ENOTSUP},
                          {"/dev/zero", ENOTSUP},
                          {dir.path("none"), ENOENT}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.path);
        errno = 0;
        EXPECT_EQ(openForReading(c.path.c_str()), nullptr);
        EXPECT_EQ(errno, c.error);
    }
    const FileGuard file = openForReading(dir.path("file").c_str());
    ASSERT_NE(file, nullptr);
    char text[8] = "";
    EXPECT_STREQ(std::fgets(text, sizeof text, file.get()), "text");
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

TEST(SubscriptionFileNames, AreRegularFilesWithANameBeforeTheEnding) {
    const struct dirent wanted = entry(DT_REG, "x.subs");
    EXPECT_EQ(isSubsFile(&wanted), 1);
    const struct dirent others[] = {entry(DT_REG, ".subs"), entry(DT_DIR, "x.subs"),
                                    entry(DT_REG, "x.subs~"), entry(DT_REG, "xsubs"),
                                    entry(DT_REG, "s")};
    for (const struct dirent &other : others) EXPECT_EQ(isSubsFile(&other), 0) << other.d_name;
}

TEST(Purging, DeletesTheFirstNamesOfTheAcceptedFiles) {
    const TempDir dir;
    for (const char *name : {"B.subs", "a.subs", "c.subs", "C.subs", "d.subs", "keep.txt"})
        dir.write(name, "");
    const char *path = dir.path().c_str();
    EXPECT_EQ(countDirFiles(path, isSubsFile), 5);

    const LogCapture log(2);
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 5), 5);
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 6), 5);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 3), 3);
    EXPECT_EQ(log.text(), "Deleted old file '" + dir.path("B.subs") + "'.\nDeleted old file '" +
                              dir.path("C.subs") + "'.\n");
    EXPECT_FALSE(dir.exists("B.subs"));
    EXPECT_TRUE(dir.exists("a.subs"));
    EXPECT_EQ(purgeDirFiles(path, isSubsFile, misc_alphasort, 0), 0);
    EXPECT_EQ(countDirFiles(path, isSubsFile), 0);
    EXPECT_TRUE(dir.exists("keep.txt"));

    EXPECT_EQ(countDirFiles("/no/such/folder", isSubsFile), 0);
    EXPECT_EQ(purgeDirFiles("/no/such/folder", isSubsFile, misc_alphasort, 0), 0);
}

TEST(Purging, ReachesFilesWhosePathIsLongerThanAnOption) {
    const TempDir dir;
    const std::string name = std::string(100, 'n') + ".subs";
    dir.write(name, "");
    EXPECT_EQ(purgeDirFiles(dir.path().c_str(), isSubsFile, misc_alphasort, 0), 0);
    EXPECT_FALSE(dir.exists(name));
}

TEST(BackupFile, MovesTheFileToTheFirstFreeNameAndLosesNone) {
    struct Case {
        const char *given;
        const char *taken;  // exists already, or null
        const char *moved;
    };
    const Case cases[] = {
        {"a.res", nullptr, "a_01.res"},
        {"b.res", "b_01.res", "b_02.res"},
        {"plain", nullptr, "plain_01"},
        {"x.y_z", "x_01.y_z", "x_02.y_z"},  // a '_' of the extension is no suffix
        {"folder.d/plain", nullptr, "folder.d/plain_01"},
        {"n_07.txt", "n_07_01.txt", "n_07_02.txt"},
    };
    const TempDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.given);
        dir.write(c.given, "new");
        if (c.taken != nullptr) dir.write(c.taken, "old");
        EXPECT_EQ(backup_file(dir.path(c.given).c_str()), 0);
        EXPECT_FALSE(dir.exists(c.given));
        EXPECT_EQ(dir.read(c.moved), "new");
        if (c.taken != nullptr) {
            EXPECT_EQ(dir.read(c.taken), "old");
        }
    }
    for (int i = 1; i < 100; ++i)
        dir.write("full_" + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".res", "old");
    dir.write("full.res", "new");
    backup_file(dir.path("full.res").c_str());
    EXPECT_EQ(dir.read("full_100.res"), "new");

    EXPECT_EQ(backup_file(dir.path("none.res").c_str()), 0);
    EXPECT_EQ(backup_file(std::string(5000, 'p').c_str()), 0);
    EXPECT_FALSE(dir.exists("none_01.res"));
}
