// SPDX-License-Identifier: MIT
#include "storage/state_file.h"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/options.h"
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
