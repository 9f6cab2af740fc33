// SPDX-License-Identifier: MIT
// A file that appears whole or not at all: it is written beside its name as `.NAME.part`, flushed
// to the disk and renamed, and the folder is flushed too. The part is locked while its writer
// lives, so that two writers take turns and a part that nobody holds is known as left over.
#pragma once

#include <climits>
#include <cstdio>
#include <string_view>

#include <sys/types.h>

#include "base/guards.h"

// What begin does when another writer has the same file in work.
enum PartBusy { PART_WAIT, PART_REFUSE };

// What commit does with a file that has the name.
enum PartTarget { TARGET_REPLACED, TARGET_KEPT };

// Whether commit brings the file to the disk; the maker of many does so once for all.
enum PartSync { SYNC_NOW, SYNC_LATER };

class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    // Takes the part back unless commit put it in place.
    ~WholeFile() { drop(); }

    // Makes the part, a new file: nothing that stands under its name is written to, neither a link
    // nor what a killed process left. A NAME too long for one is shortened in the part's name.
    //   mode  of the file, less the umask
    // 0 or the errno: EBUSY when another writer has the file in work and is not waited for.
    int begin(const char *path, PartBusy busy, mode_t mode = 0666);

    // Where to write after begin; failures show in commit.
    [[nodiscard]] std::FILE *stream() const { return part_.get(); }

    // Puts the file in place and brings both it and its name to the disk. 0 or the errno, EEXIST
    // for a file that is kept: the part is gone then, and so is the name if the file is new.
    int commit(PartTarget target, PartSync sync = SYNC_NOW);

    // Closes and removes the part; does nothing without one.
    void drop();

private:
    FileGuard part_;
    char path_[PATH_MAX]{};
    char partPath_[PATH_MAX]{};
};

// Removes the parts in a folder that killed processes left there; those in work stay.
void removeLeftParts(const char *folder);

// True for a path whose name a part may have: removeLeftParts would take such a file.
bool isPartName(std::string_view path);

// Renames a file to a name that must be free. 0, or the errno: EEXIST when it is not free.
int renameToFree(const char *from, const char *to);
