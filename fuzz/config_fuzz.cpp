// SPDX-License-Identifier: MIT
// Reads hostile configuration and subscription files.
#include <cstdint>

#include "core/config_file.h"
#include "core/options.h"
#include "core/subscription_files.h"
#include "dmon/dmon.h"
#include "memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    dmon_set_level(0);
    setDefaults();
    const MemoryFile file(data, size);
    loadConfigFile(file.path());
    loadSubscriptionFile(file.path());
    return 0;
}
