// SPDX-License-Identifier: MIT
// The one hash of texts. With a seed that nobody knows, no file can be made whose names all meet in
// one place of a table.
#pragma once

#include <cstdint>
#include <string_view>

// A number that nobody outside knows.
std::uint32_t makeHashSeed();

// Any bits of the result are as good as others. The same on every machine of one byte order.
std::uint32_t hashText(std::uint32_t seed, std::string_view text);
