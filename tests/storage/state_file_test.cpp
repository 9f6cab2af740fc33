// SPDX-License-Identifier: MIT
#include "storage/state_file.h"

#include <cstdint>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/options.h"
#include "support/test_root.h"

namespace {

constexpr char NAME[] = "tarix/data/vorn/vorn.sav";
constexpr char MAGIC[] = "\xCB\xEA\x01\x11";

class StateFile : public testing::Test {
protected:
    StateFile() {
        root_.makeDir("tarix/data");
        setDefaults();
    }

    const TempDir &root_ = testRoot();
};

}  // namespace

TEST_F(StateFile, HoldsTheNumberInEightBytes) {
    umask(0);
    for (const auto &[number, bytes] : {std::pair{258, std::string("\0\0\1\2", 4)},
                                        {-2, "\xFF\xFF\xFF\xFE"},
                                        {INT32_MIN, {'\x80', 0, 0, 0}}}) {
        opt_autoseq = number;
        EXPECT_EQ(savePersistentData(), STATE_OK);
        EXPECT_EQ(root_.read(NAME), MAGIC + bytes);
        opt_autoseq = 1;
        EXPECT_EQ(loadPersistentData(), STATE_OK);
        EXPECT_EQ(opt_autoseq, number);
    }
    struct stat status {};
    stat(root_.path(NAME).c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777u, 0664u);
    root_.write(NAME, MAGIC + std::string("\0\0\0\7more", 8));
    EXPECT_EQ(loadPersistentData(), STATE_OK);
    EXPECT_EQ(opt_autoseq, 7);
}
