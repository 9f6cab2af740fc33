// SPDX-License-Identifier: MIT
#include "base/open_file.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

DescriptorGuard openRegular(const char *path) {
    // Without O_NONBLOCK the open of a FIFO waits for a writer.
    DescriptorGuard file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.get() < 0) return file;
    struct stat status {};
    int error = 0;
    if (fstat(file.get(), &status) != 0)
        error = errno;
    else if (!S_ISREG(status.st_mode))
        error = S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
    if (error == 0) return file;
    file.reset();
    errno = error;
    return file;
}

FileGuard openForReading(const char *path) {
    DescriptorGuard descriptor = openRegular(path);
    if (descriptor.get() < 0) return nullptr;
    FileGuard file(fdopen(descriptor.get(), "r"));
    if (file) static_cast<void>(descriptor.release());
    return file;
}
