// SPDX-License-Identifier: MIT
// Opening, counting, purging and moving of files. No state; may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include <dirent.h>

#include "base/open_file.h"
#include "base/whole_file.h"

// scandir's forms: a filter accepts with non-zero, an order compares two entries.
using DirFilter = int (*)(const struct dirent *entry);
using DirOrder = int (*)(const struct dirent **a, const struct dirent **b);

// An entry of a directory, and when the file was last written, in whole seconds; the end of time
// where that cannot be told.
struct DatedEntry {
    const struct dirent *entry;
    std::int64_t seconds;
};
using DatedOrder = int (*)(const DatedEntry *a, const DatedEntry *b);

// The entries of a directory that a filter accepts (null: all), in the given order (null: as the
// directory delivers them).
class DirListing {
public:
    DirListing(const char *directory, DirFilter filter, DirOrder order);
    DirListing(const DirListing &) = delete;
    DirListing &operator=(const DirListing &) = delete;
    ~DirListing();

    // 0 when the directory cannot be read; error() then tells why.
    [[nodiscard]] int count() const { return count_ < 0 ? 0 : count_; }
    [[nodiscard]] const struct dirent *entry(int index) const { return entries_[index]; }
    [[nodiscard]] const char *name(int index) const { return entries_[index]->d_name; }

    // The error number of a directory that could not be read, else 0.
    [[nodiscard]] int error() const { return error_; }

private:
    struct dirent **entries_ = nullptr;
    int count_;
    int error_;
};

// Is told of a path that was cut at `limit` characters.
using CutPathFn = void (*)(const char *path, std::size_t limit);

// Logs a warning at level 1.
void logCutPath(const char *path, std::size_t limit);

// Both build a path in a buffer of `size` bytes, cut to fit. False when it was cut, after `tell`.
bool copyPath(char *out, std::size_t size, const char *path, CutPathFn tell = logCutPath);
bool joinPath(char *out, std::size_t size, const char *directory, const char *name,
              CutPathFn tell = logCutPath);

// True for a regular file whose name ends in `ending` and is longer than that.
bool isFileEndingIn(const struct dirent *entry, std::string_view ending);

// How the names of results files end.
constexpr char RESULTS_ENDING[] = ".res";

// True for a regular file whose name ends in ".subs", or RESULTS_ENDING, and is longer than that.
int isSubsFile(const struct dirent *entry);
int isResultsFile(const struct dirent *entry);

// Order by name, byte by byte.
int misc_alphasort(const struct dirent **a, const struct dirent **b);

// The number of entries that the filter accepts; 0 when the directory cannot be read.
int countDirFiles(const char *directory, DirFilter filter);

// Deletes the first accepted entries in the given order until `keep` are left, with a line at level
// 2 each. Returns how many are left; one that could not be deleted counts as gone, after a message
// at level 1. Each file is examined once for an order that asks for its time; without memory for
// that nothing is deleted.
int purgeDirFiles(const char *directory, DirFilter filter, DirOrder order, int keep);
int purgeDirFiles(const char *directory, DirFilter filter, DatedOrder order, int keep);

// Moves an existing file aside to the first free name with _01, _02 ... before its extension, so
// that the name is free. The extension is that of the file's name: dots of its folders do not
// count. Nothing is overwritten. Returns 0, or -1 with errno set: the file is where it was then, or
// its move may not outlive a power cut, and its name must not be written to.
int backup_file(const char *path);
// The same; SYNC_LATER leaves it to the caller to bring the folder to the disk.
int backup_file(const char *path, PartSync sync);
