// SPDX-License-Identifier: MIT
// A file that appears whole or not at all: it is written beside its name as `.NAME.part`, flushed
// to the disk and renamed. The part is locked while its writer lives, so that two writers take
// turns and a part that nobody holds is known as left over.
#pragma once

#include <cstdio>

#include "host/guards.h"
#include "host/paths.h"

namespace host {

class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    // Takes the part back unless commit put it in place.
    ~WholeFile();

    // Makes the part empty, after waiting for another writer of the same file. 0 or the errno.
    int begin(const char *path);

    // Where to write after begin; failures show in commit.
    [[nodiscard]] std::FILE *stream() const { return part_.get(); }

    // Puts the file in place. 0 or the errno: then the old file, if any, is untouched.
    int commit();

private:
    FileGuard part_;
    char path_[PATH_SIZE]{};
    char partPath_[PATH_SIZE]{};
};

// Removes the parts in a folder that killed processes left there.
void removeLeftParts(const char *folder);

}  // namespace host
