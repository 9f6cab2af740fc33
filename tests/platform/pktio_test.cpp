// SPDX-License-Identifier: MIT
#include "pktio/pktio.h"

#include <string>

#include <gtest/gtest.h>

#include "pktio/wire.h"

namespace {

// A message over the bytes of a string.
PktMessage over(std::string *bytes) {
    PktMessage message{};
    message.payload = reinterpret_cast<std::uint8_t *>(bytes->data());
    message.length = static_cast<std::uint32_t>(bytes->size());
    message.capacity = message.length;
    return message;
}

TEST(PktItems, ComeBackInOrderAndStandOnTheWireAsDocumented) {
    std::string memory(18, 'x');
    PktMessage message = over(&memory);
    pktInitFull(&message, 261, -2, 7);
    EXPECT_EQ(pktPutString(&message, "eth1"), PKT_OK);
    EXPECT_EQ(pktPut16(&message, 0xFE01), PKT_OK);
    EXPECT_EQ(pktPutString(&message, ""), PKT_OK);
    EXPECT_EQ(pktPut16(&message, 5), PKT_OK);
    EXPECT_EQ(pktPut16(&message, 6), PKT_BAD_ITEM);  // two bytes are left
    EXPECT_EQ(pktPutString(&message, ""), PKT_BAD_ITEM);
    EXPECT_EQ(memory, std::string("\2\0\4eth1\1\xFE\1\2\0\0\1\0\5xx", 18));

    std::uint8_t header[PKT_HEADER_SIZE];
    pktEncodeHeader(&message, header);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(header), sizeof header),
              std::string("\0\0\0\x10\1\5\0\0\xFF\xFF\xFF\xFE\0\0\0\7", 16));

    char text[5];
    std::uint16_t number = 0;
    std::uint32_t position = 0;
    EXPECT_EQ(pktGetString(&message, text, sizeof text, &position), PKT_OK);
    EXPECT_STREQ(text, "eth1");
    EXPECT_EQ(pktGet16(&message, &number, &position), PKT_OK);
    EXPECT_EQ(number, 0xFE01);
    EXPECT_EQ(pktGetString(&message, text, 1, &position), PKT_OK);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(pktGet16(&message, &number, &position), PKT_OK);
    EXPECT_EQ(position, 16u);
    EXPECT_EQ(pktGet16(&message, &number, &position), PKT_BAD_ITEM);
}

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
        const PktMessage message = over(&payload);
        char text[] = "old";
        std::uint32_t position = start;
        EXPECT_EQ(pktGetString(&message, text, sizeof text, &position), PKT_BAD_ITEM);
        EXPECT_STREQ(text, "old");
        EXPECT_EQ(position, start);
        if (payload[0] == 1) continue;
        std::uint16_t number = 77;
        EXPECT_EQ(pktGet16(&message, &number, &position), PKT_BAD_ITEM);
        EXPECT_EQ(number, 77);
        EXPECT_EQ(position, start);
    }
}

}  // namespace
