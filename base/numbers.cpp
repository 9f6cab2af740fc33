// SPDX-License-Identifier: MIT
#include "base/numbers.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>

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

// More digits than a double takes to be told from its neighbours, and the zeros in front of them.
constexpr std::size_t REAL_TEXT_MAX = 1100;

// The number at the start of a text of at most REAL_TEXT_MAX bytes, as the C library reads it in
// its own locale; *length is how much of the text it is. from_chars would do, but that of the C++
// library brings in the mathematics library, which would lie in the service's memory for it alone.
double readReal(std::string_view text, std::size_t *length, bool single) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    char copy[REAL_TEXT_MAX + 1];
    copy[text.copy(copy, REAL_TEXT_MAX)] = '\0';
    char *stop = copy;
    const double number =
        single ? static_cast<double>(strtof_l(copy, &stop, plain)) : strtod_l(copy, &stop, plain);
    *length = static_cast<std::size_t>(stop - copy);
    return number;
}

// A number of a few digits, as most are: both the digits as a whole number and the power of ten
// that their point stands for fit into the type, so that one division rounds right. False for
// others.
template <class Real>
bool readShort(std::string_view text, Real *value) {
    constexpr std::uint64_t most = std::uint64_t{1} << std::numeric_limits<Real>::digits;
    constexpr std::uint64_t mostDecimals = std::same_as<Real, float> ? 10'000'000'000 : most;
    if (text.ends_with('.')) return false;  // perhaps there is no digit at all
    const bool negative = text.starts_with('-');
    std::uint64_t digits = 0;
    std::uint64_t decimals = 0;  // the power of ten; 0 before the point
    for (const char c : text.substr(negative ? 1 : 0)) {
        if (c == '.' && decimals == 0) {
            decimals = 1;
            continue;
        }
        if (c < '0' || c > '9' || digits > most / 10 - 1 || decimals > mostDecimals / 10)
            return false;
        digits = digits * 10 + static_cast<std::uint64_t>(c - '0');
        decimals *= 10;
    }
    const Real size =
        static_cast<Real>(digits) / static_cast<Real>(std::max<std::uint64_t>(decimals, 1));
    *value = negative ? -size : size;
    return true;
}

template <class Real>
NumberResult parseRealOf(std::string_view text, Real *value) {
    // Blanks, a plus and the words are numbers to the C library.
    const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
    if (digits.empty() || std::string_view("0123456789.").find(digits[0]) == std::string_view::npos)
        return NUMBER_BROKEN;
    if (readShort(text, value)) return NUMBER_OK;
    if (text.size() > REAL_TEXT_MAX) return NUMBER_OUT_OF_RANGE;
    std::size_t length = 0;
    errno = 0;
    const double number = readReal(text, &length, std::same_as<Real, float>);
    if (length != text.size()) return NUMBER_BROKEN;
    // Small numbers that lose digits are told as well, but are numbers.
    if (errno == ERANGE && (number == 0 || std::isinf(number))) return NUMBER_OUT_OF_RANGE;
    *value = static_cast<Real>(number);
    return NUMBER_OK;
}

// ---- the number at the start of a text ----

// Takes blanks and a sign off; true for a minus.
bool takeSign(std::string_view *text) {
    text->remove_prefix(std::min(text->find_first_not_of(" \t\n\v\f\r"), text->size()));
    const bool negative = text->starts_with('-');
    if (negative || text->starts_with('+')) text->remove_prefix(1);
    return negative;
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Takes "0x" off when a hexadecimal number follows.
bool takeHexPrefix(std::string_view *text) {
    if (text->size() < 3 || !isHex(*text)) return false;
    if (!isHexDigit((*text)[2])) return false;
    text->remove_prefix(2);
    return true;
}

}  // namespace

NumberResult parseDecimal(std::string_view text, std::uint64_t max, std::uint64_t *value) {
    return parseDigits(text, 10, max, value);
}

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

NumberResult parseReal(std::string_view text, float *value) {
    return parseRealOf(text, value);
}

NumberResult parseReal(std::string_view text, double *value) {
    return parseRealOf(text, value);
}

std::int32_t toInt32(std::string_view text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const bool negative = takeSign(&text);
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        // One step past the range is enough to know the sign's limit; no further, so no overflow.
        if (value <= Limits::max()) value = value * 10 + (c - '0');
    }
    if (negative) value = -value;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

std::uint32_t toUint32(std::string_view text) {
    const bool negative = takeSign(&text);
    const int base = takeHexPrefix(&text) ? 16 : text.starts_with('0') ? 8 : 10;
    std::uint32_t number = 0;
    const char *end = text.data() + text.size();
    if (std::from_chars(text.data(), end, number, base).ec == std::errc::result_out_of_range)
        return std::numeric_limits<std::uint32_t>::max();
    return negative ? 0U - number : number;
}

double toDouble(std::string_view text) {
    std::size_t length = 0;
    return readReal(text, &length, false);
}
