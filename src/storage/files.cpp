// SPDX-License-Identifier: MIT
#include "storage/files.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/stat.h>
#include <unistd.h>

#include "base/folders.h"
#include "base/guards.h"
#include "base/whole_file.h"
#include "base/words.h"
#include "dmon/dmon.h"

namespace {

// Whether a file has the name; -1, with errno set, when that cannot be told.
int exists(const char *path) {
    struct stat status;
    if (stat(path, &status) == 0) return 1;
    return errno == ENOENT || errno == ENOTDIR ? 0 : -1;
}

// Files that cannot be seen are neither counted nor deleted, which is not to pass for an empty
// folder.
void tellUnreadable(const char *directory, int error) {
    if (error != 0 && error != ENOENT)
        dmon_log(1, "Error: could not read folder '%s': %s.\n", directory, std::strerror(error));
}

// Where the extension of the path's file name begins: its last dot, or its end.
std::size_t extensionStart(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    return dot == std::string_view::npos || dot < folderOf(path).size() ? path.size() : dot;
}

// Passes on whether snprintf's text of `length` characters fits the path `out`.
bool fitsOrTell(const char *out, std::size_t size, int length, CutPathFn tell) {
    if (length >= 0 && static_cast<std::size_t>(length) < size) return true;
    tell(out, size - 1);
    return false;
}

// The path of a directory's file; false when it was cut: it may name another file then.
bool wholePath(char (&path)[PATH_MAX], const char *directory, const char *name) {
    const int length = std::snprintf(path, sizeof path, "%s/%s", directory, name);
    return length > 0 && static_cast<std::size_t>(length) < sizeof path;
}

std::int64_t modificationTime(const char *directory, const char *name) {
    char path[PATH_MAX];
    struct stat status;
    return wholePath(path, directory, name) && stat(path, &status) == 0
               ? std::int64_t{status.st_mtim.tv_sec}
               : INT64_MAX;
}

// How many files of a listing are too many.
int surplusOf(const DirListing &listing, int keep) {
    return std::max(0, listing.count() - std::max(0, keep));
}

void deleteOldFile(const char *directory, const char *name) {
    char path[PATH_MAX];
    const bool whole = wholePath(path, directory, name);
    if (!whole) errno = ENAMETOOLONG;
    if (whole && unlink(path) == 0)
        dmon_log(2, "Deleted old file '%s'.\n", path);
    else
        dmon_log(1, "Error: could not delete old file '%s': %s.\n", path, std::strerror(errno));
}

}  // namespace

DirListing::DirListing(const char *directory, DirFilter filter, DirOrder order)
    : count_(scandir(directory, &entries_, filter, order)), error_(count_ < 0 ? errno : 0) {}

DirListing::~DirListing() {
    for (int i = 0; i < count_; ++i) std::free(entries_[i]);
    if (count_ >= 0) std::free(entries_);
}

void logCutPath(const char *path, std::size_t limit) {
    dmon_log(1, "Warning: path '%s' was cut at %zu characters.\n", path, limit);
}

bool copyPath(char *out, std::size_t size, const char *path, CutPathFn tell) {
    return fitsOrTell(out, size, std::snprintf(out, size, "%s", path), tell);
}

bool joinPath(char *out, std::size_t size, const char *directory, const char *name,
              CutPathFn tell) {
    return fitsOrTell(out, size, std::snprintf(out, size, "%s/%s", directory, name), tell);
}

bool isFileEndingIn(const struct dirent *entry, std::string_view ending) {
    const std::string_view name = entry->d_name;
    return entry->d_type == DT_REG && name.size() > ending.size() && name.ends_with(ending);
}

int isSubsFile(const struct dirent *entry) {
    return isFileEndingIn(entry, ".subs") ? 1 : 0;
}

int isResultsFile(const struct dirent *entry) {
    return isFileEndingIn(entry, RESULTS_ENDING) ? 1 : 0;
}

int misc_alphasort(const struct dirent **a, const struct dirent **b) {
    return std::strcmp((*a)->d_name, (*b)->d_name);
}

int countDirFiles(const char *directory, DirFilter filter) {
    const DirectoryGuard entries(opendir(directory));
    int count = 0;
    if (entries) {
        errno = 0;
        while (const dirent *entry = readdir(entries.get()))
            if (filter(entry) != 0) ++count;
        if (errno == 0) return count;
    }
    tellUnreadable(directory, errno);
    return 0;
}

int purgeDirFiles(const char *directory, DirFilter filter, DirOrder order, int keep) {
    const DirListing listing(directory, filter, order);
    tellUnreadable(directory, listing.error());
    const int surplus = surplusOf(listing, keep);
    for (int i = 0; i < surplus; ++i) deleteOldFile(directory, listing.name(i));
    return listing.count() - surplus;
}

int purgeDirFiles(const char *directory, DirFilter filter, DatedOrder order, int keep) {
    const DirListing listing(directory, filter, nullptr);
    tellUnreadable(directory, listing.error());
    const int count = listing.count();
    const int surplus = surplusOf(listing, keep);
    if (surplus == 0) return count;
    const HeapGuard<DatedEntry> dated(static_cast<DatedEntry *>(
        std::calloc(static_cast<std::size_t>(count), sizeof(DatedEntry))));
    if (!dated) {
        tellUnreadable(directory, ENOMEM);
        return count;
    }
    DatedEntry *const entries = dated.get();
    for (int i = 0; i < count; ++i)
        entries[i] = {listing.entry(i), modificationTime(directory, listing.name(i))};
    std::sort(entries, entries + count,
              [order](const DatedEntry &a, const DatedEntry &b) { return order(&a, &b) < 0; });
    for (int i = 0; i < surplus; ++i) deleteOldFile(directory, entries[i].entry->d_name);
    return count - surplus;
}

int backup_file(const char *path) {
    return backup_file(path, SYNC_NOW);
}

int backup_file(const char *path, PartSync sync) {
    const std::string_view given = path;
    const std::size_t base = extensionStart(given);
    char moved[PATH_MAX];
    if (given.size() >= sizeof moved) return 0;  // no file can have such a path
    if (const int there = exists(path); there <= 0) return there;
    given.copy(moved, given.size());
    for (int counter = 1;; ++counter) {
        const int length =
            std::snprintf(moved + base, sizeof moved - base, "_%02d%s", counter, path + base);
        if (length < 0 || static_cast<std::size_t>(length) >= sizeof moved - base) {
            errno = ENAMETOOLONG;
            return -1;
        }
        const int there = exists(moved);
        if (there < 0) return -1;
        if (there > 0) continue;
        int error = renameToFree(path, moved);
        if (error == ENOENT) return 0;  // somebody else took the file away
        // Else a power cut might leave what takes the name, and not what made room for it.
        if (error == 0 && sync == SYNC_NOW) error = syncFolderOf(path);
        if (error == 0) return 0;
        if (error == EEXIST) continue;  // or the name that was free
        errno = error;
        return -1;
    }
}
