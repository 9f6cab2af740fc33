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

TEST(Trimming, TakesBlanksOffBothEndsBeforeAndAfterTheCut) {
    const std::tuple<const char *, std::size_t, const char *> cases[] = {
        {"  ab  ", 16, "ab"}, {"  ab  c", 4, "ab"}, {"\tab \t", 16, "\tab \t"},
        {"   ", 16, ""},      {nullptr, 16, ""},    {"abcd", 4, "abc"},
        {"abc", 1, ""},
    };
    for (const auto &[source, size, expected] : cases) {
        char text[16] = "unchanged";
        trimcpy(text, source, size);
        EXPECT_STREQ(text, expected);
    }
}

TEST(Numbers, ReadLikeAtoiAndStopAtTheNearestOfThirtyTwoBits) {
    const std::pair<std::string_view, std::int32_t> cases[] = {
        {" \t-7x", -7},
        {"+5", 5},
        {"+-5", 0},
        {"2147483648", INT32_MAX},
        {"-2147483649", INT32_MIN},
        {"99999999999999999999999999", INT32_MAX},
        {"0000000000000000000000000012", 12},
        {std::string_view("123", 2), 12},
    };
    for (const auto &[text, expected] : cases) EXPECT_EQ(toInt32(text), expected) << text;
}
