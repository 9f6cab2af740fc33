// SPDX-License-Identifier: MIT
// Blocks, numbers, strings and names of a PDF document.
#include "pdf/pdf_sink.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

// Escaping makes at most four bytes of one, so a piece of this size always fits into the block.
constexpr std::size_t PIECE_SIZE = 1024;
constexpr std::size_t ESCAPED_SIZE = 4;
static_assert(PIECE_SIZE * ESCAPED_SIZE <= PDF_BLOCK_SIZE);

// The block never holds bytes that would lie beyond the limit.
std::uint32_t roomLeft(const PdfSink *sink) {
    const std::int32_t left = std::max(sink->limit - sink->flushed, 0);
    return std::min(static_cast<std::uint32_t>(left), PDF_BLOCK_SIZE);
}

// Makes `size` bytes of room (at most a block); false when the document has failed.
bool makeRoom(PdfSink *sink, std::size_t size) {
    if (sink->room - sink->used >= size) return true;
    if (pdfFlush(sink) != PDF_OK) return false;
    return sink->room >= size || pdfFail(sink, PDF_TOO_LONG) == PDF_OK;
}

void putNumber(PdfSink *sink, std::int64_t number, std::size_t width) {
    char digits[24];
    const char *end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    const auto length = static_cast<std::size_t>(end - digits);
    for (std::size_t i = length; i < width; ++i) pdfPut(sink, "0");
    pdfPut(sink, {digits, length});
}

// Bytes that end or change a string when they stand in it as they are. A reader turns CR into LF
// and may treat other control characters in its own way.
constexpr bool isPlain(unsigned char byte) {
    return byte != '(' && byte != ')' && byte != '\\' && (byte >= 0x20 || byte == '\n');
}

// Writes one byte of a string; returns the place behind it.
char *escapeByte(char *to, char byte) {
    const auto code = static_cast<unsigned char>(byte);
    if (!isPlain(code)) {
        *to++ = '\\';
        if (code < 0x20) {
            *to++ = '0';
            *to++ = static_cast<char>('0' + (code >> 3));
            byte = static_cast<char>('0' + (code & 7));
        }
    }
    *to++ = byte;
    return to;
}

// True when one of eight bytes is "(", ")", "\" or a control character, LF among them: most of a
// report's text is copied eight bytes at a time.
bool mayNeedEscape(std::uint64_t bytes) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    constexpr std::uint64_t tops = 0x8080808080808080;
    // A byte below 128 gets its top bit set by a subtraction when it is the smaller number. A
    // borrow from the byte below can set it too, which costs time only.
    const std::uint64_t parentheses = (bytes | ones) ^ (ones * ')');  // 0 for both
    const std::uint64_t backslashes = bytes ^ (ones * '\\');
    const std::uint64_t found = (parentheses - ones) | (backslashes - ones) | (bytes - ones * 0x20);
    return (found & ~bytes & tops) != 0;
}

char *escapePiece(char *to, std::string_view text) {
    const char *from = text.data();
    const char *end = from + text.size();
    for (std::uint64_t bytes = 0; end - from >= 8; from += 8) {
        std::memcpy(&bytes, from, 8);
        if (mayNeedEscape(bytes)) {
            for (int i = 0; i < 8; ++i) to = escapeByte(to, from[i]);
        } else {
            std::memcpy(to, &bytes, 8);
            to += 8;
        }
    }
    for (; from < end; ++from) to = escapeByte(to, *from);
    return to;
}

// Bytes that stand for themselves in a name.
constexpr bool isNameByte(unsigned char byte) {
    return byte > ' ' && byte < 0x7F &&
           std::string_view("()<>[]{}/%#").find(static_cast<char>(byte)) == std::string_view::npos;
}

}  // namespace

void pdfOpenSink(PdfSink *sink, std::FILE *stream) {
    sink->stream = stream;
    sink->error = PDF_OK;
    sink->systemError = 0;
    sink->flushed = 0;
    sink->used = 0;
    sink->limit = std::numeric_limits<std::int32_t>::max();
    sink->room = roomLeft(sink);
}

std::int32_t pdfOffset(const PdfSink *sink) {
    return sink->flushed + static_cast<std::int32_t>(sink->used);
}

int pdfFail(PdfSink *sink, int error) {
    if (sink->error != PDF_OK) return sink->error;
    if (error == PDF_WRITE_FAILED) sink->systemError = errno;
    return sink->error = error;
}

const char *pdfReason(const PdfSink *sink, int error) {
    // By the code's distance from 0.
    static constexpr const char *texts[] = {
        "no failure", "no such object",     "not all was written", "no memory",
        "too long",   "more than 14 fonts", "a stream is open",    "too many objects",
    };
    static_assert(std::size(texts) == 1 - PDF_TOO_MANY_OBJECTS);
    if (error == PDF_WRITE_FAILED && sink->systemError != 0)
        return std::strerror(sink->systemError);
    return error <= 0 && error >= PDF_TOO_MANY_OBJECTS ? texts[-error] : "unknown failure";
}

int pdfFlush(PdfSink *sink) {
    if (sink->error != PDF_OK) return sink->error;
    if (std::fwrite(sink->block, 1, sink->used, sink->stream) != sink->used)
        return pdfFail(sink, PDF_WRITE_FAILED);
    sink->flushed += static_cast<std::int32_t>(sink->used);
    sink->used = 0;
    sink->room = roomLeft(sink);
    return PDF_OK;
}

void pdfPutPieces(PdfSink *sink, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, PIECE_SIZE);
        if (!makeRoom(sink, piece.size())) return;
        std::memcpy(sink->block + sink->used, piece.data(), piece.size());
        sink->used += static_cast<std::uint32_t>(piece.size());
        bytes.remove_prefix(piece.size());
    }
}

void pdfPrint(PdfSink *sink, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    for (const char *percent; (percent = std::strchr(format, '%')) != nullptr; ++format) {
        pdfPut(sink, {format, static_cast<std::size_t>(percent - format)});
        format = percent + 1;
        std::size_t width = 0;
        for (; *format >= '0' && *format <= '9'; ++format)
            width = width * 10 + static_cast<std::size_t>(*format - '0');
        if (*format == 'c') {
            const char letter = static_cast<char>(va_arg(args, int));
            pdfPut(sink, {&letter, 1});
            continue;
        }
        std::int64_t number = 0;
        if (*format == 'd') number = va_arg(args, int);
        if (*format == 'u') number = va_arg(args, unsigned);
        if (*format == 'l') {
            number = va_arg(args, long);
            ++format;
        }
        putNumber(sink, number, width);
    }
    va_end(args);
    pdfPut(sink, format);
}

void pdfPutString(PdfSink *sink, std::string_view text) {
    pdfPut(sink, "(");
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, PIECE_SIZE);
        if (!makeRoom(sink, piece.size() * ESCAPED_SIZE)) return;
        const char *end = escapePiece(sink->block + sink->used, piece);
        sink->used = static_cast<std::uint32_t>(end - sink->block);
        text.remove_prefix(piece.size());
    }
    pdfPut(sink, ")");
}

void pdfPutName(PdfSink *sink, std::string_view name) {
    constexpr char digits[] = "0123456789ABCDEF";
    pdfPut(sink, "/");
    for (const char byte : name) {
        const auto code = static_cast<unsigned char>(byte);
        const char escaped[] = {'#', digits[code >> 4], digits[code & 15]};
        pdfPut(sink, isNameByte(code) ? std::string_view(&byte, 1)
                                      : std::string_view(escaped, sizeof escaped));
    }
}
