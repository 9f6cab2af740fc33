// SPDX-License-Identifier: MIT
#include "host/whole_file.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The folder part of a path, with its slash; empty for a bare name.
std::string_view folderOf(std::string_view path) {
    return path.substr(0, path.rfind('/') + 1);
}

// False when another writer renamed or removed the part after it had been opened: only the holder
// of the lock may, so the answer holds as long as the caller has it.
bool isStillAt(int fd, int folder, const char *name) {
    struct stat opened {};
    struct stat named {};
    return fstat(fd, &opened) == 0 && fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// Opens the part and waits for its lock; 0 or the errno.
int openPart(const char *path, host::DescriptorGuard *part) {
    for (;;) {
        part->reset(open(path, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        struct stat status {};
        if (part->get() < 0 || fstat(part->get(), &status) != 0) return errno;
        if (!S_ISREG(status.st_mode)) return ENOTSUP;
        while (flock(part->get(), LOCK_EX) != 0)
            if (errno != EINTR) return errno;
        if (isStillAt(part->get(), AT_FDCWD, path)) return 0;
    }
}

// Makes the renaming last: without it a power failure may bring the old name back.
void flushFolder(const char *path) {
    char folder[host::PATH_SIZE] = ".";
    const std::string_view name = folderOf(path);
    if (!name.empty()) folder[name.copy(folder, sizeof folder - 1)] = '\0';
    const host::DescriptorGuard fd(open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0) fsync(fd.get());
}

}  // namespace

host::WholeFile::~WholeFile() {
    if (part_) unlink(partPath_);
}

int host::WholeFile::begin(const char *path) {
    const std::string_view folder = folderOf(path);
    const char *name = path + folder.size();
    const int length = std::snprintf(partPath_, sizeof partPath_, "%.*s.%s.part",
                                     static_cast<int>(folder.size()), path, name);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof partPath_) return ENAMETOOLONG;
    std::snprintf(path_, sizeof path_, "%s", path);

    DescriptorGuard part;
    if (const int error = openPart(partPath_, &part); error != 0) return error;
    if (ftruncate(part.get(), 0) == 0) part_.reset(fdopen(part.get(), "w"));
    if (!part_) {
        const int error = errno;
        unlink(partPath_);
        return error;
    }
    static_cast<void>(part.release());
    return 0;
}

int host::WholeFile::commit() {
    // The stream remembers a write that failed earlier; errno may be long gone then.
    errno = EIO;
    if (std::ferror(part_.get()) != 0 || std::fflush(part_.get()) != 0 ||
        fsync(fileno(part_.get())) != 0 || rename(partPath_, path_) != 0)
        return errno;
    part_.reset();
    flushFolder(path_);
    return 0;
}

void host::removeLeftParts(const char *folder) {
    DIR *entries = opendir(folder);
    if (entries == nullptr) return;
    const int fd = dirfd(entries);
    while (const dirent *entry = readdir(entries)) {
        const std::string_view name = entry->d_name;
        if (!name.starts_with('.') || !name.ends_with(".part")) continue;
        const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const DescriptorGuard part(openat(fd, entry->d_name, flags));
        struct stat status {};
        if (part.get() < 0 || fstat(part.get(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
        if (flock(part.get(), LOCK_EX | LOCK_NB) == 0 && isStillAt(part.get(), fd, entry->d_name))
            unlinkat(fd, entry->d_name, 0);
    }
    closedir(entries);
}
