// SPDX-License-Identifier: MIT
#include "utc_time.h"

std::string utcTime(std::time_t seconds) {
    std::tm parts{};
    char text[40] = "";
    if (gmtime_r(&seconds, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return text;
}
