// SPDX-License-Identifier: MIT
// The global measurement control: the last one sent is a file that the simulator and a shell can
// read.
#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "base/root_path.h"
#include "okra/manager_files.h"
#include "okra/okra.h"
#include "okra/okra_error.h"
#include "okra/records.h"

namespace {

constexpr unsigned char CONTROL_DISABLE = 2;
constexpr unsigned char CONTROL_ENABLE = 3;
constexpr std::size_t CONTROL_CODE = 4;

}  // namespace

int APX_Set_Global_Meas_Ctrl(const void *control) {
    const unsigned kind = getField<unsigned char>(control, 0);
    char text[32] = "enabled\n";
    if (kind == CONTROL_DISABLE)
        std::snprintf(text, sizeof text, "disabled %" PRId32 "\n",
                      getField<std::int32_t>(control, CONTROL_CODE));
    else if (kind != CONTROL_ENABLE)
        return okraFail(OKRA_BAD_REQUEST, "unknown measurement control %u", kind);

    if (okraCheckReady() != OKRA_OK) return OKRA_NOT_READY;
    char path[ROOTED_PATH_SIZE];
    const int result = okraPath(path, "control");
    return result == OKRA_OK ? okraWriteText(path, text) : result;
}
