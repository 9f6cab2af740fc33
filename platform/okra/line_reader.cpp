// SPDX-License-Identifier: MIT
#include "okra/line_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace {

constexpr std::size_t PIECE = std::size_t{64} * 1024;
constexpr std::size_t BLOCK_MAX = LINE_MAX_LENGTH + 2;  // and CR LF

// Moves what is left to the front of the block and reads on behind it. LINE_END at the file's end.
LineResult readPiece(LineReader *reader) {
    const std::size_t left = reader->end - reader->begin;
    if (left == BLOCK_MAX) return LINE_TOO_LONG;
    if (!reader->block.reserve(std::clamp(2 * left, PIECE, BLOCK_MAX))) return LINE_NO_MEMORY;
    char *bytes = reader->block.bytes.get();
    if (reader->begin > 0) std::memmove(bytes, bytes + reader->begin, left);
    reader->begin = 0;
    reader->end = left;

    ssize_t got = 0;
    do {
        got = pread(reader->fd, bytes + left, reader->block.size - left, reader->offset);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return LINE_NOT_READ;
    reader->end += static_cast<std::size_t>(got);
    reader->offset += got;
    return got == 0 ? LINE_END : LINE_READ;
}

}  // namespace

bool GrowingBlock::reserve(std::size_t need) {
    if (need <= size) return true;
    char *grown = static_cast<char *>(std::realloc(bytes.get(), need));
    if (grown == nullptr) return false;
    static_cast<void>(bytes.release());
    bytes.reset(grown);
    size = need;
    return true;
}

LineResult readLine(LineReader *reader, std::string_view *line) {
    std::size_t searched = 0;  // bytes from `begin` on known to hold no LF
    for (;;) {
        const char *start = reader->block.bytes.get() + reader->begin;
        const std::size_t left = reader->end - reader->begin;
        const void *lf =
            left > searched ? std::memchr(start + searched, '\n', left - searched) : nullptr;
        std::size_t length = left;
        if (lf != nullptr) {
            length = static_cast<std::size_t>(static_cast<const char *>(lf) - start);
            reader->begin += length + 1;
        } else {
            searched = left;
            const LineResult result = readPiece(reader);
            if (result == LINE_READ) continue;
            if (result != LINE_END || left == 0) return result;
            start = reader->block.bytes.get() + reader->begin;
            reader->begin = reader->end;
        }
        ++reader->lineNumber;
        if (length > 0 && start[length - 1] == '\r') --length;
        *line = {start, length};
        return LINE_READ;
    }
}
