// SPDX-License-Identifier: MIT
#include "base/root_path.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

// Lives as long as the process: threads that are never joined still read it at the end.
struct Root {
    char path[PATH_MAX]{};

    Root() {
        const char *value = std::getenv("VORN_ROOT");
        if (value == nullptr) return;
        const std::string_view text = value;
        // Without the slashes at its end; a root of slashes alone is the empty one.
        const std::size_t length = text.find_last_not_of('/') + 1;
        text.substr(0, length).copy(path, sizeof path - 1);
    }
};

// The root, without a slash at its end; the environment is read once.
const char *rootPath() {
    static const Root root;
    return root.path;
}

}  // namespace

int rootedPath(char (&path)[ROOTED_PATH_SIZE], const char *format, ...) {
    const std::size_t used =
        static_cast<std::size_t>(std::snprintf(path, sizeof path, "%s", rootPath()));
    int length = -1;
    if (used < sizeof path) {
        va_list arguments;
        va_start(arguments, format);
// The format is the caller's: the compiler checks it there, by the attribute in the header.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        length = std::vsnprintf(path + used, sizeof path - used, format, arguments);
#pragma GCC diagnostic pop
        va_end(arguments);
    }
    if (length >= 0 && static_cast<std::size_t>(length) < sizeof path - used) return 0;
    path[0] = '\0';
    return ENAMETOOLONG;
}
