// SPDX-License-Identifier: MIT
// The pieces of a line, and of a path.
#pragma once

#include <cstddef>
#include <string_view>

constexpr std::string_view BLANKS = " \t";

constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// The text without the characters of `blanks` at both ends.
std::string_view trim(std::string_view text, std::string_view blanks = BLANKS);

// Takes the next word off the front of `rest`; an empty one when none is left. Runs of separators
// count as one.
std::string_view takeWord(std::string_view *rest, std::string_view separators);

// The last name of a path; and what stands before it, up to and with its last '/'.
constexpr std::string_view fileNameOf(std::string_view path) {
    return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}
constexpr std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.rfind('/') + 1);
}

// Copies a piece of a text into a fixed array, cut to fit; what stands behind the NUL stays.
template <std::size_t N>
void copyPiece(char (&to)[N], std::string_view piece) {
    const std::size_t length = piece.size() < N ? piece.size() : N - 1;
    piece.copy(to, length);
    to[length] = '\0';
}
