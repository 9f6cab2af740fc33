// SPDX-License-Identifier: MIT
#include "storage/strings.h"

#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

TEST(BoundedCopies, CutEndAndFillTheRestWithNuls) {
    char copy[] = "xxxxxx";
    EXPECT_EQ(safe_strncpy(copy, "english", 4), copy);
    EXPECT_STREQ(copy, "eng");
    safe_strncpy(copy, "a", 5);
    EXPECT_EQ(std::string(copy, 6), std::string("a\0\0\0\0x", 6));
    EXPECT_EQ(safe_strncat(copy, "defg", 4), copy);
    EXPECT_STREQ(safe_strncat(copy, "hij", sizeof copy), "adehij");
    for (const auto &[room, text] : {std::pair{3, "ab"}, {4, "abc"}, {7, "abc"}}) {
        char *cursor = copy;
        auto left = static_cast<std::size_t>(room);  // what fits to the byte is not cut
        EXPECT_EQ(safe_strncat_size(&cursor, &left, "abcX", 3), room < 4 ? -1 : 0);
        EXPECT_STREQ(copy, text);
        EXPECT_EQ(cursor, copy + std::strlen(text));
    }
}
