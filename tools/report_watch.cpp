// SPDX-License-Identifier: MIT
#include "report_watch.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <time.h>

#include "base/guards.h"

namespace {

namespace fs = std::filesystem;

constexpr int QUIET_MS = 100;   // that end a burst of events
constexpr int BURST_MS = 1000;  // of one burst at most, and that a file may be gone for
constexpr int LOOK_MS = 1000;   // between looks at what has no events, as on other machines' disks

// What tells one state of a file from another; an event says no more than that it is worth looking.
struct FileState {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::int64_t changed = 0;  // nanoseconds
    std::int64_t modified = 0;

    bool operator==(const FileState &) const = default;
};

std::int64_t nanoseconds(const timespec &time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

FileState stateOf(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {};
    return {true,
            status.st_dev,
            status.st_ino,
            status.st_size,
            nanoseconds(status.st_ctim),
            nanoseconds(status.st_mtim)};
}

// The files of the last job, as they were before they were read: so no change is missed, however
// early it comes.
std::map<std::string, FileState> noted;
bool watches = false;

// Editors rename over files, so that it is the folders that have the events. A folder that cannot
// be watched is looked at from time to time.
void addFolder(int events, const std::string &path) {
    constexpr std::uint32_t KINDS =
        IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
    const fs::path folder = fs::path(path).parent_path();
    inotify_add_watch(events, folder.empty() ? "." : folder.c_str(), KINDS);
}

// Takes all events that come in some time; whether there was one.
bool takeEvents(int events, int milliseconds) {
    pollfd waiting = {events, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) <= 0) return false;
    char buffer[4096];
    while (read(events, buffer, sizeof buffer) > 0) continue;
    return true;
}

std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return nanoseconds(time);
}

bool isGone(const std::string &path, const FileState &before) {
    return before.exists && !stateOf(path).exists;
}

bool oneIsGone() {
    for (const auto &[path, state] : noted)
        if (isGone(path, state)) return true;
    return false;
}

// The files that are not as they were, with a comma between them.
std::string changedFiles() {
    std::string list;
    for (const auto &[path, state] : noted)
        if (stateOf(path) != state) list += (list.empty() ? "" : ", ") + path;
    return list;
}

// Waits until a file has changed and its writers seem to be done.
std::string waitForChange() {
    const DescriptorGuard events(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    for (const auto &[path, state] : noted) {
        addFolder(events.get(), path);
        std::error_code error;  // of a link's file the folder has the events
        const std::string target = fs::canonical(path, error).string();
        if (!error && target != path) addFolder(events.get(), target);
    }
    while (changedFiles().empty()) takeEvents(events.get(), LOOK_MS);
    const std::int64_t end = now() + std::int64_t{BURST_MS} * 1'000'000;
    while ((takeEvents(events.get(), QUIET_MS) || oneIsGone()) && now() < end) continue;
    return changedFiles();
}

}  // namespace

void noteReportFile(const char *path) {
    const auto [entry, isNew] = watches ? noted.try_emplace(path) : std::pair(noted.end(), false);
    if (isNew) entry->second = stateOf(path);
}

void watchFiles(const std::vector<std::string> &files, bool quiet,
                const std::function<void()> &job) {
    watches = true;
    std::size_t told = 0;  // files that are watched
    for (;;) {
        noted.clear();
        std::string missing;
        for (const std::string &file : files) {
            noteReportFile(file.c_str());
            if (!noted[file].exists) missing += (missing.empty() ? "" : ", ") + file;
        }
        if (missing.empty()) job();
        if (!quiet && !missing.empty())
            std::fprintf(stderr, "vorn-report: waiting for %s\n", missing.c_str());
        else if (!quiet && noted.size() != told)
            std::fprintf(stderr, "vorn-report: watching %zu files\n", told = noted.size());
        const std::string changed = waitForChange();
        if (!quiet && !changed.empty())
            std::fprintf(stderr, "vorn-report: changed: %s\n", changed.c_str());
    }
}
