// SPDX-License-Identifier: MIT
// A dictionary in memory: entries in the order of their file, found through a hash table. Memory
// that runs out is told, never thrown.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace lexica {

struct Entry {
    std::uint32_t group;
    std::uint32_t subgroup;
    std::uint32_t hash;
    std::uint32_t key;  // both are offsets into `texts`, of strings with a NUL
    std::uint32_t text;
};

// All zero is an empty dictionary.
struct Dictionary {
    Entry *entries;
    char *texts;
    std::uint32_t *slots;  // open addressing: index of an entry plus 1, 0 for a free slot
    std::uint32_t seed;
    std::uint32_t entryCount;
    std::uint32_t entryRoom;
    std::uint32_t textSize;
    std::uint32_t textRoom;
    std::uint32_t slotCount;  // a power of two, at least twice the number of entries
    std::uint32_t located;    // index of an entry plus 1, 0 for none
};
static_assert(std::is_trivially_copyable_v<Dictionary>);

// Adds an entry, unless there is one of that group, subgroup and key: the first counts. Key and
// text hold no NUL. False when memory or the offsets' 32 bits do not suffice.
bool addEntry(Dictionary *dictionary, std::uint32_t group, std::uint32_t subgroup,
              std::string_view key, std::string_view text);

// The entry, or null.
const Entry *findEntry(const Dictionary &dictionary, std::uint32_t group, std::uint32_t subgroup,
                       std::string_view key);

// Chooses the hash function of an empty dictionary at random, so that no file can be made whose
// keys all meet in one slot.
void seedDictionary(Dictionary *dictionary);

// Releases the memory and leaves an empty dictionary.
void clearDictionary(Dictionary *dictionary);

}  // namespace lexica
