// SPDX-License-Identifier: MIT
#include "base/hash.h"

#include <cstring>

#include <sys/random.h>
#include <time.h>

namespace {

// Multiplies two words and folds the product: every bit of both reaches every bit of the result,
// and 32 bits are one instruction on the instrument too.
void fold(std::uint32_t *a, std::uint32_t *b) {
    const std::uint64_t product = std::uint64_t{*a ^ 0x9E3779B1u} * (*b ^ 0x85EBCA77u);
    *a = static_cast<std::uint32_t>(product);
    *b = static_cast<std::uint32_t>(product >> 32);
}

std::uint32_t loadWord(const char *at) {
    std::uint32_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

}  // namespace

std::uint32_t makeHashSeed() {
    std::uint32_t seed = 0;
    if (getrandom(&seed, sizeof seed, GRND_NONBLOCK) != ssize_t{sizeof seed}) {
        // Early after a boot there may be no random numbers yet; the clock is better than nothing.
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        seed = static_cast<std::uint32_t>(now.tv_nsec);
    }
    return seed;
}

std::uint32_t hashText(std::uint32_t seed, std::string_view text) {
    std::uint32_t a = seed;
    std::uint32_t b = static_cast<std::uint32_t>(text.size());
    fold(&a, &b);
    const char *at = text.data();
    std::size_t left = text.size();
    for (; left > 8; at += 8, left -= 8) {
        a ^= loadWord(at);
        b ^= loadWord(at + 4);
        fold(&a, &b);
    }
    if (left >= 4) {
        a ^= loadWord(at);
        b ^= loadWord(at + left - 4);
    } else {
        for (std::size_t i = 0; i < left; ++i)
            a ^= static_cast<std::uint32_t>(static_cast<unsigned char>(at[i])) << (8 * i);
    }
    fold(&a, &b);
    fold(&a, &b);
    return a ^ b;
}
