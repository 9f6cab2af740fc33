// SPDX-License-Identifier: MIT
// The words of a results file's line and the numbers in them.
#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <type_traits>

#include "base/numbers.h"

// A word, or the value of an attribute, as it stands in the line.
struct ResultsText {
    std::string_view raw;  // without the quotes
    bool quoted;
    bool escaped;  // holds \" or \\, which copyText resolves
};

// What was found at the front of a line's rest.
enum WordResult { WORD_NONE, WORD_FOUND, WORD_BROKEN };

// Takes a word, quoted or not, off the front of `rest`. WORD_BROKEN sets *reason.
WordResult takeText(std::string_view *rest, ResultsText *text, const char **reason);

// Takes NAME=VALUE or NAME alone; `hasValue` says which.
WordResult takeAttribute(std::string_view *rest, std::string_view *name, bool *hasValue,
                         ResultsText *value, const char **reason);

// Copies a text without its escapes; `out` holds raw.size() bytes. Returns the number of bytes.
std::size_t copyText(const ResultsText &text, char *out);

// Reads a number; a minus sign only where the type is signed.
template <class T>
NumberResult parseNumber(std::string_view text, T *out) {
    if constexpr (std::is_floating_point_v<T>) {
        const bool negative = text.starts_with('-');
        std::string_view digits = text.substr(negative ? 1 : 0);
        const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
        if (hex) digits.remove_prefix(2);
        // A sign behind the prefix, and the words for infinity and no number, are no numbers here.
        const bool begun = !digits.empty() && digits[0] != '-' && digits[0] != 'i' &&
                           digits[0] != 'I' && digits[0] != 'n' && digits[0] != 'N';
        if (!begun) return NUMBER_BROKEN;
        T value{};
        const char *end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(
            digits.data(), end, value, hex ? std::chars_format::hex : std::chars_format::general);
        if (stop != end || error == std::errc::invalid_argument) return NUMBER_BROKEN;
        if (error != std::errc()) return NUMBER_OUT_OF_RANGE;
        *out = negative ? -value : value;
        return NUMBER_OK;
    } else if constexpr (std::is_signed_v<T>) {
        using Limits = std::numeric_limits<T>;
        std::int64_t value = 0;
        const NumberResult result = parseSigned(text, Limits::min(), Limits::max(), &value);
        if (result == NUMBER_OK) *out = static_cast<T>(value);
        return result;
    } else {
        std::uint64_t value = 0;
        const NumberResult result = parseUnsigned(text, std::numeric_limits<T>::max(), &value);
        if (result == NUMBER_OK) *out = static_cast<T>(value);
        return result;
    }
}
