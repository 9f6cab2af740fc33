// SPDX-License-Identifier: MIT
// The codec: what it writes, and what its lenient decoder makes of anything.
#include "pdf/utf8.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "base/utf8_text.h"
#include "support/temp_dir.h"

TEST(Utf8, EncodesWhatFitsAndWritesNothingElse) {
    struct Case {
        char32_t codePoint;
        std::size_t start;  // in a buffer of 4
        int result;
        const char *bytes;
    };
    const Case cases[] = {
        {0x7F, 3, 4, "...\x7F."},
        {0x80, 0, 2, "\xC2\x80..."},
        {0x7FF, 3, -1, "....."},
        {0x800, 1, 4, ".\xE0\xA0\x80."},
        {0x20AC, 2, -1, "....."},
        {0xD800, 0, 3, "\xED\xA0\x80.."},  // surrogates are not refused
        {0xFFFF, 0, 3, "\xEF\xBF\xBF.."},
        {0x1F600, 0, 4, "\xF0\x9F\x98\x80."},
        {0x1F600, 1, -1, "....."},
        {0xFFFFFFFF, 0, 4, "\xF7\xBF\xBF\xBF."},  // bits above bit 20 are dropped
        {0x41, 9, -1, "....."},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(static_cast<std::uint32_t>(c.codePoint));
        char buffer[] = ".....";
        std::size_t position = c.start;
        EXPECT_EQ(utf8_encode(c.codePoint, buffer, 4, &position), c.result);
        EXPECT_EQ(position, c.result < 0 ? c.start : static_cast<std::size_t>(c.result));
        EXPECT_STREQ(buffer, c.bytes);
    }
}

TEST(Utf8, WritesStringsToStreamsAndTellsAFailure) {
    const TempDir dir;
    const FileGuard file(std::fopen(dir.path("out").c_str(), "w+b"));
    EXPECT_EQ(utf8_fencode_str(file.get(), U"\uFEFFa\u20AC\U0001F600"), 0);
    std::fflush(file.get());
    EXPECT_EQ(dir.read("out"),
              "\xEF\xBB\xBF"
              "a\xE2\x82\xAC\xF0\x9F\x98\x80");

    const FileGuard full(std::fopen("/dev/full", "wb"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(utf8_fencode(full.get(), U'a'), -1);
    EXPECT_EQ(utf8_fencode_str(full.get(), U"\u20AC"), -1);
}

TEST(Utf8, DecodesAnythingForwards) {
    const std::pair<const char *, std::u32string> cases[] = {
        {"a\xC3\xA9\xE2\x82\xAC", U"a\u00E9\u20AC"},
        {"\xC3z", U"\u00C0z"},    // nothing added to the lead's bits, and the next byte is kept
        {"\xE2\x82", U"\u2080"},  //
        {"\xA9", U")"},           // a stray byte gives its low seven bits
        {"\xFF\xF8", U"\x7Fx"},   //
        {"a\x80z", U"a"},         // a decoded 0 ends the text
        {"\xE0\x80\x80z", U""},   //
        {"\xF0\x9F\x98\x80z", U"\x70\x1F\x18"},  // no four-byte sequences
        {"\xC1\x81", U"A"},                      // overlong
    };
    for (const auto &[bytes, text] : cases) {
        SCOPED_TRACE(bytes);
        char32_t out[8];
        const std::size_t count = utf8_decode_str(out, std::size(out), bytes);
        EXPECT_EQ(std::u32string(out, count), text);
        EXPECT_EQ(out[count], U'\0');
    }
    char32_t two[3] = {1, 2, 3};
    EXPECT_EQ(utf8_decode_str(two, 2, "abc"), 2U);
    EXPECT_EQ(two[2], 3U);  // no terminator when the room is used up
    std::size_t end = 3;
    EXPECT_EQ(utf8_decode_next("abc", &end), U'\0');
    EXPECT_EQ(end, 3U);
}

TEST(Utf8, DecodesBackwards) {
    struct Case {
        std::string bytes;
        char32_t character;
        std::size_t position;
    };
    const Case cases[] = {
        {"", 0, 0},
        {"a\xE2\x82\xAC", U'\u20AC', 1},
        {"\xA9\xA9", 0, 0},  // the start is reached
        {"a\xA9", U'a', 0},  // gathered bits are dropped
        {"\xF0\x9F\x98\x80", 0x70, 0},
        {"a\xC3", U'\u0003', 1},  // a lead alone: nothing stands below its bits
        {"\xE1\x80\x80\x81", 0x40001, 0},
        {"\xE1" + std::string(40, '\x80'), 0, 0},  // more bits than a word has
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes);
        std::size_t position = c.bytes.size();
        EXPECT_EQ(utf8_decode_prev(c.bytes.c_str(), &position), c.character);
        EXPECT_EQ(position, c.position);
    }
}

TEST(Utf8, CutsBetweenCharacters) {
    struct Case {
        const char *text;
        std::size_t room, fits;
    };
    const Case cases[] = {
        {"a\xE2\x82\xAC", 4, 4},     {"a\xE2\x82\xAC", 3, 1},        {"a\xE2\x82\xAC", 2, 1},
        {"a\xE2\x82\xAC", 1, 1},     {"\xC3\xA9\xC3\xA9", 3, 2},     {"\xF0\x9F\x98\x80z", 3, 0},
        {"\xF0\x9F\x98\x80z", 4, 4}, {"\xA9\xA9\xA9\xA9\xA9", 4, 4}, {"a\xC3\xA9", 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(cutAtCharacter(c.text, c.room).size(), c.fits);
    }
    EXPECT_EQ(withoutHalfCharacter("ab\xE2\x82"), "ab");
    EXPECT_EQ(characterBytes("\xE2\x82\xAC\x82"), 3U);
    EXPECT_EQ(characterBytes("\xE2\x82z"), 2U);
    EXPECT_EQ(characterBytes("\x82\x82"), 1U);
}
