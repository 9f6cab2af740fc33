// SPDX-License-Identifier: MIT
// Remembers the tags of the stretch of a template that is held in memory: a loop finds those of its
// body again without scanning it. What is remembered follows from the bytes of that stretch, so it
// counts as long as they stay where they are, and is forgotten when they move.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "report/template_tag.h"

// Clauses of a loop body of 512 bytes or less never share a slot; some of a longer one may, and are
// scanned for again in each pass.
constexpr std::size_t TAG_MEMO_SLOTS = 128;

// Where a scan for a tag begins: at a place of the stretch, with the first character of a line that
// has yet to be read or within the line that was read last.
struct ScanStart {
    std::size_t offset;
    bool newLine;
};

// What such a scan finds on its line.
struct FoundTag {
    TemplateTag tag;
    const char *lineEnd;
    std::size_t nextLine;  // offset of what is read after this line
};

struct TagMemo {
    std::uint32_t keys[TAG_MEMO_SLOTS];  // 0: the slot is free
    FoundTag slots[TAG_MEMO_SLOTS];
};

inline std::uint32_t tagKey(ScanStart start) {
    return static_cast<std::uint32_t>(start.offset * 2 + (start.newLine ? 2 : 1));
}
inline std::size_t tagSlot(ScanStart start) {
    return start.offset / 4 % TAG_MEMO_SLOTS;  // no clause is shorter than four bytes
}

// The tag of a scan, or null when it is not remembered.
inline FoundTag *recallTag(TagMemo *memo, ScanStart start) {
    const std::size_t slot = tagSlot(start);
    return memo->keys[slot] == tagKey(start) ? &memo->slots[slot] : nullptr;
}

// The slot for a scan, which takes the place of another one. The caller fills it.
inline FoundTag *rememberTag(TagMemo *memo, ScanStart start) {
    const std::size_t slot = tagSlot(start);
    memo->keys[slot] = tagKey(start);
    return &memo->slots[slot];
}

inline void forgetTags(TagMemo *memo) {
    std::memset(memo->keys, 0, sizeof memo->keys);
}
