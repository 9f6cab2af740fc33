// SPDX-License-Identifier: MIT
#include "storage/strings.h"

#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

TEST(BoundedCopies, CutEndAndFillTheRestWithNuls) {
    char copy[6];
    std::memset(copy, 'x', sizeof copy);
    EXPECT_EQ(safe_strncpy(copy, "english", 4), copy);
    EXPECT_EQ(std::string(copy, 6), std::string("eng\0xx", 6));
    safe_strncpy(copy, "ab", 5);
    EXPECT_EQ(std::string(copy, 6), std::string("ab\0\0\0x", 6));

    char joined[8] = "abc";
    EXPECT_EQ(safe_strncat(joined, "defg", 5), joined);
    EXPECT_STREQ(joined, "abcd");
    EXPECT_STREQ(safe_strncat(joined, "ef", sizeof joined), "abcdef");

    char piece[4] = "zzz";
    copyPiece(piece, "abcdef");
    EXPECT_STREQ(piece, "abc");
}

TEST(AppendingAtACursor, StopsAtTheRoomAndStaysThere) {
    char text[8] = "";
    char *cursor = text;
    std::size_t room = 6;
    EXPECT_EQ(safe_strncat_size(&cursor, &room, "abXX", 2), 0);
    EXPECT_EQ(safe_strncat_size(&cursor, &room, "cdefgh", 6), -1);
    EXPECT_EQ(safe_strncat_size(&cursor, &room, "i", 1), -1);
    EXPECT_EQ(safe_strncat_size(&cursor, &room, "", 0), 0);
    EXPECT_EQ(cursor, text + 5);
    EXPECT_STREQ(text, "abcde");

    room = 4;  // what fits to the byte is not cut
    cursor = text;
    EXPECT_EQ(safe_strncat_size(&cursor, &room, "xyz", 3), 0);
    EXPECT_STREQ(text, "xyz");
    EXPECT_EQ(room, 1u);
}

TEST(Trimming, TakesBlanksOffBothEndsBeforeAndAfterTheCut) {
    struct Case {
        const char *source;
        std::size_t size;
        const char *expected;
    };
    const Case cases[] = {
        {"  ab  ", 16, "ab"}, {"  ab  c", 4, "ab"}, {"\tab \t", 16, "\tab \t"}, {"a b", 16, "a b"},
        {"   ", 16, ""},      {nullptr, 16, ""},    {"abcd", 4, "abc"},         {"abc", 1, ""},
    };
    for (const Case &c : cases) {
        char text[16] = "unchanged";
        trimcpy(text, c.source, c.size);
        EXPECT_STREQ(text, c.expected) << (c.source == nullptr ? "null" : c.source);
    }
    char inPlace[] = "  ab ";
    trimcpy(inPlace, inPlace, sizeof inPlace);
    EXPECT_STREQ(inPlace, "ab");
}

TEST(Numbers, ReadLikeAtoiAndStopAtTheNearestOfThirtyTwoBits) {
    const std::pair<std::string_view, std::int32_t> cases[] = {
        {" \t-7x", -7},
        {"+5", 5},
        {"+-5", 0},
        {"", 0},
        {"2147483648", 2147483647},
        {"-2147483649", INT32_MIN},
        {"99999999999999999999999999", 2147483647},
        {"0000000000000000000000000012", 12},
        {std::string_view("123", 2), 12},
    };
    for (const auto &[text, expected] : cases) EXPECT_EQ(toInt32(text), expected) << text;
}
