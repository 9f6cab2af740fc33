// SPDX-License-Identifier: MIT
// Bounded copies into fixed arrays, and the small parsers' helpers. No state, no allocation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/numbers.h"
#include "base/words.h"

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

// The text between its leading and trailing blanks (only 0x20).
inline std::string_view withoutBlanks(std::string_view text) {
    return trim(text, " ");
}

// When s begins with ' or ", cuts s at the next one of the same kind and returns s + 1; else s.
char *unquote_str(char *s);

// Cuts s at the first `open`, and the text after it at the first `close`; returns that text, or the
// empty string at the end of s when there is no `open`.
char *unclose_str(char *s, char open, char close);

// Copies without leading and trailing blanks (only 0x20), at most size - 1 characters; null gives
// "".
void trimcpy(char *destination, const char *source, std::size_t size);

// Turns a text into a file name in place: each byte but A-Z a-z 0-9 . - _ and blank becomes '_'.
void make_filename(char *s);
