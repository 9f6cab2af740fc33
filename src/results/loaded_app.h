// SPDX-License-Identifier: MIT
// What stands behind a Results of loadResultsFile: the record that plug-ins see, and beside it what
// the look-up needs. A pointer to the one converts to the other.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "results/name_index.h"
#include "vorn/plugin.h"

struct LoadedApp {
    Results record;
    std::int32_t declared;   // registers that the library announced; only a limit
    std::int32_t capacity;   // registers that the table has room for
    NameIndex registers;     // over record.regs
    NameIndex applications;  // over the list; in its first record only
    LoadedApp **list;        // the applications by place; in the first record only
    LoadedApp *nextLoaded;   // the first record of another list that is loaded
};
static_assert(std::is_standard_layout_v<LoadedApp>);

inline const LoadedApp *loadedApp(const Results *results) {
    return reinterpret_cast<const LoadedApp *>(results);
}
inline LoadedApp *loadedApp(Results *results) {
    return reinterpret_cast<LoadedApp *>(results);
}

// Notes the first record of a complete list, so that a look-up can tell it from other records.
// freeResults forgets it.
void noteLoadedList(LoadedApp *first);

// For buildNameIndex and findName.
inline auto registerNames(const LoadedApp &app) {
    return [regs = app.record.regs](std::uint32_t place) -> std::string_view {
        return regs[place].name;
    };
}
inline auto applicationNames(const LoadedApp &first) {
    return [list = first.list](std::uint32_t place) -> std::string_view {
        return list[place]->record.name;
    };
}

// Stands right in front of an array register's data: vorn/plugin.h tells plug-ins of it.
struct ArrayHeader {
    std::uint64_t bytes;
};
static_assert(sizeof(ArrayHeader) == sizeof(std::uint64_t));
