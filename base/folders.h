// SPDX-License-Identifier: MIT
// Making folders so that they are still there after a power failure.
#pragma once

#include <sys/types.h>

// Makes one folder, and brings its entry in the folder above to the disk when it is new. 0, also
// when it is there already, or the errno: then there is no new one.
int makeFolder(const char *path, mode_t mode);

// Makes a folder and those above it; 0, also when it is there already, or the errno.
int makeFolders(const char *path, mode_t mode);

// 0 for a folder, ENOTDIR for anything else that is there, or the errno.
int checkFolder(const char *path);

// Brings the entries of the folder that a path's last name stands in to the disk: without it a
// power failure may take back a new name. 0 or the errno.
int syncFolderOf(const char *path);
