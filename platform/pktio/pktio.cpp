// SPDX-License-Identifier: MIT
// Items and headers of request messages, byte by byte, so that no host order or padding shows.
#include "pktio/pktio.h"

#include <algorithm>
#include <cstring>

#include "pktio/wire.h"

namespace {

constexpr std::uint32_t ITEM_16_SIZE = 3;
constexpr std::uint32_t TEXT_HEAD_SIZE = 3;
constexpr std::size_t TEXT_MAX = 65535;

void put16(std::uint8_t *bytes, std::uint32_t value) {
    bytes[0] = static_cast<std::uint8_t>(value >> 8);
    bytes[1] = static_cast<std::uint8_t>(value);
}

void put32(std::uint8_t *bytes, std::uint32_t value) {
    put16(bytes, value >> 16);
    put16(bytes + 2, value);
}

std::uint16_t get16(const std::uint8_t *bytes) {
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

std::uint32_t get32(const std::uint8_t *bytes) {
    return static_cast<std::uint32_t>(get16(bytes)) << 16 | get16(bytes + 2);
}

// The place for an item of `size` bytes at the payload's end, or null when it does not fit.
std::uint8_t *appendItem(PktMessage *message, std::size_t size) {
    if (size > message->capacity - message->length) return nullptr;
    std::uint8_t *item = message->payload + message->length;
    message->length += static_cast<std::uint32_t>(size);
    return item;
}

// The item of this kind at `position` when its first three bytes are there, or null.
const std::uint8_t *itemAt(const PktMessage *message, std::uint32_t position, std::uint8_t kind) {
    if (position > message->length || message->length - position < ITEM_16_SIZE) return nullptr;
    const std::uint8_t *item = message->payload + position;
    return item[0] == kind ? item : nullptr;
}

}  // namespace

void pktInitFull(PktMessage *message, std::uint16_t type, std::int32_t param1,
                 std::int32_t param2) {
    message->type = type;
    message->param1 = param1;
    message->param2 = param2;
    message->length = 0;
}

int pktPut16(PktMessage *message, std::uint16_t value) {
    std::uint8_t *item = appendItem(message, ITEM_16_SIZE);
    if (item == nullptr) return PKT_BAD_ITEM;
    item[0] = PKT_ITEM_16;
    put16(item + 1, value);
    return PKT_OK;
}

int pktPutString(PktMessage *message, const char *text) {
    const std::size_t length = std::strlen(text);
    if (length > TEXT_MAX) return PKT_BAD_ITEM;
    std::uint8_t *item = appendItem(message, TEXT_HEAD_SIZE + length);
    if (item == nullptr) return PKT_BAD_ITEM;
    item[0] = PKT_ITEM_TEXT;
    put16(item + 1, static_cast<std::uint32_t>(length));
    std::copy_n(text, length, item + TEXT_HEAD_SIZE);
    return PKT_OK;
}

int pktGet16(const PktMessage *message, std::uint16_t *value, std::uint32_t *position) {
    const std::uint8_t *item = itemAt(message, *position, PKT_ITEM_16);
    if (item == nullptr) return PKT_BAD_ITEM;
    *value = get16(item + 1);
    *position += ITEM_16_SIZE;
    return PKT_OK;
}

int pktGetString(const PktMessage *message, char *text, std::uint32_t size,
                 std::uint32_t *position) {
    const std::uint8_t *item = itemAt(message, *position, PKT_ITEM_TEXT);
    if (item == nullptr) return PKT_BAD_ITEM;
    const std::uint32_t length = get16(item + 1);
    const std::uint8_t *bytes = item + TEXT_HEAD_SIZE;
    if (length > message->length - *position - TEXT_HEAD_SIZE || length >= size) {
        return PKT_BAD_ITEM;
    }
    if (std::memchr(bytes, 0, length) != nullptr) return PKT_BAD_ITEM;
    std::memcpy(text, bytes, length);
    text[length] = '\0';
    *position += TEXT_HEAD_SIZE + length;
    return PKT_OK;
}

void pktEncodeHeader(const PktMessage *message, std::uint8_t bytes[PKT_HEADER_SIZE]) {
    put32(bytes, message->length);
    put16(bytes + 4, message->type);
    put16(bytes + 6, 0);
    put32(bytes + 8, static_cast<std::uint32_t>(message->param1));
    put32(bytes + 12, static_cast<std::uint32_t>(message->param2));
}

int pktDecodeHeader(PktMessage *message, const std::uint8_t bytes[PKT_HEADER_SIZE]) {
    const std::uint32_t length = get32(bytes);
    if (length > PKT_PAYLOAD_MAX || get16(bytes + 6) != 0) return PKT_BAD_ITEM;
    message->type = get16(bytes + 4);
    message->param1 = static_cast<std::int32_t>(get32(bytes + 8));
    message->param2 = static_cast<std::int32_t>(get32(bytes + 12));
    message->length = length;
    return PKT_OK;
}
