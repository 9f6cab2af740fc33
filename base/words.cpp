// SPDX-License-Identifier: MIT
#include "base/words.h"

#include <algorithm>

std::string_view trim(std::string_view text, std::string_view blanks) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view takeWord(std::string_view *rest, std::string_view separators) {
    rest->remove_prefix(std::min(rest->find_first_not_of(separators), rest->size()));
    const std::size_t length = std::min(rest->find_first_of(separators), rest->size());
    const std::string_view word = rest->substr(0, length);
    rest->remove_prefix(length);
    return word;
}
