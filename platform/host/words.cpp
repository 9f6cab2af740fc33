// SPDX-License-Identifier: MIT
#include "host/words.h"

#include <charconv>
#include <limits>

namespace {

// All of the text as digits of a base; from_chars alone would take a '-' and stop at a letter.
bool parseDigits(std::string_view text, int base, std::uint64_t max, std::uint64_t *value) {
    std::uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (error != std::errc() || stop != end || number > max) return false;
    *value = number;
    return true;
}

bool isHex(std::string_view text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

}  // namespace

std::string_view host::trimBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

bool host::parseUnsigned(std::string_view text, std::uint64_t max, std::uint64_t *value) {
    return isHex(text) ? parseDigits(text.substr(2), 16, max, value)
                       : parseDigits(text, 10, max, value);
}

bool host::parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
                       std::int64_t *value) {
    const bool negative = text.starts_with('-');
    // The magnitude of min, also of the least of all, which has no positive twin.
    const std::uint64_t limit = negative ? std::uint64_t{0} - static_cast<std::uint64_t>(min)
                                         : static_cast<std::uint64_t>(max);
    std::uint64_t magnitude = 0;
    if (!parseUnsigned(negative ? text.substr(1) : text, limit, &magnitude)) return false;
    *value = static_cast<std::int64_t>(negative ? std::uint64_t{0} - magnitude : magnitude);
    return true;
}

bool host::parseCNumber(std::string_view text, std::uint32_t *value) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t number = 0;
    const bool octal = text.size() > 1 && text.starts_with('0') && !isHex(text);
    if (!(octal ? parseDigits(text, 8, max, &number) : parseUnsigned(text, max, &number)))
        return false;
    *value = static_cast<std::uint32_t>(number);
    return true;
}
