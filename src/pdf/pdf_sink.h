// SPDX-License-Identifier: MIT
// Where a PDF document goes: collects the bytes in a block before they reach the stream, counts
// them, and remembers the first failure. So every write is checked, and no caller has to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

enum PdfResult : int {
    PDF_OK = 0,
    PDF_NOT_FOUND = -1,         // no such object or font
    PDF_WRITE_FAILED = -2,      // the stream took less than it was given
    PDF_NO_MEMORY = -3,         // the object table could not grow
    PDF_TOO_LONG = -4,          // longer than the sink's limit
    PDF_TOO_MANY_FONTS = -5,    // a fifteenth font; the current one stays
    PDF_STREAM_OPEN = -6,       // a content stream was begun while another was open
    PDF_TOO_MANY_OBJECTS = -7,  // an object number above 65535
};

constexpr std::uint32_t PDF_BLOCK_SIZE = 131072;

struct PdfSink {
    std::FILE *stream;
    int error;             // the first failure, PDF_OK: none; after one the stream gets nothing
    int systemError;       // the errno of PDF_WRITE_FAILED
    std::int32_t limit;    // of bytes in all; 2 GiB is the most that the tables hold
    std::int32_t flushed;  // bytes handed to the stream
    std::uint32_t used;    // bytes in the block
    std::uint32_t room;    // bytes that fit into it; fewer near the limit
    char block[PDF_BLOCK_SIZE];
};

// Starts at offset 0 of an empty stream, which stays the caller's. The limit is the largest.
void pdfOpenSink(PdfSink *sink, std::FILE *stream);

// Bytes written so far: the offset of the next one.
std::int32_t pdfOffset(const PdfSink *sink);

// Notes a failure, unless there was one before; the errno with PDF_WRITE_FAILED. Returns the first.
int pdfFail(PdfSink *sink, int error);

// What went wrong, for a message: the text of a code, of PDF_WRITE_FAILED the system's reason.
const char *pdfReason(const PdfSink *sink, int error);

// Writes bytes that may not fit into the block, or are more than a block.
void pdfPutPieces(PdfSink *sink, std::string_view bytes);

// Writes bytes as they are. Inline, since most are a few bytes long.
inline void pdfPut(PdfSink *sink, std::string_view bytes) {
    if (bytes.size() > sink->room - sink->used) return pdfPutPieces(sink, bytes);
    std::memcpy(sink->block + sink->used, bytes.data(), bytes.size());
    sink->used += static_cast<std::uint32_t>(bytes.size());
}

// Writes a text with numbers in it, the same on every machine and in every locale. Knows %d, %u,
// %ld and %c, and zero-padded widths.
[[gnu::format(printf, 2, 3)]] void pdfPrint(PdfSink *sink, const char *format, ...);

// Writes "(", the text, and ")", so that a reader of the string gets exactly the text. A LF stands
// in it as it is, what would end or change the string is escaped.
void pdfPutString(PdfSink *sink, std::string_view text);

// Writes "/" and a name; bytes that a name must not hold become #xx.
void pdfPutName(PdfSink *sink, std::string_view name);

// Hands the block to the stream, and says how the document stands: PDF_OK or the first failure.
int pdfFlush(PdfSink *sink);
