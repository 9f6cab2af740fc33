// SPDX-License-Identifier: MIT
// Prints values by hostile formats: whatever a template says, a value prints within its room. The
// input is a type, eight bytes of a number, a format, a NUL, and a text.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "base/utf8_text.h"
#include "output/c_format.h"
#include "output/report_records.h"
#include "output/text_output.h"

namespace {

constexpr std::size_t ROOM = VALUE_TEXT_SIZE - 1;

std::size_t charactersOf(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); ++count) text.remove_prefix(characterBytes(text));
    return count;
}

// Prints into memory of exactly the size that is needed, so that a byte too many is noticed.
std::string print(CFormatUnit unit, const std::string &format, const ItemValue &value) {
    std::string out((unit == CFORMAT_BYTES ? 1 : CFORMAT_MAX_BYTES) * ROOM + 1, '\xAA');
    const std::size_t length = printCFormat(out.data(), ROOM, unit, format, &value);
    if (out[length] != '\0') __builtin_trap();
    out.resize(length);
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t head = 1 + sizeof(std::uint64_t);
    if (size < head) return 0;
    std::uint64_t number = 0;
    std::memcpy(&number, data + 1, sizeof number);
    const std::string rest(reinterpret_cast<const char *>(data) + head, size - head);
    const std::string format = rest.substr(0, rest.find('\0')).substr(0, CFORMAT_SIZE - 1);
    std::string text = rest.substr(std::min(rest.size(), format.size() + 1));
    ItemValue value{data[0] % 8u, &number, 0, 0};
    if (value.type == VORN_TYPE_STRING) value.data = text.data();

    if (print(CFORMAT_BYTES, format, value).size() > ROOM) __builtin_trap();
    if (charactersOf(print(CFORMAT_CHARACTERS, format, value)) > ROOM) __builtin_trap();
    char line[CFORMAT_SIZE * CFORMAT_MAX_BYTES];
    printCFormatAs(line, CFORMAT_SIZE - 1, CFORMAT_CHARACTERS, format, "ls", &value);
    char piece[8];
    for (const char *cursor = format.c_str(); *cursor != '\0';)
        cursor = getNextCFormat(piece, sizeof piece, cursor);
    return 0;
}
