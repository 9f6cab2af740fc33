// SPDX-License-Identifier: MIT
// The records and result codes of the PDF writer. The writer makes PDF 1.2 documents of text lines
// in the standard Type 1 fonts, straight onto a stream; it keeps nothing of a page that is written.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pdf/pdf_sink.h"

// Page geometry where the caller gives 0, in points.
constexpr std::int32_t PDF_DEFAULT_WIDTH = 600;
constexpr std::int32_t PDF_DEFAULT_HEIGHT = 848;
constexpr std::int32_t PDF_DEFAULT_MARGIN = 40;

constexpr std::int32_t PDF_MAX_FONTS = 14;  // as many as there are standard fonts
constexpr std::size_t PDF_FONT_NAME_SIZE = 32;

struct PdfDocInfo {
    char author[64];
    char creator[64];
    char producer[64];
    char subject[64];
    std::int32_t pageWidth;   // points; 0: the default
    std::int32_t pageHeight;  // points; 0: the default
    std::int32_t marginLeft;  // points; 0: the default
    std::int32_t marginTop;   // points; 0: the default
};

enum PdfObjectType : std::uint8_t {
    PDF_FREE_ENTRY = 0,  // object 0, the head of the file format's list of free objects
    PDF_CONTENT = 1,     // what a page shows
    PDF_LENGTH = 2,      // the length of a page's content
    PDF_PAGE = 3,
    PDF_PAGE_TREE = 4,
    PDF_CATALOG = 5,
    PDF_PROC_SET = 6,
    PDF_FONT = 7,
    PDF_ENCODING = 8,
    PDF_INFO = 9,
};

// One object of the document. A document of any size costs this much memory an object.
struct PdfObject {
    std::int32_t offset;   // of the object's first line in the stream
    std::uint16_t number;  // object number
    std::uint8_t type;     // PdfObjectType
};
static_assert(sizeof(PdfObject) == 8);

enum PdfFlag : std::uint32_t {
    PDF_IN_TEXT = 1,       // inside a text object, between BT and ET
    PDF_FONT_CHANGED = 2,  // font and size must be set before the next text
    PDF_PAGE_OPEN = 4,
};

// One document. The caller owns the memory; pdf_begin fills it.
struct PdfDocument {
    PdfDocInfo info;
    PdfSink out;
    std::uint32_t flags;     // PdfFlag
    std::int32_t pageCount;  // pages begun so far

    PdfObject *objects;  // in ascending order of their numbers
    std::size_t objectCount;
    std::size_t objectRoom;    // entries that fit before the table grows
    std::size_t denseObjects;  // entries 0 to denseObjects - 1 have their index as number

    std::int32_t streamObject;  // number of the open content stream, 0: none is open
    std::int32_t streamStart;   // offset of its first byte of data
    std::int32_t xrefOffset;    // offset of the cross-reference table, once written

    char fonts[PDF_MAX_FONTS][PDF_FONT_NAME_SIZE];  // in order of first use
    std::int32_t fontCount;
    std::int32_t currentFont;  // index into fonts
    std::int32_t fontSize;     // points; the distance of two lines too

    std::int32_t cursorX;        // where the text position is, from the page's left edge
    std::int32_t cursorY;        // and from its lower edge
    std::int32_t lineY;          // baseline of the last line on the page
    std::int32_t pendingHeight;  // asked for, and not yet taken from lineY
};
