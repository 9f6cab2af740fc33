// SPDX-License-Identifier: MIT
// Dictionary files: texts by group, subgroup and key.
#pragma once

#include <cstdint>

// An open dictionary. The caller provides the memory; only lexica_open fills it.
struct LexicaDict {
    alignas(8) unsigned char opaque[448];
};

// Opens a file into `dict`: 0, or a negative number after a line in the log that names file, line
// and reason. After a failure nothing is open.
int lexica_open(LexicaDict *dict, const char *path);

// Finds a key; 0 when the group and subgroup hold it. The group word is handed back unchanged.
int lexica_locate_entry(LexicaDict *dict, std::uint32_t *group, std::uint32_t subgroup,
                        const char *key);

// The text of the entry last located; it belongs to the dictionary.
const char *lexica_get_value(LexicaDict *dict);

void lexica_close(LexicaDict *dict);

// ---- what the host's library has besides; null where the instrument's takes its place ----

// Is told what would go to the log, without a line end.
using LexicaTellFn = void (*)(const char *text);

// lexica_open that tells a function why it fails, in place of the log.
[[gnu::weak]] int lexica_open_telling(LexicaDict *dict, const char *path, LexicaTellFn tell);
