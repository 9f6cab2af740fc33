// SPDX-License-Identifier: MIT
// How a message stands on the wire: a header of 16 bytes, all numbers big-endian, then the payload.
//
//     0  payload length, 32 bits      8  param1, 32 bits
//     4  type, 16 bits               12  param2, 32 bits
//     6  0, 16 bits                  16  payload
//
// An item of the payload is the byte 1 and a 16-bit number, or the byte 2, a 16-bit length and
// that many bytes of text without a NUL.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pktio/pktio.h"

constexpr std::size_t PKT_HEADER_SIZE = 16;
constexpr std::uint32_t PKT_PAYLOAD_MAX = 65536;

constexpr std::uint8_t PKT_ITEM_16 = 1;
constexpr std::uint8_t PKT_ITEM_TEXT = 2;

// Writes the header of a message to `bytes`.
void pktEncodeHeader(const PktMessage *message, std::uint8_t bytes[PKT_HEADER_SIZE]);

// Takes type, parameters and payload length from a header; payload and capacity stay as they are.
// PKT_BAD_ITEM, and nothing is taken, for a payload over PKT_PAYLOAD_MAX or a third field that is
// not 0.
int pktDecodeHeader(PktMessage *message, const std::uint8_t bytes[PKT_HEADER_SIZE]);
