// SPDX-License-Identifier: MIT
#include "okra/manager_files.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/msg.h>
#include <sys/stat.h>

#include "base/fixed_places.h"
#include "base/folders.h"
#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/open_file.h"
#include "base/root_path.h"
#include "base/whole_file.h"
#include "okra/okra.h"
#include "okra/okra_error.h"
#include "okra/results_file.h"

namespace {

constexpr bool isNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

// Fails with a file's name in front of the system's reason, or of an earlier failure's text.
int failFile(OkraError code, const char *path, const char *reason) {
    const char *slash = std::strrchr(path, '/');
    char text[160];
    std::snprintf(text, sizeof text, "%s", reason);  // it may be what okraFail writes over
    return okraFail(code, "%s: %s", slash != nullptr ? slash + 1 : path, text);
}

// Opens a state and reads up to its application.
int openApp(const char *path, ResultsReader *reader) {
    int result = resultsOpen(reader, path);
    ResultsLine line = NO_LINE;
    if (result == OKRA_OK) result = resultsNext(reader, &line);
    if (result != OKRA_OK) return failFile(static_cast<OkraError>(result), path, APX_Error(result));
    return line == APP_LINE ? static_cast<int>(OKRA_OK)
                            : failFile(OKRA_BAD_FILE, path, "no application");
}

// Reads the rest of a state and copies its registers, unless `out` is null.
int copyRegisters(const char *path, ResultsReader *reader, std::FILE *out) {
    for (;;) {
        ResultsLine line = NO_LINE;
        const int result = resultsNext(reader, &line);
        if (result != OKRA_OK)
            return failFile(static_cast<OkraError>(result), path, APX_Error(result));
        if (line == NO_LINE) return OKRA_OK;
        if (line == APP_LINE) return failFile(OKRA_BAD_FILE, path, "more than one application");
        if (out == nullptr) continue;
        const std::size_t size = reader->line.size();
        if (std::fwrite(reader->line.data(), 1, size, out) != size || std::fputc('\n', out) == EOF)
            return okraFail(OKRA_FILE_ERROR, "%s", std::strerror(errno));
    }
}

}  // namespace

bool okraIsName(std::string_view name, std::size_t max) {
    if (name.empty() || name.size() > max || name == "." || name == "..") return false;
    if (name.starts_with('.') && name.ends_with(".part")) return false;
    return std::all_of(name.begin(), name.end(), isNameCharacter);
}

int okraCheckReady() {
    char path[ROOTED_PATH_SIZE];
    const bool ready = rootedPath(path, "%s", MANAGER_FOLDER) == 0 && checkFolder(path) == 0;
    return ready ? OKRA_OK : OKRA_NOT_READY;
}

