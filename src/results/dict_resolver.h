// SPDX-License-Identifier: MIT
// Translates label keys through the dictionaries that a template stacked, in the report's language
// and then in the default language. One resolver a merge, used by its thread alone.
#pragma once

#include <cstdint>

#include "lexica/lexica.h"
#include "vorn/plugin.h"

constexpr std::int32_t DICT_MAX_DICTS = 4;
constexpr std::int32_t DICT_MAX_DEPTH = 32;

enum DictResult : int {
    DICT_OK = 0,
    DICT_FULL = -23,      // a fifth dictionary or a thirty-third stack entry
    DICT_NOT_OPEN = -24,  // a dictionary file cannot be opened
};

struct DictEntry {
    LexicaDict langDict;
    LexicaDict dfltDict;  // used only when the resolver's dfltLang is not empty
    char dictName[16];
};

struct DictStackEntry {
    std::int32_t dictIndex;
    std::uint32_t group;
    std::uint32_t subgroup;
};

struct DictResolver {
    char name[16];     // dictionary used when an entry names none
    char lang[4];      // report language
    char dfltLang[4];  // default language; empty when none or equal to lang
    std::int32_t numDicts;
    DictEntry dicts[DICT_MAX_DICTS];
    std::int32_t depth;
    DictStackEntry stack[DICT_MAX_DEPTH];
};

// Makes an empty resolver in the caller's memory. `lang` null means the configured report language,
// `dfltLang` null no default language. DICT_OK.
int dictResolvCreate(DictResolver *resolver, const char *name, const char *lang,
                     const char *dfltLang);

// Opens the dictionary when it is not open yet and stacks (group, subgroup) of it, unless the stack
// holds that already. A null or empty name means the resolver's. DICT_OK, DICT_FULL or
// DICT_NOT_OPEN. Called by dictResolvPush.
int dictResolvAddDict(DictResolver *resolver, const char *dictName, std::uint32_t group,
                      std::uint32_t subgroup);

// dictResolvAddDict; returns the depth before it, for dictResolvPop, or its negative code.
int dictResolvPush(DictResolver *resolver, const char *dictName, std::uint32_t group,
                   std::uint32_t subgroup);

// Drops the entries above `level` (0 or more). Dictionary files stay open.
void dictResolvPop(DictResolver *resolver, std::int32_t level);

// The translation, which belongs to the dictionary, or the key itself, after a warning at level 2,
// when there is none. `resolver` may be null.
const char *dictResolvGet(DictResolver *resolver, const char *key);

// A copy of that which the caller releases with free.
char *dictResolvGetCopy(DictResolver *resolver, const char *key);

// Closes all dictionary files and empties the stack.
void dictResolvFree(DictResolver *resolver);
