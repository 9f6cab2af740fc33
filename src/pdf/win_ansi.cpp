// SPDX-License-Identifier: MIT
// UTF-8 to code page 1252. Unlike pdf/utf8.h this reads characters strictly: a byte is lost or a
// character, never another character.
#include "pdf/win_ansi.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/utf8_text.h"

namespace {

// Characters of the bytes 0x80 to 0x9F; 0: none. From 0xA0 on byte and code point are the same.
constexpr std::uint32_t punctuation[] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
static_assert(std::size(punctuation) == 32);

// Whether eight bytes are printable ASCII: such a byte has its top bit in none of the three.
bool arePrintable(const char *bytes) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, bytes, sizeof eight);
    constexpr std::uint64_t ones = 0x0101010101010101u;
    return ((eight | (eight + ones) | (eight - ones * ' ')) & ones * 0x80) == 0;
}

constexpr bool isPrintable(char byte) {
    return byte >= ' ' && byte < 0x7F;
}

void noteLoss(WinAnsiLoss *loss, std::uint32_t what, bool isByte) {
    if (loss->count++ > 0) return;
    loss->first = what;
    loss->firstIsByte = isByte;
}

}  // namespace

bool isSameInWinAnsi(std::string_view text) {
    if (text.size() < 8) return std::all_of(text.begin(), text.end(), isPrintable);
    // What is left behind the last eight whole is looked at once more, as the end of eight.
    for (std::size_t at = 0; at + 8 < text.size(); at += 8)
        if (!arePrintable(text.data() + at)) return false;
    return arePrintable(text.data() + text.size() - 8);
}

char toWinAnsi(std::uint32_t character) {
    if (character < 0x20 || character == 0x7F) return ' ';
    if (character < 0x7F || (character >= 0xA0 && character <= 0xFF))
        return static_cast<char>(character);
    const std::uint32_t *found =
        std::find(std::begin(punctuation), std::end(punctuation), character);
    return found == std::end(punctuation) ? '\0' : static_cast<char>(0x80 + (found - punctuation));
}

std::size_t utf8ToWinAnsi(char *out, std::size_t size, std::string_view text, char lost,
                          WinAnsiLoss *loss) {
    std::size_t used = 0;
    while (used + 1 < size && !text.empty()) {
        if (used + 8 < size && text.size() >= 8 && arePrintable(text.data())) {
            text.copy(out + used, 8);
            used += 8;
            text.remove_prefix(8);
            continue;
        }
        if (isPrintable(text[0])) {
            out[used++] = text[0];
            text.remove_prefix(1);
            continue;
        }
        std::uint32_t character = 0;
        const std::size_t length = readCharacter(text, &character);
        const char byte = length == 0 ? '\0' : toWinAnsi(character);
        if (length == 0) {
            noteLoss(loss, static_cast<unsigned char>(text[0]), true);
        } else if (byte == '\0') {
            noteLoss(loss, character, false);
        }
        out[used++] = byte == '\0' ? lost : byte;
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    out[used] = '\0';
    return used;
}
