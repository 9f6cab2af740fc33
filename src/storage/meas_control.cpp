// SPDX-License-Identifier: MIT
#include "storage/meas_control.h"

#include <cstddef>
#include <cstdint>

#include "core/options.h"
#include "dmon/dmon.h"
#include "okra/okra.h"

namespace {

constexpr int NOTHING_SENT = -1;
int lastFlag = NOTHING_SENT;

enum : std::uint8_t { CONTROL_DISABLE = 2, CONTROL_ENABLE = 3 };

// What the application manager reads.
struct MeasControl {
    std::uint8_t control;
    std::uint8_t unused[3];
    std::int32_t errorCode;  // reported for measurements that it refuses
};
static_assert(sizeof(MeasControl) == 8 && offsetof(MeasControl, errorCode) == 4);

}  // namespace

void initMeasControl() {
    lastFlag = NOTHING_SENT;
}

int enableNewMeas(int flag) {
    if (flag == lastFlag) return MEAS_OK;
    MeasControl control{};
    control.control = flag == 1 ? CONTROL_ENABLE : CONTROL_DISABLE;
    control.errorCode = opt_fullerr;
    const int result = APX_Set_Global_Meas_Ctrl(&control);
    lastFlag = flag;
    dmon_log(2, "Measurement enable control: %s\n", flag == 1 ? "enabled" : "disabled");
    return result == 0 ? MEAS_OK : MEAS_REFUSED;
}
