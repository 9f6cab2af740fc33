// SPDX-License-Identifier: MIT
// A directory of a test's own, removed with everything in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

class TempDir {
public:
    TempDir() {
        char name[] = "/tmp/vornXXXXXX";  // short: paths of the service are cut at 63 characters
        path_ = mkdtemp(name);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    [[nodiscard]] const std::string &path() const { return path_; }
    [[nodiscard]] std::string path(std::string_view name) const {
        return path_ + "/" + std::string(name);
    }

    // Writes a file, and the folders above it; returns its path.
    std::string write(std::string_view name, std::string_view content) const {
        const std::string file = path(name);
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }
    [[nodiscard]] std::string read(std::string_view name) const {
        std::ostringstream content;
        content << std::ifstream(path(name), std::ios::binary).rdbuf();
        return content.str();
    }
    // The names in a folder, in order, with a blank between them.
    [[nodiscard]] std::string files(std::string_view name) const {
        std::set<std::string> names;
        std::error_code missing;
        for (const auto &entry : std::filesystem::directory_iterator(path(name), missing))
            names.insert(entry.path().filename());
        std::string list;
        for (const std::string &entry : names) list += (list.empty() ? "" : " ") + entry;
        return list;
    }
    [[nodiscard]] bool exists(std::string_view name) const {
        return std::filesystem::exists(path(name));
    }
    void makeDir(std::string_view name) const { std::filesystem::create_directories(path(name)); }

private:
    std::string path_;
};
