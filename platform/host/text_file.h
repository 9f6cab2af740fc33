// SPDX-License-Identifier: MIT
// Reading of text files that somebody wrote by hand: opening never waits, a line may be long but
// not endless, and what is no UTF-8 text is told from what is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "host/guards.h"

namespace host {

// Opens a regular file for reading. Null, with errno set, for anything else: EISDIR for a folder,
// ENOTSUP for a FIFO or a device, which would keep the reader waiting.
FileGuard openText(const char *path);

// True for well-formed UTF-8 without a NUL.
bool isText(std::string_view bytes);

constexpr std::size_t MAX_LINE = 16u << 20;  // bytes; far more than a register's array needs

enum LineResult : int {
    LINE_READ = 0,
    LINE_END = 1,        // no further line
    LINE_TOO_LONG = -1,  // more than MAX_LINE bytes
    LINE_NOT_TEXT = -2,  // a NUL, or no UTF-8
    LINE_NO_MEMORY = -3,
    LINE_FAILED = -4,  // the system could not read; errno tells why
};

class LineReader {
public:
    // The file stays the caller's.
    explicit LineReader(std::FILE *file) : file_(file) {}

    // Reads the next line, without its LF or CR LF and, in the first, without a byte order mark.
    // The text lives until the next call. After anything but LINE_READ the file is read no further.
    LineResult next(std::string_view *line);

    // The number of the line last read, or of the one that failed, from 1.
    [[nodiscard]] std::uint32_t number() const { return number_; }

private:
    bool grow();

    std::FILE *file_;
    HeapGuard<char> buffer_;
    std::size_t capacity_ = 0;
    std::uint32_t number_ = 0;
};

// Why a line could not be read, for a message.
const char *lineFailure(LineResult result);

}  // namespace host
