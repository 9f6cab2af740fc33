// SPDX-License-Identifier: MIT
#include "util/root_path.h"

#include <climits>
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

}  // namespace

const char *rootPath() {
    static const Root root;
    return root.path;
}

bool withRoot(char *out, std::size_t size, const char *path) {
    const int length = std::snprintf(out, size, "%s%s", rootPath(), path);
    return length >= 0 && static_cast<std::size_t>(length) < size;
}
