// SPDX-License-Identifier: MIT
#include "host/words.h"

#include <charconv>
#include <limits>

namespace {

using host::NumberResult;

// All of the text as digits of a base; from_chars alone would stop at a letter.
NumberResult parseDigits(std::string_view text, int base, std::uint64_t max, std::uint64_t *value) {
    std::uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (stop != end || error == std::errc::invalid_argument) return host::NUMBER_BROKEN;
    if (error != std::errc() || number > max) return host::NUMBER_OUT_OF_RANGE;
    *value = number;
    return host::NUMBER_OK;
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

host::NumberResult host::parseUnsigned(std::string_view text, std::uint64_t max,
                                       std::uint64_t *value) {
    return isHex(text) ? parseDigits(text.substr(2), 16, max, value)
                       : parseDigits(text, 10, max, value);
}

host::NumberResult host::parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
                                     std::int64_t *value) {
    const bool negative = text.starts_with('-');
    // The magnitude of min, also of the least of all, which has no positive twin.
    const std::uint64_t limit = negative ? std::uint64_t{0} - static_cast<std::uint64_t>(min)
                                         : static_cast<std::uint64_t>(max);
    std::uint64_t magnitude = 0;
    const NumberResult result = parseUnsigned(negative ? text.substr(1) : text, limit, &magnitude);
    if (result == NUMBER_OK)
        *value = static_cast<std::int64_t>(negative ? std::uint64_t{0} - magnitude : magnitude);
    return result;
}

host::NumberResult host::parseCNumber(std::string_view text, std::uint32_t *value) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t number = 0;
    const bool octal = text.size() > 1 && text.starts_with('0') && !isHex(text);
    const NumberResult result =
        octal ? parseDigits(text, 8, max, &number) : parseUnsigned(text, max, &number);
    if (result == NUMBER_OK) *value = static_cast<std::uint32_t>(number);
    return result;
}
