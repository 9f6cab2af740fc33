// SPDX-License-Identifier: MIT
// How wide the texts of PDF reports are. No state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Whether every PDF reader has the font.
bool isPdfFont(std::string_view name);

// The number of characters of a text in WinAnsiEncoding that fit side by side, all of them for a
// font that is not known.
//   size, room  points
std::size_t countFitting(std::string_view font, std::int32_t size, std::int32_t room,
                         std::string_view text);
