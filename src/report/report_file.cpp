// SPDX-License-Identifier: MIT
#include "report/report_file.h"

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "dmon/dmon.h"
#include "storage/files.h"

namespace {

constexpr std::string_view PART_SUFFIX = ".part";

// Length of the folder in front of the name, the slash included; 0 without one.
std::size_t folderLength(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash != std::string_view::npos ? slash + 1 : 0;
}

int isPartFile(const struct dirent *entry) {
    const std::string_view name = entry->d_name;
    return entry->d_type == DT_REG && name.size() > PART_SUFFIX.size() + 1 && name.front() == '.' &&
                   name.ends_with(PART_SUFFIX)
               ? 1
               : 0;
}

// FNV-1a, which tells long names apart.
std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001B3;
    }
    return hash;
}

// Builds ".NAME.part" in the report's folder. Where that is too long for a name, the end of NAME
// gives way to 16 digits, before a character that would be split. False when the path is too long.
bool namePartFile(char (&out)[PATH_MAX], const char *reportPath) {
    constexpr std::size_t DIGITS = 16;
    const auto folder = static_cast<int>(folderLength(reportPath));
    const std::string_view name = reportPath + folder;
    std::size_t kept = name.size();
    char digits[DIGITS + 1] = "";
    if (1 + name.size() + PART_SUFFIX.size() > NAME_MAX) {
        kept = NAME_MAX - 1 - DIGITS - PART_SUFFIX.size();
        while (kept > 0 && (static_cast<unsigned char>(name[kept]) & 0xC0) == 0x80) --kept;
        std::snprintf(digits, sizeof digits, "%016" PRIx64, hashOf(name));
    }
    const int length =
        std::snprintf(out, sizeof out, "%.*s.%.*s%s%s", folder, reportPath, static_cast<int>(kept),
                      name.data(), digits, PART_SUFFIX.data());
    return length >= 0 && static_cast<std::size_t>(length) < sizeof out;
}

// Makes the entry of a folder last over a power failure.
void syncFolder(const char *path) {
    char folder[PATH_MAX];
    const std::size_t length = folderLength(path);
    std::snprintf(folder, sizeof folder, "%.*s", static_cast<int>(length), path);
    const DescriptorGuard fd(open(length > 0 ? folder : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0) static_cast<void>(fsync(fd.get()));
}

// Whether the file that is open still stands under its name.
bool isNamed(int fd, const char *path) {
    struct stat opened;
    struct stat named;
    return fstat(fd, &opened) == 0 && lstat(path, &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

// Opens the part file empty and locks it for as long as it is open, so that two reports of one name
// do not write into one file: the second is refused with EBUSY. What a killed process left is used
// again; anything but a regular file, a link or a FIFO, goes. A descriptor, or -1 with errno set.
int openPart(const char *path) {
    constexpr int TRIES = 8;  // another report may take its file away between two steps
    for (int i = 0; i < TRIES; ++i) {
        DescriptorGuard fd(
            open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
        struct stat status;
        if (fd.get() < 0 && errno != ELOOP && errno != ENXIO) return -1;
        if (fd.get() < 0 || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
            static_cast<void>(unlink(path));
            continue;
        }
        if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0) break;
        if (isNamed(fd.get(), path)) return ftruncate(fd.get(), 0) == 0 ? fd.release() : -1;
    }
    errno = EBUSY;
    return -1;
}

}  // namespace

bool createReportFile(ReportFile *file, const char *reportPath) {
    // Still there: it could not be moved aside, and is not overwritten.
    if (access(reportPath, F_OK) == 0) {
        errno = EEXIST;
        return false;
    }
    if (!namePartFile(file->partPath, reportPath)) {
        errno = ENAMETOOLONG;
        return false;
    }
    DescriptorGuard fd(openPart(file->partPath));
    if (fd.get() < 0) return false;
    file->stream.reset(fdopen(fd.get(), "w"));
    if (file->stream) {
        static_cast<void>(fd.release());
        return true;
    }
    const int reason = errno;
    static_cast<void>(unlink(file->partPath));
    errno = reason;
    return false;
}

bool finishReportFile(ReportFile *file, const char *reportPath) {
    std::FILE *stream = file->stream.get();
    // Under its name before it is closed: closing gives the lock up.
    const bool whole = std::fflush(stream) == 0 && std::ferror(stream) == 0 &&
                       fsync(fileno(stream)) == 0 && std::rename(file->partPath, reportPath) == 0;
    if (whole) {
        file->stream.reset();
        syncFolder(reportPath);
        return true;
    }
    const int reason = errno;
    dropReportFile(file);
    errno = reason;
    return false;
}

void dropReportFile(ReportFile *file) {
    static_cast<void>(unlink(file->partPath));  // while the lock is held
    file->stream.reset();
}

void sweepReportFiles(const char *directory) {
    static_cast<void>(purgeDirFiles(directory, isPartFile, misc_alphasort, 0));
}
