// SPDX-License-Identifier: MIT
// What of a row's cstyle prints a value.
#pragma once

#include <string_view>

struct TypeFormat {
    std::string_view type, conversion;
};
constexpr TypeFormat typeFormats[] = {{"string", "%s"},   {"UINT32", "%u"}, {"INT32", "%d"},
                                      {"UINT64", "%llu"}, {"FLOAT", "%f"},  {"DOUBLE", "%f"}};

// The conversion for a type of the item list; empty for one that is none.
constexpr std::string_view formatOfType(std::string_view type) {
    for (const TypeFormat &format : typeFormats)
        if (format.type == type) return format.conversion;
    return "";
}
