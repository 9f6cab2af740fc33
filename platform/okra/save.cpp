// SPDX-License-Identifier: MIT
// Joins the states of applications into one results file.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/root_path.h"
#include "base/whole_file.h"
#include "okra/manager_files.h"
#include "okra/okra.h"
#include "okra/okra_error.h"
#include "okra/records.h"

namespace {

// In a save request.
constexpr std::size_t SAVE_PATH = 4;
constexpr std::size_t SAVE_PATH_SIZE = 64;
constexpr std::size_t SAVE_COUNT = 68;
constexpr std::size_t SAVE_NAMES = 72;
constexpr std::size_t SAVE_NAME_SIZE = 9;
constexpr std::int32_t SAVE_NAMES_MAX = (4000 - SAVE_NAMES) / SAVE_NAME_SIZE;
constexpr std::int32_t SAVE_TYPE = 1;

// A request with its texts ended.
struct ReadSave {
    char path[SAVE_PATH_SIZE];
    std::int32_t count;
    const char *names;  // `count` of them, not ended for sure

    // Copies a name; false when it is named before it too: its state is wanted once.
    bool name(std::int32_t place, char (&out)[SAVE_NAME_SIZE + 1]) const {
        const char *at = names + static_cast<std::size_t>(place) * SAVE_NAME_SIZE;
        std::snprintf(out, sizeof out, "%.*s", static_cast<int>(SAVE_NAME_SIZE), at);
        for (const char *earlier = names; earlier < at; earlier += SAVE_NAME_SIZE)
            if (std::strncmp(earlier, at, SAVE_NAME_SIZE) == 0) return false;
        return true;
    }
};

int readRequest(const void *record, ReadSave *request) {
    const char *bytes = static_cast<const char *>(record);
    std::memcpy(request->path, bytes + SAVE_PATH, SAVE_PATH_SIZE);
    request->count = getField<std::int32_t>(record, SAVE_COUNT);
    request->names = bytes + SAVE_NAMES;
    if (getField<std::int32_t>(record, 0) != SAVE_TYPE)
        return okraFail(OKRA_BAD_REQUEST, "unknown kind of save request");
    if (request->path[0] == '\0' || std::memchr(request->path, '\0', SAVE_PATH_SIZE) == nullptr)
        return okraFail(OKRA_BAD_REQUEST, "no path to save to");
    if (request->count < 0 || request->count > SAVE_NAMES_MAX)
        return okraFail(OKRA_BAD_REQUEST, "bad number of applications to save");
    return OKRA_OK;
}

// Writes the state of each application that runs; OKRA_NONE_RUNNING when none does.
int writeApps(const ReadSave &request, std::FILE *out) {
    std::fputs(OKRA_FORMAT_LINE, out);
    int saved = OKRA_NONE_RUNNING;
    for (std::int32_t place = 0; place < request.count; ++place) {
        char name[SAVE_NAME_SIZE + 1];
        char path[ROOTED_PATH_SIZE];
        OkraApp app{};
        if (!request.name(place, name)) continue;
        int result = okraFindApp(name, path);
        if (result == OKRA_NOT_RUNNING) continue;
        if (result == OKRA_OK) result = okraReadApp(path, &app);
        if (result == OKRA_OK) result = okraCopyApp(path, name, app, out);
        if (result != OKRA_OK) return result;
        saved = OKRA_OK;
    }
    return saved;
}

void removeLeftPartsBeside(const char *path) {
    char folder[SAVE_PATH_SIZE];
    std::snprintf(folder, sizeof folder, "%s", path);
    char *slash = std::strrchr(folder, '/');
    if (slash == nullptr) return removeLeftParts(".");
    slash[slash == folder ? 1 : 0] = '\0';
    removeLeftParts(folder);
}

}  // namespace

int APX_Save_Mult_Config(const void *record) {
    if (okraCheckReady() != OKRA_OK) return OKRA_NOT_READY;
    ReadSave request{};
    int result = readRequest(record, &request);
    if (result != OKRA_OK) return result;
    removeLeftPartsBeside(request.path);
    // While this process holds the states together, nobody changes one of them.
    DescriptorGuard lock;
    result = okraLock(&lock);
    if (result != OKRA_OK) return result;
    WholeFile file;
    int error = file.begin(request.path, PART_WAIT);
    if (error == 0) {
        result = writeApps(request, file.stream());
        if (result != OKRA_OK) return result;
        lock.reset();  // the disk may take its time
        error = file.commit(TARGET_REPLACED);
    }
    return error == 0 ? static_cast<int>(OKRA_OK)
                      : okraFail(OKRA_FILE_ERROR, "%s", std::strerror(error));
}
