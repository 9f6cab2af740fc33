// SPDX-License-Identifier: MIT
// Opening, counting, purging and moving of files. No state; may be called from any thread.
#pragma once

#include <cstdio>

#include <dirent.h>

#include "util/guards.h"

// scandir's forms: a filter accepts with non-zero, an order compares two entries.
using DirFilter = int (*)(const struct dirent *entry);
using DirOrder = int (*)(const struct dirent **a, const struct dirent **b);

// Opens a regular file for reading as text. Null, with errno set, for anything else: a directory
// (EISDIR), a FIFO or a device (ENOTSUP) too, without waiting for a writer.
FileGuard openForReading(const char *path);

// True for a regular file whose name is longer than 5 characters and ends in ".subs".
int isSubsFile(const struct dirent *entry);

// Order by name, byte by byte.
int misc_alphasort(const struct dirent **a, const struct dirent **b);

// The number of entries that the filter accepts; 0 when the directory cannot be read.
int countDirFiles(const char *directory, DirFilter filter);

// Deletes the first accepted entries in the given order until `keep` are left, with a line at level
// 2 each. Returns how many are left; one that could not be deleted counts as gone.
int purgeDirFiles(const char *directory, DirFilter filter, DirOrder order, int keep);

// Moves an existing file aside to the first free name with _01, _02 ... before its extension, so
// that the name is free. Returns 0; a failed rename is not reported.
int backup_file(const char *path);
