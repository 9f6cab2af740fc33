// SPDX-License-Identifier: MIT
#include "storage/state_file.h"

#include <cerrno>
#include <cstdint>
#include <string_view>

#include <sys/stat.h>

#include "base/folders.h"
#include "base/guards.h"
#include "base/open_file.h"
#include "base/root_path.h"
#include "base/whole_file.h"
#include "base/words.h"
#include "core/options.h"
#include "dmon/dmon.h"

namespace {

constexpr std::string_view STATE_DIRECTORY = folderOf(STATE_FILE);
constexpr mode_t DIRECTORY_MODE = 0755;
constexpr mode_t FILE_MODE = 0664;

constexpr std::uint32_t MAGIC = 0xCBEA0111;
constexpr std::size_t WORD_SIZE = 4;
constexpr std::size_t STATE_SIZE = 2 * WORD_SIZE;

// One save at a time: the listener's and a client's may meet.
pthread_mutex_t saveLock = PTHREAD_MUTEX_INITIALIZER;

struct StatePath {
    char text[ROOTED_PATH_SIZE];
    explicit StatePath(std::string_view path) {
        rootedPath(text, "%.*s", static_cast<int>(path.size()), path.data());
    }
};

void putBigEndian(std::uint8_t *bytes, std::uint32_t word) {
    for (std::size_t i = 0; i < WORD_SIZE; ++i)
        bytes[i] = static_cast<std::uint8_t>(word >> (8 * (WORD_SIZE - 1 - i)));
}

bool readBigEndian(std::FILE *file, std::uint32_t *word) {
    std::uint8_t bytes[WORD_SIZE];
    if (std::fread(bytes, 1, sizeof bytes, file) != sizeof bytes) return false;
    *word = 0;
    for (const std::uint8_t byte : bytes) *word = *word << 8 | byte;
    return true;
}

struct State {
    std::uint8_t bytes[STATE_SIZE];

    State() {
        putBigEndian(bytes, MAGIC);
        putBigEndian(bytes + WORD_SIZE, static_cast<std::uint32_t>(opt_autoseq.load()));
    }
};

// Makes the file whole beside its name and moves it there, so that it is never short and what
// stands there, a link too, is not written through. 0 or the errno.
int saveState(const char *path) {
    const State state;
    WholeFile file;
    const int error = file.begin(path, PART_WAIT, FILE_MODE);
    if (error != 0) return error;
    std::fwrite(state.bytes, 1, STATE_SIZE, file.stream());
    return file.commit(TARGET_REPLACED);
}

}  // namespace

int savePersistentData() {
    const MutexGuard lock = lockMutex(&saveLock);
    const StatePath directory(STATE_DIRECTORY);
    static_cast<void>(makeFolder(directory.text, DIRECTORY_MODE));
    const StatePath path(STATE_FILE);
    if (saveState(path.text) == 0) return STATE_OK;
    dmon_log(1, "Error: could not save persistent data to '%s'.\n", path.text);
    return STATE_NOT_SAVED;
}

int loadPersistentData() {
    const StatePath path(STATE_FILE);
    const FileGuard file = openForReading(path.text);
    if (file) return readPersistentData(file.get());
    if (errno == EISDIR || errno == ENOTSUP) return STATE_FOREIGN;
    dmon_log(1, "Warning: no persistent data found.\n");
    return STATE_OK;
}

int readPersistentData(std::FILE *file) {
    std::uint32_t magic = 0;
    std::uint32_t sequence = 0;
    if (!readBigEndian(file, &magic) || magic != MAGIC) return STATE_FOREIGN;
    if (!readBigEndian(file, &sequence)) return STATE_FOREIGN;
    opt_autoseq = static_cast<std::int32_t>(sequence);
    return STATE_OK;
}
