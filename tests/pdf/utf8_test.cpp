// SPDX-License-Identifier: MIT
// The codec: what it writes, and what its lenient decoder makes of anything.
#include "pdf/utf8.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "base/utf8_text.h"

TEST(Utf8, EncodesWhatFitsAndWritesNothingElse) {
    const struct {
        char32_t codePoint;
        std::size_t start;  // in a buffer of 4
        int result;
        const char *bytes;
    } cases[] = {
        {0x7F, 3, 4, "...\x7F."},
        {0x80, 0, 2, "\xC2\x80..."},
        {0x7FF, 3, -1, "....."},
        {0x800, 1, 4, ".\xE0\xA0\x80."},
        {0xFFFF, 0, 3, "\xEF\xBF\xBF.."},  // nor are surrogates refused
        {0x1F600, 0, 4, "\xF0\x9F\x98\x80."},
        {0x1F600, 1, -1, "....."},
        {0xFFFFFFFF, 0, 4, "\xF7\xBF\xBF\xBF."},  // bits above bit 20 are dropped
        {0x41, 9, -1, "....."},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(static_cast<std::uint32_t>(c.codePoint));
        char buffer[] = ".....";
        std::size_t position = c.start;
        EXPECT_EQ(utf8_encode(c.codePoint, buffer, 4, &position), c.result);
        EXPECT_EQ(position, c.result < 0 ? c.start : static_cast<std::size_t>(c.result));
        EXPECT_STREQ(buffer, c.bytes);
    }
}

TEST(Utf8, WritesStringsToStreamsAndTellsAFailure) {
    char out[16] = "";
    const FileGuard file(fmemopen(out, sizeof out, "wb"));
    EXPECT_EQ(utf8_fencode_str(file.get(), U"\uFEFFa\u20AC\U0001F600"), 0);
    std::fflush(file.get());
    EXPECT_EQ(std::ftell(file.get()), 11);
    EXPECT_STREQ(out, "\uFEFFa\u20AC\U0001F600");
    const FileGuard full(std::fopen("/dev/full", "wb"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(utf8_fencode_str(full.get(), U"\u20AC"), -1);
}

TEST(Utf8, DecodesAnythingForwards) {
    const std::pair<const char *, std::u32string> cases[] = {
        {"a\xC3\xA9\xE2\x82\xAC", U"a\u00E9\u20AC"},
        {"\xC3z", U"\u00C0z"},  // nothing added to the lead's bits, and the next byte is kept
        {"\xE2\x82", U"\u2080"},
        {"\xA9\xFF\xF8", U")\x7Fx"},             // a stray byte gives its low seven bits
        {"a\x80z", U"a"},                        // a decoded 0 ends the text
        {"\xF0\x9F\x98\x80z", U"\x70\x1F\x18"},  // no four-byte sequences
    };
    for (const auto &[bytes, text] : cases) {
        char32_t out[8];
        const std::size_t count = utf8_decode_str(out, std::size(out), bytes);
        EXPECT_EQ(std::u32string(out, count), text) << bytes;
        EXPECT_EQ(out[count], U'\0');
    }
    char32_t two[3] = {1, 2, 3};
    EXPECT_EQ(utf8_decode_str(two, 2, "abc"), 2U);
    EXPECT_EQ(two[2], 3U);  // no terminator when the room is used up
}

TEST(Utf8, DecodesBackwards) {
    const std::tuple<std::string, char32_t, std::size_t> cases[] = {
        {"", 0, 0},
        {"a\xE2\x82\xAC", U'\u20AC', 1},
        {"a\xD0\xB6", U'\u0436', 1},
        {"\xA9\xA9", 0, 0},                        // the start is reached
        {"a\xA9", U'a', 0},                        // gathered bits are dropped
        {"a\xC3", U'\u0003', 1},                   // a lead alone: nothing stands below its bits
        {"\xE1" + std::string(40, '\x80'), 0, 0},  // more bits than a word has
    };
    for (const auto &[bytes, character, start] : cases) {
        std::size_t position = bytes.size();
        EXPECT_EQ(utf8_decode_prev(bytes.c_str(), &position), character) << bytes;
        EXPECT_EQ(position, start);
    }
}

TEST(Utf8, IsCutBetweenCharacters) {
    const std::tuple<const char *, std::size_t, std::size_t> cases[] = {
        {"a\xE2\x82\xAC", 4, 4},        {"a\xE2\x82\xAC", 3, 1},     {"a\xE2\x82\xAC", 1, 1},
        {"\xC3\xA9\xC3\xA9", 3, 2},     {"\xF0\x9F\x98\x80z", 3, 0}, {"\xF0\x9F\x98\x80z", 4, 4},
        {"\xA9\xA9\xA9\xA9\xA9", 4, 4}, {"a\xC3\xA9", 0, 0},
    };
    for (const auto &[text, room, fits] : cases)
        EXPECT_EQ(cutAtCharacter(text, room).size(), fits) << text;
    EXPECT_EQ(withoutHalfCharacter("ab\xE2\x82"), "ab");
    EXPECT_EQ(characterBytes("\xE2\x82\xAC\x82"), 3U);
    EXPECT_EQ(characterBytes("\xE2\x82z"), 2U);
}
