// SPDX-License-Identifier: MIT
// Request messages: a code, two parameters and a payload of items, numbers and texts, that are
// written and read in order. No state; a message belongs to one thread at a time.
#pragma once

#include <cstdint>

enum PktResult : int {
    PKT_OK = 0,
    PKT_BAD_ITEM = -1,  // another kind of item, past the end, damaged, or it does not fit
};

// A message. The payload's memory is its owner's, who sets `payload` and `capacity` once (a record
// of zeros takes no items) and keeps it as long as the message is used.
struct PktMessage {
    std::uint16_t type;
    std::int32_t param1;
    std::int32_t param2;
    std::uint32_t length;    // bytes of payload in use
    std::uint32_t capacity;  // bytes of memory behind `payload`
    std::uint8_t *payload;
};

// Makes a message with this code and these parameters and an empty payload.
void pktInitFull(PktMessage *message, std::uint16_t type, std::int32_t param1, std::int32_t param2);

// Append an item. PKT_OK, or PKT_BAD_ITEM when it does not fit (a text has at most 65535 bytes);
// the message is then as it was.
int pktPut16(PktMessage *message, std::uint16_t value);
int pktPutString(PktMessage *message, const char *text);

// Reads the 16-bit item at `position`, which starts at 0 and moves behind the item. On PKT_BAD_ITEM
// both outputs are as they were.
int pktGet16(const PktMessage *message, std::uint16_t *value, std::uint32_t *position);

// Reads the text item at `position` into `text`, which has room for `size` bytes, the NUL included.
// A text that does not fit is not cut but refused. On PKT_BAD_ITEM both outputs are as they were.
int pktGetString(const PktMessage *message, char *text, std::uint32_t size,
                 std::uint32_t *position);
