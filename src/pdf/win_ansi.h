// SPDX-License-Identifier: MIT
// Text for the fonts of a PDF document: UTF-8 turned into their encoding, Windows code page 1252,
// where a character is a byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The byte of a character; a blank for a control character, NUL when the code page has none. Never
// one of the bytes 0x81, 0x8D, 0x8F, 0x90 and 0x9D, which the code page leaves undefined.
char toWinAnsi(std::uint32_t character);

// True for printable ASCII alone, which the code page holds as it stands.
bool isSameInWinAnsi(std::string_view text);

// What could not be turned.
struct WinAnsiLoss {
    std::uint32_t count;  // characters outside the encoding, and bytes that are no UTF-8
    std::uint32_t first;  // the first of them: its code point, or the byte
    bool firstIsByte;
};

// Turns a text into code page 1252.
//   out   gets at most size - 1 characters and a NUL; size is 1 or more
//   lost  stands for a character outside the code page, and for each byte that is not part of a
//         well-formed character
//   loss  is added to
// A control character becomes a blank, since fonts have no form for it and what stands behind it
// would move to the left. Returns the number of characters.
std::size_t utf8ToWinAnsi(char *out, std::size_t size, std::string_view text, char lost,
                          WinAnsiLoss *loss);
