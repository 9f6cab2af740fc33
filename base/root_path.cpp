// SPDX-License-Identifier: MIT
#include "base/root_path.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::size_t FIXED_PATH_MAX = 64;  // more than any that is put behind the root

// Lives as long as the process: threads that are never joined still read it at the end.
struct Root {
    char path[ROOTED_PATH_SIZE - FIXED_PATH_MAX]{};
    bool isTooLong = false;

    Root() {
        const char *value = std::getenv("VORN_ROOT");
        if (value == nullptr) return;
        std::string_view text = value;
        // Without the slashes at its end; a root of slashes alone is the empty one.
        text = text.substr(0, text.find_last_not_of('/') + 1);
        isTooLong = text.size() >= sizeof path;
        if (!isTooLong) text.copy(path, text.size());
    }
};

// The root; the environment is read once.
const Root &readRoot() {
    static const Root root;
    return root;
}

}  // namespace

int rootedPath(char (&path)[ROOTED_PATH_SIZE], const char *format, ...) {
    const Root &root = readRoot();
    const auto used = static_cast<std::size_t>(std::snprintf(path, sizeof path, "%s", root.path));
    int length = -1;
    if (!root.isTooLong) {
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
