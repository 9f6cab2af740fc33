// SPDX-License-Identifier: MIT
// The application manager's state: a directory of small files below /run/tarix/okra, shared by
// every process that uses the library and by the simulator. Each file is whole whenever it can be
// seen; changes that read before they write hold the manager's lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "base/guards.h"
#include "base/root_path.h"

constexpr std::size_t OKRA_APP_NAME_MAX = 15;
constexpr std::size_t OKRA_LIST_NAME_MAX = 19;
constexpr std::size_t OKRA_SUBSCRIBERS_MAX = 64;

// Whether a name may become a file's name: letters, digits, '.', '_' and '-', at most `max` of
// them, but not ".", ".." or what a file that is being written is called.
bool okraIsName(std::string_view name, std::size_t max);

// OKRA_OK while the manager's directory is there, else OKRA_NOT_READY.
int okraCheckReady();

// Takes the manager's lock, waiting for its holder; it goes with the guard. OKRA_OK or a code.
int okraLock(DescriptorGuard *lock);

// Writes /run/tarix/okra/FOLDER/NAME, or /run/tarix/okra/FOLDER without a name, in front of
// VORN_ROOT. OKRA_OK or OKRA_FILE_ERROR.
int okraPath(char (&path)[ROOTED_PATH_SIZE], const char *folder, const char *name = nullptr);

// The path of a running application's state; OKRA_NOT_RUNNING when there is none, another code when
// that cannot be found out.
int okraFindApp(const char *name, char (&path)[ROOTED_PATH_SIZE]);

// Puts a text into a file that appears whole, with the folders above it. OKRA_OK or a code.
int okraWriteText(const char *path, const char *text);

// Reads the numbers of a file, a line each, as queue ids; a missing file holds none. OKRA_OK, or
// OKRA_BAD_FILE for other lines or more than `max` numbers.
int okraReadIds(const char *path, std::int32_t *ids, std::size_t max, std::size_t *count);

// The ids of the queues that subscribed to application events and still exist, and their storing.
int okraReadSubscribers(std::int32_t (&ids)[OKRA_SUBSCRIBERS_MAX], std::size_t *count);
int okraWriteSubscribers(const std::int32_t *ids, std::size_t count);

// Whether a System V message queue exists.
bool okraQueueExists(std::int32_t id);

// The attributes of an application's state.
struct OkraApp {
    std::uint32_t start;
    std::uint32_t stop;
    std::uint32_t restart;
    std::uint32_t powerfail;
    std::uint8_t status;
};

// Reads the attributes of a state, a results file with one application. OKRA_OK or a code.
int okraReadApp(const char *path, OkraApp *app);

// Appends a state to a results file that is being written, under a name and with attributes of its
// own. OKRA_OK or a code; write errors show in the stream.
int okraCopyApp(const char *path, const char *name, const OkraApp &app, std::FILE *out);

// The first line of a results file.
constexpr char OKRA_FORMAT_LINE[] = "okra 1\n";
