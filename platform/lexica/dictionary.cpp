// SPDX-License-Identifier: MIT
#include "lexica/dictionary.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/hash.h"

namespace {

using lexica::Dictionary;
using lexica::Entry;

constexpr std::uint32_t FIRST_ROOM = 64;
constexpr std::uint32_t MAX_COUNT = std::numeric_limits<std::uint32_t>::max();

std::uint32_t hashOf(std::uint32_t seed, std::uint32_t group, std::uint32_t subgroup,
                     std::string_view key) {
    return hashText(seed ^ (group * 0x9E3779B1u + subgroup) * 0x85EBCA77u, key);
}

// Makes room for `wanted` elements by doubling, which keeps the loading of a file linear.
template <class T>
bool reserve(T **block, std::uint32_t *room, std::uint64_t wanted) {
    if (wanted <= *room) return true;
    if (wanted > MAX_COUNT) return false;
    std::uint64_t size = *room == 0 ? FIRST_ROOM : *room;
    while (size < wanted) size *= 2;
    if (size > MAX_COUNT) size = MAX_COUNT;
    void *moved = reallocarray(*block, static_cast<std::size_t>(size), sizeof(T));
    if (moved == nullptr) return false;
    *block = static_cast<T *>(moved);
    *room = static_cast<std::uint32_t>(size);
    return true;
}

// The slot of an entry, or the free one where it belongs.
std::uint32_t *slotOf(const Dictionary &dictionary, const Entry &wanted, std::string_view key) {
    const std::uint32_t mask = dictionary.slotCount - 1;
    for (std::uint32_t i = wanted.hash & mask;; i = (i + 1) & mask) {
        std::uint32_t *slot = &dictionary.slots[i];
        if (*slot == 0) return slot;
        const Entry &entry = dictionary.entries[*slot - 1];
        if (entry.hash == wanted.hash && entry.group == wanted.group &&
            entry.subgroup == wanted.subgroup && key == dictionary.texts + entry.key)
            return slot;
    }
}

bool reserveSlots(Dictionary *dictionary) {
    const std::uint32_t entries = dictionary->entryCount;
    if (dictionary->slotCount / 2 > entries) return true;
    if (entries >= MAX_COUNT / 4) return false;
    const std::uint32_t count =
        dictionary->slotCount == 0 ? 2 * FIRST_ROOM : dictionary->slotCount * 2;
    auto *slots = static_cast<std::uint32_t *>(std::calloc(count, sizeof(std::uint32_t)));
    if (slots == nullptr) return false;
    for (std::uint32_t n = 0; n < entries; ++n) {
        std::uint32_t i = dictionary->entries[n].hash & (count - 1);
        while (slots[i] != 0) i = (i + 1) & (count - 1);
        slots[i] = n + 1;
    }
    std::free(dictionary->slots);
    dictionary->slots = slots;
    dictionary->slotCount = count;
    return true;
}

// Stores a string in the room that is there; returns its offset.
std::uint32_t putText(Dictionary *dictionary, std::string_view text) {
    const std::uint32_t offset = dictionary->textSize;
    text.copy(dictionary->texts + offset, text.size());
    dictionary->texts[offset + text.size()] = '\0';
    dictionary->textSize += static_cast<std::uint32_t>(text.size() + 1);
    return offset;
}

}  // namespace

bool lexica::addEntry(Dictionary *dictionary, std::uint32_t group, std::uint32_t subgroup,
                      std::string_view key, std::string_view text) {
    if (!reserveSlots(dictionary)) return false;
    Entry entry = {group, subgroup, hashOf(dictionary->seed, group, subgroup, key), 0, 0};
    std::uint32_t *slot = slotOf(*dictionary, entry, key);
    if (*slot != 0) return true;

    const std::uint64_t textSize =
        std::uint64_t{dictionary->textSize} + key.size() + text.size() + 2;
    const std::uint64_t entryCount = std::uint64_t{dictionary->entryCount} + 1;
    if (!reserve(&dictionary->texts, &dictionary->textRoom, textSize) ||
        !reserve(&dictionary->entries, &dictionary->entryRoom, entryCount))
        return false;
    entry.key = putText(dictionary, key);
    entry.text = putText(dictionary, text);
    dictionary->entries[dictionary->entryCount++] = entry;
    *slot = dictionary->entryCount;
    return true;
}

const lexica::Entry *lexica::findEntry(const Dictionary &dictionary, std::uint32_t group,
                                       std::uint32_t subgroup, std::string_view key) {
    if (dictionary.slotCount == 0) return nullptr;
    const Entry wanted = {group, subgroup, hashOf(dictionary.seed, group, subgroup, key), 0, 0};
    const std::uint32_t slot = *slotOf(dictionary, wanted, key);
    return slot == 0 ? nullptr : &dictionary.entries[slot - 1];
}

void lexica::seedDictionary(Dictionary *dictionary) {
    dictionary->seed = makeHashSeed();
}

void lexica::clearDictionary(Dictionary *dictionary) {
    std::free(dictionary->entries);
    std::free(dictionary->texts);
    std::free(dictionary->slots);
    *dictionary = Dictionary{};
}
