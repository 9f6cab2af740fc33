// SPDX-License-Identifier: MIT
// Texts in UTF-8: whether they are, and where they may be cut.
#pragma once

#include <cstddef>
#include <string_view>

// True for a byte that goes on a character and begins none.
constexpr bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
}

// True for well-formed UTF-8 without a NUL.
bool isUtf8Text(std::string_view bytes);

// The number of bytes of the character that begins `text`, which is not empty: the lead's and the
// continuation bytes that belong to it. A stray byte is a character of its own.
std::size_t characterBytes(std::string_view text);

// The text cut to at most `limit` bytes, before a character that would be split.
std::string_view cutAtCharacter(std::string_view text, std::size_t limit);

// The text without a character left unfinished at its end.
std::string_view withoutHalfCharacter(std::string_view text);
