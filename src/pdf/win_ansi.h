// SPDX-License-Identifier: MIT
// Text for the fonts of a PDF document: UTF-8 turned into their encoding, Windows code page 1252,
// where a character is a byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What could not be turned.
struct WinAnsiLoss {
    std::uint32_t count;  // characters outside the encoding, and bytes that are no UTF-8
    std::uint32_t first;  // the first of them: its code point, or the byte
    bool firstIsByte;
};

// Turns a text into code page 1252.
//   out   gets at most size - 1 characters and a NUL; size is 1 or more
//   loss  is added to
// A character outside the code page becomes "?", and so does each byte that is not part of a
// well-formed character. A control character becomes a blank, since fonts have no form for it and
// what stands behind it would move to the left. Returns the number of characters.
std::size_t utf8ToWinAnsi(char *out, std::size_t size, std::string_view text, WinAnsiLoss *loss);
