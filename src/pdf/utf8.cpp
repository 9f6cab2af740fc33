// SPDX-License-Identifier: MIT
// The UTF-8 codec; encoding as in RFC 3629, decoding as utf8.h says.
#include "pdf/utf8.h"

#include <cstdint>

#include "base/utf8_text.h"

namespace {

constexpr unsigned LOW_SIX = 0x3F;

unsigned byteAt(const char *bytes, std::size_t position) {
    return static_cast<unsigned char>(bytes[position]);
}

constexpr char toByte(char32_t bits) {
    return static_cast<char>(static_cast<unsigned char>(bits));
}

// The n-th group of six bits from the right, as a continuation byte.
constexpr char continuation(char32_t codePoint, unsigned n) {
    return toByte(0x80 | ((codePoint >> (6 * n)) & LOW_SIX));
}

// Adds a continuation byte's bits at `shift` when there is one at *position.
char32_t takeContinuation(const char *bytes, std::size_t *position, unsigned shift) {
    const unsigned byte = byteAt(bytes, *position);
    if (!isContinuation(bytes[*position])) return 0;
    ++*position;
    return static_cast<char32_t>(byte & LOW_SIX) << shift;
}

}  // namespace

int utf8_encode(char32_t codePoint, char *buffer, std::size_t size, std::size_t *position) {
    char bytes[4];
    unsigned length = 0;
    if (codePoint < 0x80) {
        bytes[length++] = toByte(codePoint);
    } else {
        unsigned following = 3;
        if (codePoint < 0x800) {
            following = 1;
            bytes[length++] = toByte(0xC0 | (codePoint >> 6));
        } else if (codePoint <= 0xFFFF) {
            following = 2;
            bytes[length++] = toByte(0xE0 | (codePoint >> 12));
        } else {
            bytes[length++] = toByte(0xF0 | ((codePoint >> 18) & 7));
        }
        while (following > 0) bytes[length++] = continuation(codePoint, --following);
    }
    if (*position > size || size - *position < length) return -1;
    for (unsigned i = 0; i < length; ++i) buffer[(*position)++] = bytes[i];
    return static_cast<int>(*position);
}

int utf8_fencode(std::FILE *stream, char32_t codePoint) {
    char bytes[4];
    std::size_t length = 0;
    if (utf8_encode(codePoint, bytes, sizeof bytes, &length) < 0) return -1;
    return std::fwrite(bytes, 1, length, stream) == length ? 0 : -1;
}

int utf8_fencode_str(std::FILE *stream, const char32_t *text) {
    for (; *text != 0; ++text)
        if (utf8_fencode(stream, *text) != 0) return -1;
    return 0;
}

char32_t utf8_decode_next(const char *bytes, std::size_t *position) {
    const unsigned lead = byteAt(bytes, *position);
    if (lead == 0) return 0;
    const std::size_t length = announcedLength(bytes[*position]);
    ++*position;
    if (length == 3) {
        char32_t result = static_cast<char32_t>(lead & 0x0F) << 12;
        // A lone second continuation byte cannot be: without the first, the next byte is no
        // continuation either, so asking twice is safe.
        result |= takeContinuation(bytes, position, 6);
        return result | takeContinuation(bytes, position, 0);
    }
    if (length == 2) {
        const char32_t result = static_cast<char32_t>(lead & 0x1F) << 6;
        return result | takeContinuation(bytes, position, 0);
    }
    return lead & 0x7F;
}

char32_t utf8_decode_prev(const char *bytes, std::size_t *position) {
    if (*position == 0) return 0;
    unsigned byte = byteAt(bytes, --*position);
    char32_t gathered = 0;
    unsigned shift = 0;
    while (isContinuation(bytes[*position])) {
        // A run of stray continuation bytes may be longer than a word has bits.
        if (shift < 32) gathered |= static_cast<char32_t>(byte & LOW_SIX) << shift;
        shift += 6;
        if (*position == 0) return 0;
        byte = byteAt(bytes, --*position);
    }
    const std::size_t length = announcedLength(bytes[*position]);
    if (length != 2 && length != 3) return byte & 0x7F;
    const unsigned leadBits = length == 3 ? byte & 0x0F : byte & 0x1F;
    return gathered | (shift < 32 ? static_cast<char32_t>(leadBits) << shift : 0);
}

std::size_t utf8_decode_str(char32_t *out, std::size_t maxCount, const char *bytes) {
    std::size_t position = 0;
    for (std::size_t count = 0; count < maxCount; ++count) {
        out[count] = utf8_decode_next(bytes, &position);
        if (out[count] == 0) return count;
    }
    return maxCount;
}
