// SPDX-License-Identifier: MIT
// Reads a text file line by line in big pieces. A line stays in the reader's buffer, which grows
// with the longest line up to a limit and never with the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <sys/types.h>

#include "host/guards.h"

// A block from malloc that grows.
struct GrowingBlock {
    host::HeapGuard<char> bytes;
    std::size_t size = 0;

    // Makes room for `need` bytes and keeps what is there; false without memory.
    bool reserve(std::size_t need);
};

enum LineResult { LINE_END, LINE_READ, LINE_TOO_LONG, LINE_NOT_READ, LINE_NO_MEMORY };

// The longest line, without its end: an array of 65535 numbers fits.
constexpr std::size_t LINE_MAX_LENGTH = std::size_t{1} << 20;

struct LineReader {
    int fd = -1;  // the caller's; read from byte 0 on whatever its position is
    std::uint32_t lineNumber = 0;
    GrowingBlock block;
    std::size_t begin = 0;  // the bytes of the block not handed out yet
    std::size_t end = 0;
    off_t offset = 0;  // of the next piece in the file
};

// The next line without LF or CR LF; valid until the next call. A last line needs no end.
// LINE_NOT_READ leaves errno.
LineResult readLine(LineReader *reader, std::string_view *line);
