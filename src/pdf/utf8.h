// SPDX-License-Identifier: MIT
// A small UTF-8 codec over code points in 32-bit words. The decoder is lenient: it never fails, it
// makes single characters of what it cannot read, and it does not know four-byte sequences. Reports
// need utf8_encode, utf8_fencode and utf8_decode_next; the rest makes the codec whole, and only its
// tests call it.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

// Writes a code point's bytes (1 to 4; bits above bit 20 are dropped, surrogates are not refused)
// at *position and advances it. Returns the new position, or -1 when they do not fit into `size`
// bytes: then nothing is written.
int utf8_encode(char32_t codePoint, char *buffer, std::size_t size, std::size_t *position);

// Writes one code point to a stream. 0, or -1 when fewer bytes were written.
int utf8_fencode(std::FILE *stream, char32_t codePoint);

// Writes code points up to a 0. 0, or -1 at the first failure; what was written stays.
int utf8_fencode_str(std::FILE *stream, const char32_t *text);

// Decodes the character at *position and steps past it. A missing continuation byte adds nothing to
// the lead's bits; any byte but ASCII and the leads of two and three bytes gives its seven low
// bits. At a NUL it returns 0 and stays.
char32_t utf8_decode_next(const char *bytes, std::size_t *position);

// Steps back over the character before *position and returns it; 0 at the start.
char32_t utf8_decode_prev(const char *bytes, std::size_t *position);

// Decodes until a 0 or `maxCount` characters are stored. Returns the number of characters before
// the 0; when maxCount comes first there is no 0, so give one slot more and set it.
std::size_t utf8_decode_str(char32_t *out, std::size_t maxCount, const char *bytes);
