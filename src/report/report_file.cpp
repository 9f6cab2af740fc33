// SPDX-License-Identifier: MIT
#include "report/report_file.h"

#include <cerrno>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
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

// Makes the entry of a folder last over a power failure.
void syncFolder(const char *path) {
    char folder[PATH_MAX];
    const std::size_t length = folderLength(path);
    std::snprintf(folder, sizeof folder, "%.*s", static_cast<int>(length), path);
    const DescriptorGuard fd(open(length > 0 ? folder : ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0) static_cast<void>(fsync(fd.get()));
}

}  // namespace

bool createReportFile(ReportFile *file, const char *reportPath) {
    const auto folder = static_cast<int>(folderLength(reportPath));
    const int length = std::snprintf(file->partPath, sizeof file->partPath, "%.*s.%s%s", folder,
                                     reportPath, reportPath + folder, PART_SUFFIX.data());
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof file->partPath) {
        errno = ENAMETOOLONG;
        return false;
    }
    // Not opened but replaced: whatever stands there, a link or a FIFO, is not written to.
    static_cast<void>(unlink(file->partPath));
    DescriptorGuard fd(
        open(file->partPath, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
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
    bool whole = std::fflush(stream) == 0 && std::ferror(stream) == 0 && fsync(fileno(stream)) == 0;
    int reason = errno;
    if (!closeWritten(&file->stream) && whole) {
        whole = false;
        reason = errno;
    }
    if (whole && std::rename(file->partPath, reportPath) != 0) {
        whole = false;
        reason = errno;
    }
    if (whole) {
        syncFolder(reportPath);
        return true;
    }
    static_cast<void>(unlink(file->partPath));
    errno = reason;
    return false;
}

void dropReportFile(ReportFile *file) {
    file->stream.reset();
    static_cast<void>(unlink(file->partPath));
}

void sweepReportFiles(const char *directory) {
    static_cast<void>(purgeDirFiles(directory, isPartFile, misc_alphasort, 0));
}
