// SPDX-License-Identifier: MIT
// Bounded copies into fixed arrays, and the small parsers' helpers. No state, no allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// strncpy of `size` bytes (1 or more), always ended by a NUL: at most size - 1 characters remain,
// and the rest of the destination is filled with NULs. Returns the destination.
char *safe_strncpy(char *destination, const char *source, std::size_t size);

// Appends to the string in `destination`, which keeps at most size - 1 characters. Returns the
// destination.
char *safe_strncat(char *destination, const char *source, std::size_t size);

// Appends the first `length` characters of `source` (which has as many) at a moving write position.
//   cursor  the place to write; moves to the NUL written
//   room    bytes left there, the NUL included, 1 or more; never drops below 1
// Returns 0, or -1 when the text was cut.
int safe_strncat_size(char **cursor, std::size_t *room, const char *source, std::size_t length);

// Copies a piece of a text into a fixed array, cut to fit; unlike safe_strncpy it leaves what
// stands behind the NUL alone.
template <std::size_t N>
void copyPiece(char (&to)[N], std::string_view piece) {
    const std::size_t length = piece.size() < N ? piece.size() : N - 1;
    piece.copy(to, length);
    to[length] = '\0';
}

// The text between its leading and trailing blanks (only 0x20).
std::string_view withoutBlanks(std::string_view text);

// Takes the next word off the front of `rest`; an empty one when none is left. Runs of separators
// count as one.
std::string_view takeWord(std::string_view *rest, std::string_view separators);

// When s begins with ' or ", cuts s at the next one of the same kind and returns s + 1; else s.
char *unquote_str(char *s);

// Cuts s at the first `open`, and the text after it at the first `close`; returns that text, or the
// empty string at the end of s when there is no `open`.
char *unclose_str(char *s, char open, char close);

// Copies without leading and trailing blanks (only 0x20), at most size - 1 characters; null gives
// "".
void trimcpy(char *destination, const char *source, std::size_t size);

// The number at the start of a text as atoi reads it (blanks, sign, digits), 0 without one; a
// number beyond 32 bits gives the nearest one.
std::int32_t toInt32(std::string_view text);

// Turns a text into a file name in place: each byte but A-Z a-z 0-9 . - _ and blank becomes '_'.
void make_filename(char *s);
