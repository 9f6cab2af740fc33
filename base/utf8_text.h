// SPDX-License-Identifier: MIT
// Texts in UTF-8: whether they are, which characters they have, and where they may be cut.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// True for a byte that goes on a character and begins none.
constexpr bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
}

// The bytes that a lead announces, its own included; 1 for a byte that is none.
constexpr std::size_t announcedLength(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if ((byte & 0xE0u) == 0xC0u) return 2;
    if ((byte & 0xF0u) == 0xE0u) return 3;
    return (byte & 0xF8u) == 0xF0u ? 4 : 1;
}

// Reads the well-formed character that begins `text`, which is not empty; a NUL is one. Returns the
// number of its bytes, or 0, and *codePoint is left, when none begins there.
std::size_t readCharacter(std::string_view text, std::uint32_t *codePoint);

// True for well-formed UTF-8 without a NUL.
bool isUtf8Text(std::string_view bytes);

// The number of bytes of the character that begins `text`, which is not empty: the lead's and the
// continuation bytes that belong to it. A stray byte is a character of its own.
std::size_t characterBytes(std::string_view text);

// The length of the control character that begins `text`, which is not empty; 0 when none does.
// Beside those of ASCII, U+0080 to U+009F count: terminals obey them too.
std::size_t controlLength(std::string_view text);

// The text cut to at most `limit` bytes, before a character that would be split.
std::string_view cutAtCharacter(std::string_view text, std::size_t limit);

// The text without a character left unfinished at its end.
std::string_view withoutHalfCharacter(std::string_view text);
