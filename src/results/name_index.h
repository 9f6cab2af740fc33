// SPDX-License-Identifier: MIT
// Finds the place of a name in a table in a time that does not grow with the table. The index holds
// hashes and places only; the names stay where they are.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/hash.h"

struct NameSlot {
    std::uint32_t hash;
    std::uint32_t place;  // from 1; 0 is a free slot
};

struct NameIndex {
    NameSlot *slots;     // from malloc
    std::uint32_t mask;  // number of slots, a power of two, less 1
    std::uint32_t seed;
};

// Makes an index over the names 0 to count - 1, which `nameAt` gives as string_views; of equal
// names the first counts. False without memory.
template <class NameAt>
bool buildNameIndex(NameIndex *index, std::uint32_t count, std::uint32_t seed, NameAt nameAt) {
    std::uint32_t size = 4;
    while (size / 2 < count) size *= 2;  // at most half full
    auto *slots = static_cast<NameSlot *>(std::calloc(size, sizeof(NameSlot)));
    if (slots == nullptr) return false;
    *index = {slots, size - 1, seed};
    for (std::uint32_t place = 0; place < count; ++place) {
        const std::string_view name = nameAt(place);
        const std::uint32_t hash = hashText(seed, name);
        std::uint32_t at = hash & index->mask;
        while (slots[at].place != 0 &&
               (slots[at].hash != hash || nameAt(slots[at].place - 1) != name))
            at = (at + 1) & index->mask;
        if (slots[at].place == 0) slots[at] = {hash, place + 1};
    }
    return true;
}

// The place of a name in the table that the index was built over, or -1.
template <class NameAt>
std::int64_t findName(const NameIndex &index, std::string_view name, NameAt nameAt) {
    const std::uint32_t hash = hashText(index.seed, name);
    for (std::uint32_t at = hash & index.mask; index.slots[at].place != 0;
         at = (at + 1) & index.mask)
        if (index.slots[at].hash == hash && nameAt(index.slots[at].place - 1) == name)
            return index.slots[at].place - 1;
    return -1;
}
