// SPDX-License-Identifier: MIT
#include "base/numbers.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

// All of the text as digits of a base; from_chars alone would stop at a letter.
NumberResult parseDigits(std::string_view text, int base, std::uint64_t max, std::uint64_t *value) {
    std::uint64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    if (stop != end || error == std::errc::invalid_argument) return NUMBER_BROKEN;
    if (error != std::errc() || number > max) return NUMBER_OUT_OF_RANGE;
    *value = number;
    return NUMBER_OK;
}

bool isHex(std::string_view text) {
    return text.starts_with("0x") || text.starts_with("0X");
}

}  // namespace

NumberResult parseUnsigned(std::string_view text, std::uint64_t max, std::uint64_t *value) {
    return isHex(text) ? parseDigits(text.substr(2), 16, max, value)
                       : parseDigits(text, 10, max, value);
}

NumberResult parseSigned(std::string_view text, std::int64_t min, std::int64_t max,
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

NumberResult parseCNumber(std::string_view text, std::uint32_t *value) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t number = 0;
    const bool octal = text.size() > 1 && text.starts_with('0') && !isHex(text);
    const NumberResult result =
        octal ? parseDigits(text, 8, max, &number) : parseUnsigned(text, max, &number);
    if (result == NUMBER_OK) *value = static_cast<std::uint32_t>(number);
    return result;
}

std::int32_t toInt32(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        // One step past the range is enough to know the sign's limit; no further, so no overflow.
        if (value <= Limits::max()) value = value * 10 + (c - '0');
    }
    if (negative) value = -value;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}