int okraLock(DescriptorGuard *lock) {
    char path[ROOTED_PATH_SIZE];
    if (okraCheckReady() != OKRA_OK || rootedPath(path, "%s", MANAGER_FOLDER) != 0)
        return OKRA_NOT_READY;
    lock->reset(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (lock->get() < 0) return failFile(OKRA_FILE_ERROR, path, std::strerror(errno));
    while (flock(lock->get(), LOCK_EX) != 0)
        if (errno != EINTR) return failFile(OKRA_FILE_ERROR, path, std::strerror(errno));
    return OKRA_OK;
}

int okraPath(char (&path)[ROOTED_PATH_SIZE], const char *folder, const char *name) {
    const int error = rootedPath(path, "%s/%s%s%s", MANAGER_FOLDER, folder,
                                 name == nullptr ? "" : "/", name == nullptr ? "" : name);
    return error == 0 ? static_cast<int>(OKRA_OK)
                      : okraFail(OKRA_FILE_ERROR, "VORN_ROOT: %s", std::strerror(error));
}

int okraFindApp(const char *name, char (&path)[ROOTED_PATH_SIZE]) {
    if (!okraIsName(name, OKRA_APP_NAME_MAX)) return OKRA_NOT_RUNNING;
    const int result = okraPath(path, "apps", name);
    if (result != OKRA_OK) return result;
    struct stat status {};
    if (stat(path, &status) == 0)
        return S_ISREG(status.st_mode) ? static_cast<int>(OKRA_OK) : OKRA_NOT_RUNNING;
    if (errno == ENOENT || errno == ENOTDIR) return OKRA_NOT_RUNNING;
    return failFile(OKRA_FILE_ERROR, path, std::strerror(errno));
}

int okraWriteText(const char *path, const char *text) {
    char folder[ROOTED_PATH_SIZE];
    std::snprintf(folder, sizeof folder, "%s", path);
    char *slash = std::strrchr(folder, '/');
    if (slash != nullptr) *slash = '\0';
    int error = makeFolders(folder, 0775);
    WholeFile file;
    if (error == 0) error = file.begin(path, PART_WAIT);
    if (error == 0) {
        std::fputs(text, file.stream());
        error = file.commit(TARGET_REPLACED);
    }
    return error == 0 ? static_cast<int>(OKRA_OK)
                      : failFile(OKRA_FILE_ERROR, path, std::strerror(error));
}

int okraReadIds(const char *path, std::int32_t *ids, std::size_t max, std::size_t *count) {
    *count = 0;
    const DescriptorGuard file = openRegular(path);
    if (file.get() < 0) {
        if (errno == ENOENT) return OKRA_OK;
        return failFile(OKRA_FILE_ERROR, path, std::strerror(errno));
    }
    LineReader lines(file.get());
    std::string_view line;
    LineResult result = lines.nextText(&line);
    for (; result == LINE_READ; result = lines.nextText(&line)) {
        std::uint64_t id = 0;
        if (*count == max) return failFile(OKRA_BAD_FILE, path, "too many lines");
        if (parseUnsigned(line, INT32_MAX, &id) != NUMBER_OK)
            return failFile(OKRA_BAD_FILE, path, "not the id of a queue");
        ids[(*count)++] = static_cast<std::int32_t>(id);
    }
    return result == LINE_END ? static_cast<int>(OKRA_OK)
                              : failFile(OKRA_BAD_FILE, path, lineFailure(result));
}

int okraReadSubscribers(std::int32_t (&ids)[OKRA_SUBSCRIBERS_MAX], std::size_t *count) {
    char path[ROOTED_PATH_SIZE];
    int result = okraPath(path, "events");
    if (result == OKRA_OK) result = okraReadIds(path, ids, OKRA_SUBSCRIBERS_MAX, count);
    if (result != OKRA_OK) return result;
    // A queue that somebody removed gets no events any more.
    std::int32_t *end =
        std::remove_if(ids, ids + *count, [](std::int32_t id) { return !okraQueueExists(id); });
    *count = static_cast<std::size_t>(end - ids);
    return OKRA_OK;
}

int okraWriteSubscribers(const std::int32_t *ids, std::size_t count) {
    char text[OKRA_SUBSCRIBERS_MAX * 12 + 1] = "";
    std::size_t length = 0;
    for (std::size_t i = 0; i < count; ++i)
        length += static_cast<std::size_t>(
            std::snprintf(text + length, sizeof text - length, "%" PRId32 "\n", ids[i]));
    char path[ROOTED_PATH_SIZE];
    const int result = okraPath(path, "events");
    return result == OKRA_OK ? okraWriteText(path, text) : result;
}

bool okraQueueExists(std::int32_t id) {
    msqid_ds status{};
    // A queue of another user that may not be looked at is there all the same.
    return id >= 0 && (msgctl(id, IPC_STAT, &status) == 0 || errno == EACCES);
}

int okraReadApp(const char *path, OkraApp *app) {
    ResultsReader reader;
    const int result = openApp(path, &reader);
    if (result != OKRA_OK) return result;
    *app = {getField<std::uint32_t>(reader.app, APP_START),
            getField<std::uint32_t>(reader.app, APP_STOP),
            getField<std::uint32_t>(reader.app, APP_RESTART),
            getField<std::uint32_t>(reader.app, APP_POWERFAIL),
            getField<std::uint8_t>(reader.app, APP_STATUS)};
    return copyRegisters(path, &reader, nullptr);
}

int okraCopyApp(const char *path, const char *name, const OkraApp &app, std::FILE *out) {
    ResultsReader reader;
    const int result = openApp(path, &reader);
    if (result != OKRA_OK) return result;
    std::fprintf(out,
                 "app %s start=%" PRIu32 " stop=%" PRIu32 " restart=%" PRIu32 " powerfail=%" PRIu32
                 " status=%u",
                 name, app.start, app.stop, app.restart, app.powerfail, unsigned{app.status});
    const std::int32_t declared = getField<std::int32_t>(reader.app, APP_REG_COUNT);
    if (declared != reader.appLines) std::fprintf(out, " regs=%" PRId32, declared);
    std::fputc('\n', out);
    return copyRegisters(path, &reader, out);
}
