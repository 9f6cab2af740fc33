// SPDX-License-Identifier: MIT
#include "base/utf8_text.h"

#include <array>
#include <cstring>
#include <iterator>

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
    {0x00, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// The row of `leads` by its byte, or the first number behind them.
constexpr auto leadRows = [] {
    std::array<std::uint8_t, 256> rows{};
    for (std::size_t byte = 0; byte < rows.size(); ++byte)
        while (rows[byte] < std::size(leads) &&
               (byte < leads[rows[byte]].first || byte > leads[rows[byte]].last))
            ++rows[byte];
    return rows;
}();

// Whether eight characters are neither a NUL nor above 0x7F, as nearly all of a file's are.
bool arePlain(const char *characters) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, characters, sizeof eight);
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

std::size_t readCharacter(std::string_view text, std::uint32_t *codePoint) {
    constexpr std::uint32_t leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};  // by length
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t row = leadRows[byte(0)];
    if (row == std::size(leads)) return 0;
    const Utf8Lead &lead = leads[row];
    if (lead.length > text.size()) return 0;
    if (lead.length > 1 && (byte(1) < lead.low || byte(1) > lead.high)) return 0;
    std::uint32_t code = byte(0) & leadBits[lead.length];
    for (std::size_t i = 1; i < lead.length; ++i) {
        if (!isContinuation(text[i])) return 0;
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    *codePoint = code;
    return lead.length;
}

bool isUtf8Text(std::string_view bytes) {
    for (;;) {
        bytes.remove_prefix(plainLength(bytes));
        if (bytes.empty()) return true;
        std::uint32_t unused = 0;
        const std::size_t length = readCharacter(bytes, &unused);
        if (length == 0 || bytes.front() == '\0') return false;
        bytes.remove_prefix(length);
    }
}

std::size_t characterBytes(std::string_view text) {
    const std::size_t announced = announcedLength(text[0]);
    std::size_t length = 1;
    while (length < announced && length < text.size() && isContinuation(text[length])) ++length;
    return length;
}

std::size_t controlLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x20 || byte(0) == 0x7F) return 1;
    return byte(0) == 0xC2 && text.size() > 1 && byte(1) >= 0x80 && byte(1) <= 0x9F ? 2 : 0;
}

std::string_view cutAtCharacter(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text;
    // The cut is inside a character when one of the last three bytes begins it.
    for (std::size_t back = 1; back <= 3 && back <= limit; ++back) {
        const std::size_t start = limit - back;
        if (isContinuation(text[start])) continue;
        const bool split = characterBytes(text.substr(start)) > back;
        return text.substr(0, split ? start : limit);
    }
    return text.substr(0, limit);
}

std::string_view withoutHalfCharacter(std::string_view text) {
    // Only the last three bytes can begin a character that is not finished.
    for (std::size_t back = 1; back <= 3 && back <= text.size(); ++back) {
        const std::size_t start = text.size() - back;
        if (isContinuation(text[start])) continue;
        return announcedLength(text[start]) > back ? text.substr(0, start) : text;
    }
    return text;
}
