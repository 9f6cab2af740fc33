// SPDX-License-Identifier: MIT
// Numbers of a command line, read as the service reads those of its files: zeros in front change
// nothing, and 0x makes a hexadecimal one. A plus may stand in front.
#pragma once

#include <limits>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "base/numbers.h"

// The number that is all of a word. Throws the usage error that the command line's reader turns
// into its message when it is none of the range.
//   name  the word's or option's, for the message
template <class Number>
Number numberOf(const std::string &name, const std::string &word,
                Number min = std::numeric_limits<Number>::min(),
                Number max = std::numeric_limits<Number>::max()) {
    const bool hasPlus = word.size() > 1 && word[0] == '+' && word[1] != '-';
    Number number{};
    if (parseNumber(std::string_view(word).substr(hasPlus ? 1 : 0), &number) != NUMBER_OK ||
        number < min || number > max)
        throw CLI::ValidationError(name, "Value " + word + " not in range " + std::to_string(min) +
                                             " to " + std::to_string(max));
    return number;
}

// Adds an option that gives `value` such a number.
template <class Number>
CLI::Option *addNumber(CLI::App *app, const std::string &name, Number *value,
                       const std::string &help, Number min = std::numeric_limits<Number>::min(),
                       Number max = std::numeric_limits<Number>::max()) {
    const auto take = [=](const std::string &word) {
        *value = numberOf<Number>(name, word, min, max);
    };
    return app->add_option_function<std::string>(name, take, help)->type_name("INT");
}
