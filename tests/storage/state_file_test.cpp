// SPDX-License-Identifier: MIT
#include "storage/state_file.h"

#include <csignal>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/options.h"
#include "dmon/dmon.h"
#include "support/log_capture.h"
#include "support/test_root.h"

namespace {

constexpr char NAME[] = "tarix/data/vorn/vorn.sav";
constexpr char MAGIC[] = "\xCB\xEA\x01\x11";

class Persistent : public testing::Test {
protected:
    Persistent() {
        std::filesystem::remove_all(root_.path("tarix"));
        root_.makeDir("tarix/data");
        setDefaults();
    }

    const TempDir &root_ = testRoot();
};

}  // namespace

TEST_F(Persistent, NumbersComeBackFromEightBytes) {
    const std::pair<std::int32_t, std::string> cases[] = {{258, std::string("\0\0\1\2", 4)},
                                                          {-2, "\xFF\xFF\xFF\xFE"},
                                                          {INT32_MIN, {'\x80', 0, 0, 0}}};
    umask(0);
    for (const auto &[number, bytes] : cases) {
        opt_autoseq = number;
        EXPECT_EQ(savePersistentData(), PERSISTENT_OK);
        EXPECT_EQ(root_.read(NAME), MAGIC + bytes);
        opt_autoseq = 1;
        EXPECT_EQ(loadPersistentData(), PERSISTENT_OK);
        EXPECT_EQ(opt_autoseq, number);
    }
    struct stat status;
    ASSERT_EQ(stat(root_.path(NAME).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0664u);
    ASSERT_EQ(stat(root_.path("tarix/data/vorn").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0755u);
    EXPECT_FALSE(root_.exists("tarix/data/vorn/vorn.sav.new"));

    root_.write(NAME, MAGIC + std::string("\0\0\0\7more", 8));
    EXPECT_EQ(loadPersistentData(), PERSISTENT_OK);
    EXPECT_EQ(opt_autoseq, 7);
    EXPECT_EQ(savePersistentData(), PERSISTENT_OK);
    EXPECT_EQ(root_.read(NAME), MAGIC + std::string("\0\0\0\7", 4));
}

TEST_F(Persistent, AMissingFileWarnsAndAForeignOneFails) {
    opt_autoseq = 5;
    {
        const LogCapture log;
        EXPECT_EQ(loadPersistentData(), PERSISTENT_OK);
        EXPECT_EQ(log.text(), "Warning: no persistent data found.\n");
    }
    const std::string contents[] = {"", MAGIC, std::string("\xCB\xEA\x01\x11\0\0\1", 7),
                                    std::string("\xCB\xEA\x01\x10\0\0\0\1", 8), "\xCB\xEA"};
    const LogCapture log;
    for (const std::string &content : contents) {
        root_.write(NAME, content);
        EXPECT_EQ(loadPersistentData(), PERSISTENT_FOREIGN);
    }
    std::filesystem::remove(root_.path(NAME));
    root_.makeDir(NAME);
    EXPECT_EQ(loadPersistentData(), PERSISTENT_FOREIGN);
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(opt_autoseq, 5);
}

TEST_F(Persistent, AFileThatCannotBeHadIsReported) {
    const std::string message =
        "Error: could not save persistent data to '" + root_.path(NAME) + "'.\n";
    const LogCapture log;
    root_.makeDir(NAME);
    EXPECT_EQ(savePersistentData(), PERSISTENT_NOT_SAVED);
    std::filesystem::remove_all(root_.path("tarix"));
    EXPECT_EQ(savePersistentData(), PERSISTENT_NOT_SAVED);
    EXPECT_EQ(log.text(), message + message);
}

// A file size limit stands for a full disk.
TEST_F(Persistent, AFailedWriteOverTheFileIsReported) {
    ASSERT_EQ(savePersistentData(), PERSISTENT_OK);
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        opt_autoseq = 2;
        dmon_set_level(0);  // the log may be a file too
        _exit(savePersistentData() == PERSISTENT_NOT_SAVED ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(root_.read(NAME), MAGIC + std::string("\0\0\0\1", 4));
}
