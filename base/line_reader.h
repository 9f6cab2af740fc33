// SPDX-License-Identifier: MIT
// Reads a text file line by line in big pieces. A line stays in the reader's block, which grows
// with the longest line up to a limit and never with the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <sys/types.h>

#include "base/guards.h"

// The longest line in bytes, without its end: an array of 65535 numbers fits.
constexpr std::size_t TEXT_LINE_MAX = std::size_t{1} << 20;

enum LineResult : int {
    LINE_READ = 0,
    LINE_END = 1,        // no further line
    LINE_TOO_LONG = -1,  // more than TEXT_LINE_MAX bytes
    LINE_NOT_TEXT = -2,  // a NUL, or no UTF-8
    LINE_NO_MEMORY = -3,
    LINE_FAILED = -4,  // the system could not read; errno tells why
};

class LineReader {
public:
    explicit LineReader(int fd = -1) : fd_(fd) {}

    // Sets the file of a reader that has none yet. It stays the caller's, and is read from byte 0
    // on whatever its position is, so that several readers may share it.
    void begin(int fd) { fd_ = fd; }

    // Reads the next line, without its LF or CR LF and, in the first, without a byte order mark; a
    // last line needs no end. The bytes live until the next call. After anything but LINE_READ the
    // file is read no further.
    LineResult next(std::string_view *line);

    // The same for files that hold nothing but text: LINE_NOT_TEXT for other lines.
    LineResult nextText(std::string_view *line);

    // The number of the line last read, or of the one that failed, from 1.
    [[nodiscard]] std::uint32_t number() const { return number_; }

private:
    LineResult fetchLine(std::size_t *length);
    LineResult readPiece();

    int fd_;
    std::uint32_t number_ = 0;
    GrowingBlock block_;
    std::size_t begin_ = 0;  // the bytes of the block not handed out yet
    std::size_t end_ = 0;
    off_t offset_ = 0;  // of the next piece in the file
};

// Why a line could not be read, for a message.
const char *lineFailure(LineResult result);
