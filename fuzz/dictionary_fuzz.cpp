// SPDX-License-Identifier: MIT
// Opens hostile dictionary files and looks keys up in what came of them.
#include <cstdint>
#include <initializer_list>

#include "dmon/dmon.h"
#include "lexica/lexica.h"
#include "memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    dmon_set_level(0);
    const MemoryFile file(data, size);
    LexicaDict dict;
    if (lexica_open(&dict, file.path()) != 0) return 0;
    for (std::uint32_t group = 0; group < 3; ++group)
        for (const char *key : {"a", "key", ""})
            if (lexica_locate_entry(&dict, &group, 0, key) == 0 &&
                lexica_get_value(&dict) == nullptr)
                __builtin_trap();
    lexica_close(&dict);
    return 0;
}
