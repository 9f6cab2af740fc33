// SPDX-License-Identifier: MIT
// A value as a row of a case file names it: "uint64 5", "double 0.5" or "string text".
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

#include "vorn/plugin.h"

class CaseValue {
public:
    // A type alone has no data; a word that is no type's is a type that nobody knows.
    explicit CaseValue(const std::string &words) {
        constexpr std::string_view types[] = {"none",   "string", "uint32", "int32",
                                              "uint64", "float",  "double"};
        const std::size_t end = std::min(words.find(' '), words.size());
        const auto *type = std::find(std::begin(types), std::end(types), words.substr(0, end));
        value_.type = static_cast<std::uint32_t>(type - std::begin(types));
        if (end == words.size()) return;
        text_ = words.substr(end + 1);
        const char *digits = text_.c_str();
        value_.data = &number_;
        if (value_.type == VORN_TYPE_STRING) {
            value_.data = text_.data();
        } else if (value_.type == VORN_TYPE_FLOAT) {
            number_.f32 = std::strtof(digits, nullptr);
        } else if (value_.type == VORN_TYPE_DOUBLE) {
            number_.f64 = std::strtod(digits, nullptr);
        } else if (value_.type == VORN_TYPE_UINT64) {
            number_.u64 = std::strtoull(digits, nullptr, 0);
        } else {
            number_.u32 = static_cast<std::uint32_t>(std::strtoll(digits, nullptr, 0));
        }
    }
    CaseValue(const CaseValue &) = delete;
    CaseValue &operator=(const CaseValue &) = delete;

    // The data stays this object's.
    [[nodiscard]] const ItemValue &get() const { return value_; }

private:
    ItemValue value_{};
    std::string text_;
    union {
        std::uint32_t u32;
        std::uint64_t u64;
        float f32;
        double f64;
    } number_{};
};
