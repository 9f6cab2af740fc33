// SPDX-License-Identifier: MIT
#include "pktio/pktio.h"

#include <string>

#include <gtest/gtest.h>

TEST(PktItems, ThatCannotBeReadLeavePositionAndBufferAlone) {
    using namespace std::string_literals;
    const std::pair<std::string, std::uint32_t> cases[] = {
        {""s, 0},
        {"\1\0\1a"s, 0},         // a number
        {"\3\0\1a"s, 0},         // no such kind
        {"\2\0"s, 0},            // the head is cut
        {"\2\0\3ab"s, 0},        // the text is cut
        {"\2\xFF\xFF\1\1"s, 0},  // longer than any payload
        {"\2\0\3a\0b"s, 0},      // a NUL in it
        {"\2\0\4abcd"s, 0},      // does not fit
        {"\2\0\1a"s, 5},
        {"\2\0\1a"s, 0xFFFFFFFF},
    };
    for (auto [payload, start] : cases) {
        SCOPED_TRACE(payload);
        PktMessage message{};
        message.payload = reinterpret_cast<std::uint8_t *>(payload.data());
        message.length = message.capacity = static_cast<std::uint32_t>(payload.size());
        char text[] = "old";
        std::uint16_t number = 77;
        std::uint32_t position = start;
        EXPECT_EQ(pktGetString(&message, text, sizeof text, &position), PKT_BAD_ITEM);
        if (payload[0] != 1) {
            EXPECT_EQ(pktGet16(&message, &number, &position), PKT_BAD_ITEM);
        }
        EXPECT_STREQ(text, "old");
        EXPECT_EQ(number, 77);
        EXPECT_EQ(position, start);
    }
}
