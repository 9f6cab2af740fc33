// SPDX-License-Identifier: MIT
#include "host/text_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

struct Utf8Lead {
    unsigned char first;
    unsigned char last;
    unsigned char low;   // bounds of the second byte: they rule out long forms, surrogates and
    unsigned char high;  // what lies beyond U+10FFFF
    std::size_t length;
};

// Unicode, table 3-7: well-formed UTF-8 byte sequences.
constexpr Utf8Lead leads[] = {
    {0x01, 0x7F, 0, 0, 1},       {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// The length of the character at the front of the text, 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (const Utf8Lead &lead : leads) {
        if (byte(0) < lead.first || byte(0) > lead.last) continue;
        if (lead.length > text.size()) return 0;
        if (lead.length > 1 && (byte(1) < lead.low || byte(1) > lead.high)) return 0;
        for (std::size_t i = 2; i < lead.length; ++i)
            if ((byte(i) & 0xC0) != 0x80) return 0;
        return lead.length;
    }
    return 0;
}

}  // namespace

bool host::isText(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = characterLength(bytes);
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

host::FileGuard host::openText(const char *path) {
    DescriptorGuard fd(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (fd.get() < 0 || fstat(fd.get(), &status) != 0) return nullptr;
    if (!S_ISREG(status.st_mode)) {
        fd.reset();
        errno = S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
        return nullptr;
    }
    FileGuard file(fdopen(fd.get(), "r"));
    if (file) static_cast<void>(fd.release());
    return file;
}

bool host::LineReader::grow() {
    const std::size_t wanted = std::min(std::max<std::size_t>(256, 2 * capacity_), MAX_LINE + 1);
    void *block = std::realloc(buffer_.get(), wanted);
    if (block == nullptr) return false;
    static_cast<void>(buffer_.release());
    buffer_.reset(static_cast<char *>(block));
    capacity_ = wanted;
    return true;
}

host::LineResult host::LineReader::next(std::string_view *line) {
    std::size_t length = 0;
    int c = getc_unlocked(file_);
    if (c == EOF) return std::ferror(file_) != 0 ? LINE_FAILED : LINE_END;
    ++number_;
    for (; c != EOF && c != '\n'; c = getc_unlocked(file_)) {
        if (length == MAX_LINE) return LINE_TOO_LONG;
        if (length == capacity_ && !grow()) return LINE_NO_MEMORY;
        buffer_.get()[length++] = static_cast<char>(c);
    }
    if (std::ferror(file_) != 0) return LINE_FAILED;

    std::string_view text(buffer_.get(), length);
    if (c == '\n' && text.ends_with('\r')) text.remove_suffix(1);
    if (number_ == 1 && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (!isText(text)) return LINE_NOT_TEXT;
    *line = text;
    return LINE_READ;
}

const char *host::lineFailure(LineResult result) {
    switch (result) {
        case LINE_READ:
        case LINE_END:
            return "no failure";
        case LINE_TOO_LONG:
            return "the line is too long";
        case LINE_NOT_TEXT:
            return "the line is no UTF-8 text";
        case LINE_NO_MEMORY:
            return "out of memory";
        case LINE_FAILED:
            break;
    }
    return std::strerror(errno);
}
