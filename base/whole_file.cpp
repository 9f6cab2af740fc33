// SPDX-License-Identifier: MIT
#include "base/whole_file.h"

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/folders.h"
#include "base/hash.h"
#include "base/utf8_text.h"
#include "base/words.h"

namespace {

constexpr std::string_view PART_SUFFIX = ".part";

// Other writers may take the part away between two steps; so often in a row they do not.
constexpr int TRIES = 1000;

// Builds ".NAME.part" in the file's folder. Where that is too long for a name, the end of NAME
// gives way to 16 digits, before a character that would be split. False when the path is too long.
bool namePart(char (&out)[PATH_MAX], std::string_view path) {
    constexpr std::size_t DIGITS = 16;
    const std::string_view folder = folderOf(path);
    std::string_view name = fileNameOf(path);
    char digits[DIGITS + 1] = "";
    if (1 + name.size() + PART_SUFFIX.size() > NAME_MAX) {
        std::snprintf(digits, sizeof digits, "%08" PRIx32 "%08" PRIx32, hashText(0, name),
                      hashText(1, name));
        name = cutAtCharacter(name, NAME_MAX - 1 - DIGITS - PART_SUFFIX.size());
    }
    const int length = std::snprintf(
        out, sizeof out, "%.*s.%.*s%s%s", static_cast<int>(folder.size()), folder.data(),
        static_cast<int>(name.size()), name.data(), digits, PART_SUFFIX.data());
    return length >= 0 && static_cast<std::size_t>(length) < sizeof out;
}

// Whether the open file still stands under its name: only the holder of its lock may change that,
// so the answer holds as long as the caller has it. 0, ESTALE when it does not, or the errno.
int checkNamed(int fd, int folder, const char *name) {
    struct stat opened {};
    struct stat named {};
    if (fstat(fd, &opened) != 0) return errno;
    if (fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? ESTALE : errno;
    return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino ? 0 : ESTALE;
}

// 0 or the errno, EWOULDBLOCK when another holds the lock and is not waited for.
int lockFile(int fd, PartBusy busy) {
    while (flock(fd, busy == PART_WAIT ? LOCK_EX : LOCK_EX | LOCK_NB) != 0)
        if (errno != EINTR) return errno;
    return 0;
}

// Clears the name of the part: waits for its writer, or removes what nobody writes. 0 when it is
// worth trying again, or the errno.
int clearPartName(const char *path, PartBusy busy) {
    const DescriptorGuard there(
        open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (there.get() < 0 && errno == ENOENT) return 0;
    struct stat status {};
    const bool isLink = there.get() < 0 && errno == ELOOP;
    const bool isSocket = there.get() < 0 && errno == ENXIO;
    if (there.get() < 0 && !isLink && !isSocket) return errno;
    if (there.get() >= 0) {
        if (fstat(there.get(), &status) != 0) return errno;
        if (S_ISREG(status.st_mode)) {
            if (const int error = lockFile(there.get(), busy); error != 0)
                return error == EWOULDBLOCK ? EBUSY : error;
            const int named = checkNamed(there.get(), AT_FDCWD, path);
            if (named != 0) return named == ESTALE ? 0 : named;
        }
    }
    return unlink(path) == 0 || errno == ENOENT ? 0 : errno;
}

// Makes the part and locks it; 0 or the errno.
int openPart(const char *path, PartBusy busy, mode_t mode, DescriptorGuard *part) {
    for (int i = 0; i < TRIES; ++i) {
        part->reset(open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (part->get() < 0) {
            if (errno != EEXIST) return errno;
            if (const int error = clearPartName(path, busy); error != 0) return error;
            continue;
        }
        // Another writer may have taken the empty part for a left one before it was locked.
        int error = lockFile(part->get(), PART_REFUSE);
        if (error == 0) error = checkNamed(part->get(), AT_FDCWD, path);
        if (error == 0) return 0;
        if (error != ESTALE && error != EWOULDBLOCK) {
            unlink(path);
            return error;
        }
    }
    return EBUSY;
}

}  // namespace

int renameToFree(const char *from, const char *to) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // A file system without it.
    if (link(from, to) == 0) return unlink(from) == 0 ? 0 : errno;
    if (errno != EPERM && errno != ENOTSUP) return errno;
    // One without links, too: the moment between look and rename stays.
    struct stat status {};
    if (lstat(to, &status) == 0) return EEXIST;
    if (errno != ENOENT) return errno;
    return rename(from, to) == 0 ? 0 : errno;
}

int WholeFile::begin(const char *path, PartBusy busy, mode_t mode) {
    const int length = std::snprintf(path_, sizeof path_, "%s", path);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof path_) return ENAMETOOLONG;
    if (!namePart(partPath_, path)) return ENAMETOOLONG;
    DescriptorGuard part;
    if (const int error = openPart(partPath_, busy, mode, &part); error != 0) return error;
    part_.reset(fdopen(part.get(), "w"));
    if (!part_) {
        const int error = errno;
        unlink(partPath_);
        return error;
    }
    static_cast<void>(part.release());
    return 0;
}

int WholeFile::commit(PartTarget target, PartSync sync) {
    // The stream remembers that a write failed earlier, but not why: it tries to write the same
    // again.
    const bool failedBefore = std::ferror(part_.get()) != 0;
    int error = std::fflush(part_.get()) != 0 ? errno : failedBefore ? EIO : 0;
    if (error == 0 && sync == SYNC_NOW && fsync(fileno(part_.get())) != 0) error = errno;
    if (error == 0) error = renameToFree(partPath_, path_);
    const bool isNew = error == 0;
    if (error == EEXIST && target == TARGET_REPLACED)
        error = rename(partPath_, path_) == 0 ? 0 : errno;
    if (error != 0) {
        drop();
        return error;
    }
    error = sync == SYNC_NOW ? syncFolderOf(path_) : 0;
    if (error != 0 && isNew) unlink(path_);
    part_.reset();  // under its name before it is closed: closing gives the lock up
    return error;
}

void WholeFile::drop() {
    if (!part_) return;
    unlink(partPath_);  // while the lock is held
    part_.reset();
}

bool isPartName(std::string_view path) {
    const std::string_view name = fileNameOf(path);
    return name.size() > PART_SUFFIX.size() + 1 && name.starts_with('.') &&
           name.ends_with(PART_SUFFIX);
}

void removeLeftParts(const char *folder) {
    const DirectoryGuard entries(opendir(folder));
    if (!entries) return;
    const int fd = dirfd(entries.get());
    while (const dirent *entry = readdir(entries.get())) {
        if (!isPartName(entry->d_name)) continue;
        const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const DescriptorGuard part(openat(fd, entry->d_name, flags));
        struct stat status {};
        if (part.get() < 0 || fstat(part.get(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
        if (lockFile(part.get(), PART_REFUSE) == 0 &&
            checkNamed(part.get(), fd, entry->d_name) == 0)
            unlinkat(fd, entry->d_name, 0);
    }
}
