// SPDX-License-Identifier: MIT
#include "base/line_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "base/utf8_text.h"

namespace {

constexpr std::size_t PIECE = std::size_t{64} * 1024;
constexpr std::size_t BLOCK_MAX = TEXT_LINE_MAX + 2;  // and CR LF

}  // namespace

// Moves what is left to the front of the block and reads on behind it. LINE_END at the file's end.
LineResult LineReader::readPiece() {
    const std::size_t left = end_ - begin_;
    if (left == BLOCK_MAX) return LINE_TOO_LONG;
    if (!block_.reserve(std::clamp(2 * left, PIECE, BLOCK_MAX))) return LINE_NO_MEMORY;
    char *bytes = block_.bytes.get();
    if (begin_ > 0) std::memmove(bytes, bytes + begin_, left);
    begin_ = 0;
    end_ = left;

    ssize_t got = 0;
    do {
        got = pread(fd_, bytes + left, block_.size - left, offset_);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return LINE_FAILED;
    end_ += static_cast<std::size_t>(got);
    offset_ += got;
    return got == 0 ? LINE_END : LINE_READ;
}

// Brings the next line into the block as a whole; its length counts its end.
LineResult LineReader::fetchLine(std::size_t *length) {
    std::size_t searched = 0;  // bytes from `begin_` on known to hold no LF
    for (;;) {
        const char *start = block_.bytes.get() + begin_;
        *length = end_ - begin_;
        const void *lf =
            *length > searched ? std::memchr(start + searched, '\n', *length - searched) : nullptr;
        if (lf != nullptr) {
            *length = static_cast<std::size_t>(static_cast<const char *>(lf) - start) + 1;
            return LINE_READ;
        }
        searched = *length;
        const LineResult result = readPiece();
        if (result == LINE_END && *length > 0) return LINE_READ;
        if (result != LINE_READ) return result;
    }
}

LineResult LineReader::next(std::string_view *line) {
    std::size_t length = 0;
    const LineResult result = fetchLine(&length);
    if (result == LINE_END) return LINE_END;
    ++number_;
    if (result != LINE_READ) return result;

    std::string_view text(block_.bytes.get() + begin_, length);
    begin_ += length;
    if (text.ends_with('\n')) text.remove_suffix(1);
    if (text.ends_with('\r')) text.remove_suffix(1);
    if (number_ == 1 && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (text.size() > TEXT_LINE_MAX) return LINE_TOO_LONG;
    *line = text;
    return LINE_READ;
}

LineResult LineReader::nextText(std::string_view *line) {
    const LineResult result = next(line);
    return result == LINE_READ && !isUtf8Text(*line) ? LINE_NOT_TEXT : result;
}

const char *lineFailure(LineResult result) {
    switch (result) {
        case LINE_READ:
        case LINE_END:
            return "no failure";
        case LINE_TOO_LONG:
            return "the line is too long";
        case LINE_NOT_TEXT:
            return "the line is no UTF-8 text";
        case LINE_NO_MEMORY:
            return "no memory";
        case LINE_FAILED:
            break;
    }
    return std::strerror(errno);
}
