// SPDX-License-Identifier: MIT
#include "base/utf8_text.h"

#include <cstdint>
#include <cstring>

namespace {

struct Utf8Lead {
    unsigned char first;
    unsigned char last;
    unsigned char low;   // bounds of the second byte: they rule out long forms, surrogates and
    unsigned char high;  // what lies beyond U+10FFFF
    std::size_t length;
};

// Unicode, table 3-7: well-formed UTF-8 byte sequences.
constexpr Utf8Lead leads[] = {
    {0x01, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// The length of the character at the front of the text, 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (const Utf8Lead &lead : leads) {
        if (byte(0) < lead.first || byte(0) > lead.last) continue;
        if (lead.length > text.size()) return 0;
        if (lead.length > 1 && (byte(1) < lead.low || byte(1) > lead.high)) return 0;
        for (std::size_t i = 2; i < lead.length; ++i)
            if (!isContinuation(text[i])) return 0;
        return lead.length;
    }
    return 0;
}

// Whether eight characters are neither a NUL nor above 0x7F, as nearly all of a file's are.
bool arePlain(const char *characters) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, characters, sizeof(eight));
    return ((eight | (eight - 0x0101010101010101u)) & 0x8080808080808080u) == 0;
}

// The number of characters at the front that are known to be plain, found eight at a time.
std::size_t plainLength(std::string_view text) {
    std::size_t plain = 0;
    for (; text.size() - plain >= 8; plain += 8)
        if (!arePlain(text.data() + plain)) return plain;
    // Fewer than eight are left: the last eight of the text hold them too.
    return text.size() >= 8 && arePlain(text.data() + text.size() - 8) ? text.size() : plain;
}

}  // namespace

bool isUtf8Text(std::string_view bytes) {
    for (;;) {
        bytes.remove_prefix(plainLength(bytes));
        if (bytes.empty()) return true;
        const std::size_t length = characterLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
}

std::string_view cutAtCharacter(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text;
    std::size_t end = limit;
    while (end > 0 && isContinuation(text[end])) --end;
    return text.substr(0, end);
}

std::string_view withoutHalfCharacter(std::string_view text) {
    std::size_t end = text.size();
    while (end > 0 && isContinuation(text[end - 1])) --end;
    if (end == 0 || static_cast<unsigned char>(text[end - 1]) < 0xC0) return text;
    return text.substr(0, end - 1);
}
