// SPDX-License-Identifier: MIT
// The text report. A row is made in one buffer and goes out in one write.
#include "output/text_output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "output/c_format.h"
#include "output/dump_backend.h"
#include "output/row_format.h"
#include "output/row_hints.h"
#include "pdf/utf8.h"
#include "results/report_findings.h"

namespace {

constexpr std::size_t VALUE_TEXT_MAX = VALUE_TEXT_SIZE - 1;
constexpr std::size_t LINE_SIZE = ROW_MAX_VALUES * VALUE_TEXT_SIZE * CFORMAT_MAX_BYTES + 3;

std::FILE *streamOf(void *state) {
    return static_cast<std::FILE *>(state);
}

// Of the report that this thread makes; a stream may be a pipe, which does not know.
thread_local std::size_t written;

int writeAll(std::FILE *stream, const char *bytes, std::size_t length) {
    if (length > REPORT_MAX_BYTES - written) {
        tellFinding(TELL_FREE_ERROR, "Error writing text report: more than %d MiB.",
                    REPORT_MAX_BYTES >> 20);
        return DUMP_WRITE_FAILED;
    }
    written += length;
    if (std::fwrite(bytes, 1, length, stream) == length) return DUMP_OK;
    tellFinding(TELL_FREE_ERROR, "Error writing text report: %s", std::strerror(errno));
    return DUMP_WRITE_FAILED;
}

int writeBlankLines(void *state, const TemplateSection *section, std::int32_t count) {
    if (section->enabled != 1) return DUMP_OK;
    // Templates may ask for as many as fit: one by one they would take seconds.
    constexpr char ENDS[] = "\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\n";
    constexpr auto LINES = static_cast<std::int32_t>(sizeof ENDS / 2);
    int result = DUMP_OK;
    for (; count > 0 && result == DUMP_OK; count -= LINES) {
        const auto lines = static_cast<std::size_t>(std::min(count, LINES));
        result = writeAll(streamOf(state), ENDS, 2 * lines);
    }
    return result;
}

std::size_t printWide(char *out, std::size_t room, std::string_view piece, const ItemValue *value) {
    if (value->type == VORN_TYPE_NONE)
        return printCFormatAs(out, room, CFORMAT_CHARACTERS, piece, "s", value);
    if (value->type == VORN_TYPE_STRING)
        return printCFormatAs(out, room, CFORMAT_CHARACTERS, piece, "ls", value);
    return printCFormat(out, room, CFORMAT_CHARACTERS, piece, value);
}

// The same by a piece of a row's cstyle.
std::size_t printRowValue(char *out, std::size_t room, const RowPiece *piece,
                          const ItemValue *value) {
    const bool isText = value->type == VORN_TYPE_NONE || value->type == VORN_TYPE_STRING;
    if (isText && !piece->isText) return printWide(out, room, piece->text, value);
    return printCFormatPiece(out, room, CFORMAT_CHARACTERS, &piece->piece, value);
}

}  // namespace

int dumpTextInit(void **state, std::FILE *stream) {
    *state = stream;
    written = 0;
    if (utf8_fencode(stream, U'\uFEFF') == 0) return DUMP_OK;
    tellFinding(TELL_FREE_ERROR, "Error writing text report: %s", std::strerror(errno));
    return DUMP_WRITE_FAILED;
}

int dumpTextOutputStyle(void * /*stream*/, const OutputStyle * /*style*/) {
    return DUMP_OK;
}

int dumpTextFree(void * /*stream*/) {
    return DUMP_OK;
}

int dumpTextSectionHeader(void *stream, const TemplateSection *section) {
    return writeBlankLines(stream, section, section->top);
}

int dumpTextSectionFooter(void *stream, const TemplateSection *section) {
    return writeBlankLines(stream, section, section->bottom);
}

int dumpTextRow(void *stream, const ReportRow *row) {
    RowFormat unkept;
    const RowFormat *format = readRowFormat(row, &unkept);
    if (format == nullptr) return DUMP_ROW_MISMATCH;
    const bool hints = wantsHints();
    if (hints) hintConversions(row, format);
    // By one character more a check sees what is cut.
    const std::size_t room = VALUE_TEXT_MAX + (hints ? 1 : 0);
    char line[LINE_SIZE];
    std::size_t length = 0;
    for (std::int32_t i = 0; i < row->count; ++i) {
        const std::size_t printed =
            printRowValue(line + length, room, &format->pieces[i], &row->values[i]);
        if (hints) hintCutValue(i, &row->values[i], {line + length, printed});
        length += printed;
    }
    line[length++] = '\r';
    line[length++] = '\n';
    return writeAll(streamOf(stream), line, length);
}

int dumpTextWFormatVal(char *out, std::size_t outSize, const char *piece, const ItemValue *value) {
    printWide(out, outSize - 1, piece, value);
    return DUMP_OK;
}

int dumpTextFormatVal(char *out, std::size_t outSize, const char *piece, const ItemValue *value) {
    if (value->type == VORN_TYPE_NONE)
        printCFormatAs(out, outSize - 1, CFORMAT_BYTES, piece, "s", value);
    else
        printCFormat(out, outSize - 1, CFORMAT_BYTES, piece, value);
    return DUMP_OK;
}
