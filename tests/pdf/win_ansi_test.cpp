// SPDX-License-Identifier: MIT
#include "pdf/win_ansi.h"

#include <string>

#include <gtest/gtest.h>

TEST(WinAnsi, TurnsCharactersIntoBytesAndCountsWhatItCannotTurn) {
    struct Case {
        std::string text, turned;
        std::uint32_t lost, first;
        bool firstIsByte;
    };
    const Case cases[] = {
        {"\u00A0\u00E9\u00FF\u20AC\u0178\u2019\u2122", "\xA0\xE9\xFF\x80\x9F\x92\x99", 0, 0, false},
        {"a\tb\nc\x7F\x01", "a b c  ", 0, 0, false},
        {"\u0081\u0100", "??", 2, 0x81, false},  // the byte 0x81 has no character
        {"\u0800\U0001F600y", "??y", 2, 0x800, false},
        {"\U00010000\U0010FFFF\x9F", "???", 3, 0x10000, false},
        {"\xC3(\xE9\x80 ", "?(?? ", 3, 0xC3, true},
        {"\xC1\xBF\xE0\x9F\xBF\xF0\x8F\xBF\xBF", "?????????", 9, 0xC1, true},  // too many bytes
        {"\xED\xA0\x80", "???", 3, 0xED, true},  // half of a surrogate pair
        {"\xF4\x90\x80\x80\xFF", "?????", 5, 0xF4, true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        char out[32];
        WinAnsiLoss loss{};
        EXPECT_EQ(utf8ToWinAnsi(out, sizeof out, c.text, '?', &loss), c.turned.size());
        EXPECT_EQ(std::string(out), c.turned);
        EXPECT_EQ(loss.count, c.lost);
        EXPECT_EQ(loss.first, c.first);
        EXPECT_EQ(loss.firstIsByte, c.firstIsByte);
    }

    // Cut to the buffer: what is not written is not lost.
    char small[3];
    WinAnsiLoss loss{};
    EXPECT_EQ(utf8ToWinAnsi(small, sizeof small, "\u00E9\u00E8\u20BF", '?', &loss), 2u);
    EXPECT_STREQ(small, "\xE9\xE8");
    EXPECT_EQ(loss.count, 0u);
}
