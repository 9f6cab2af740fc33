// SPDX-License-Identifier: MIT
// The global measurement control: the last one sent is a file that the simulator and a shell can
// read.
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "host/paths.h"
#include "host/whole_file.h"
#include "okra/okra.h"
#include "okra/okra_error.h"

namespace {

constexpr unsigned char CONTROL_DISABLE = 2;
constexpr unsigned char CONTROL_ENABLE = 3;
constexpr std::size_t CODE_OFFSET = 4;

int saveControl(bool enable, std::int32_t code) {
    char path[host::PATH_SIZE];
    if (host::rootedPath(path, "/run/tarix/okra") != 0 || host::checkFolder(path) != 0)
        return okraFail(OKRA_NOT_READY, "the application manager is not ready");
    if (host::rootedPath(path, "/run/tarix/okra/control") != 0) return OKRA_NOT_READY;
    host::WholeFile file;
    int error = file.begin(path);
    if (error == 0) {
        if (enable)
            std::fputs("enabled\n", file.stream());
        else
            std::fprintf(file.stream(), "disabled %d\n", code);
        error = file.commit();
    }
    return error == 0 ? OKRA_OK : okraFail(OKRA_FILE_ERROR, "%s: %s", path, std::strerror(error));
}

}  // namespace

int APX_Set_Global_Meas_Ctrl(const void *control) {
    const auto *bytes = static_cast<const unsigned char *>(control);
    if (bytes[0] != CONTROL_ENABLE && bytes[0] != CONTROL_DISABLE)
        return okraFail(OKRA_BAD_REQUEST, "unknown measurement control %d", bytes[0]);
    std::int32_t code = 0;
    std::memcpy(&code, bytes + CODE_OFFSET, sizeof code);
    return saveControl(bytes[0] == CONTROL_ENABLE, code);
}
