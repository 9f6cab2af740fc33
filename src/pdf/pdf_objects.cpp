// SPDX-License-Identifier: MIT
// Object numbers, offsets, cross-reference table.
#include "pdf/pdf_objects.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr std::int32_t MAX_OBJECT_NUMBER = std::numeric_limits<std::uint16_t>::max();
constexpr std::size_t FIRST_ROOM = 64;
constexpr std::int32_t FREE_GENERATION = 65535;  // of object 0, which no object replaces

// The index of the first entry whose number is not below `number`.
std::size_t findEntry(const PdfDocument *doc, std::int32_t number) {
    if (number <= 0) return 0;
    const PdfObject *first = doc->objects;
    const PdfObject *entry = std::lower_bound(
        first, first + doc->objectCount, number,
        [](const PdfObject &object, std::int32_t wanted) { return object.number < wanted; });
    return static_cast<std::size_t>(entry - first);
}

bool makeRoomForEntry(PdfDocument *doc) {
    if (doc->objectCount < doc->objectRoom) return true;
    const std::size_t room = std::max(FIRST_ROOM, doc->objectRoom * 2);
    void *grown = std::realloc(doc->objects, room * sizeof(PdfObject));
    if (grown == nullptr) return false;
    doc->objects = static_cast<PdfObject *>(grown);
    doc->objectRoom = room;
    return true;
}

}  // namespace

std::int32_t pdfAllocObjectByID(PdfDocument *doc, PdfObjectType type, std::int32_t wanted) {
    // Below denseObjects all numbers are taken, so the usual search ends where it begins.
    const auto dense = static_cast<std::int32_t>(doc->denseObjects);
    std::int32_t number = std::max(wanted, dense);
    std::size_t index = number == dense ? doc->denseObjects : findEntry(doc, number);
    for (; index < doc->objectCount && doc->objects[index].number == number; ++index) ++number;

    if (number > MAX_OBJECT_NUMBER) return pdfFail(&doc->out, PDF_TOO_MANY_OBJECTS);
    if (!makeRoomForEntry(doc)) return pdfFail(&doc->out, PDF_NO_MEMORY);
    PdfObject *entry = doc->objects + index;
    std::memmove(entry + 1, entry, (doc->objectCount - index) * sizeof(PdfObject));
    *entry = {pdfOffset(&doc->out), static_cast<std::uint16_t>(number), type};
    ++doc->objectCount;
    while (doc->denseObjects < doc->objectCount &&
           doc->objects[doc->denseObjects].number == doc->denseObjects)
        ++doc->denseObjects;
    return number;
}

std::int32_t pdfAllocObject(PdfDocument *doc, PdfObjectType type) {
    return pdfAllocObjectByID(doc, type, 1);
}

std::int32_t pdfBeginObject(PdfDocument *doc, PdfObjectType type) {
    const std::int32_t number = pdfAllocObject(doc, type);
    if (number > 0) pdfPrint(&doc->out, "%d 0 obj\n", number);
    return number;
}

void pdfEndObject(PdfDocument *doc) {
    pdfPut(&doc->out, "endobj\n");
}

int pdfMarkObjectOffs(PdfDocument *doc, std::int32_t number) {
    const std::size_t index = findEntry(doc, number);
    if (index == doc->objectCount || doc->objects[index].number != number) return PDF_NOT_FOUND;
    doc->objects[index].offset = pdfOffset(&doc->out);
    return PDF_OK;
}

std::int32_t pdfGetObjectByType(const PdfDocument *doc, PdfObjectType type) {
    return pdfGetNextObjectByType(doc, type, -1);
}

std::int32_t pdfGetNextObjectByType(const PdfDocument *doc, PdfObjectType type,
                                    std::int32_t after) {
    for (std::size_t i = findEntry(doc, after + 1); i < doc->objectCount; ++i)
        if (doc->objects[i].type == type) return doc->objects[i].number;
    return PDF_NOT_FOUND;
}

void pdfWriteXrefTable(PdfDocument *doc) {
    doc->xrefOffset = pdfOffset(&doc->out);
    pdfPut(&doc->out, "xref\n");
    for (std::size_t first = 0, end = 0; first < doc->objectCount; first = end) {
        for (end = first + 1; end < doc->objectCount; ++end)
            if (doc->objects[end].number != doc->objects[end - 1].number + 1) break;
        pdfPrint(&doc->out, "%d %d\n", doc->objects[first].number, static_cast<int>(end - first));
        for (std::size_t i = first; i < end; ++i) {
            const PdfObject &object = doc->objects[i];
            const bool isFree = object.type == PDF_FREE_ENTRY;
            pdfPrint(&doc->out, "%010ld %05d %c \n", static_cast<long>(object.offset),
                     isFree ? FREE_GENERATION : 0, isFree ? 'f' : 'n');
        }
    }
}

void pdfFreeObjects(PdfDocument *doc) {
    std::free(doc->objects);
    doc->objects = nullptr;
    doc->objectCount = 0;
    doc->objectRoom = 0;
    doc->denseObjects = 0;
}
