// SPDX-License-Identifier: MIT
#include "okra/results_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <span>

#include "base/numbers.h"
#include "base/open_file.h"
#include "base/utf8_text.h"
#include "base/words.h"
#include "okra/okra.h"
#include "okra/okra_error.h"
#include "okra/register_types.h"
#include "okra/results_words.h"

namespace {

constexpr std::uint32_t NO_LABEL = 0xFFFFFFFFu;
constexpr std::size_t ELEMENTS_MAX = 65535;  // an array's length has 16 bits
constexpr std::uint32_t REGS_MAX = 65536;    // so has a register's id
constexpr std::size_t QUOTED_MAX = 40;       // characters of a wrong word that a message shows

// A piece of the line for a message: "%.*s" with shown(piece).
int shown(std::string_view piece) {
    return static_cast<int>(std::min(piece.size(), QUOTED_MAX));
}

// Fails with the number of the line read last in front of the reason.
[[gnu::format(printf, 2, 3)]] int failLine(const ResultsReader *reader, const char *format, ...) {
    char reason[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(reason, sizeof reason, format, arguments);
    va_end(arguments);
    return okraFailAt(reader->lines.number(), OKRA_BAD_FILE, "%s", reason);
}

int failMemory(const ResultsReader *reader) {
    return okraFailAt(reader->lines.number(), OKRA_NO_MEMORY, "no memory");
}

// Fails because one of the file's two readers does.
int failRead(const LineReader &lines, LineResult result) {
    const unsigned number = lines.number();
    if (result == LINE_NO_MEMORY) return okraFailAt(number, OKRA_NO_MEMORY, "no memory");
    if (result == LINE_FAILED)
        return okraFailAt(number, OKRA_FILE_ERROR, "%s", std::strerror(errno));
    return okraFailAt(number, OKRA_BAD_FILE, "longer than %zu bytes", TEXT_LINE_MAX);
}

// Counts the `reg` lines up to the next `app` line. Lines that break a rule do not matter here: the
// load fails when it comes to them. OKRA_OK, or a code when the file cannot be read.
int countRegs(LineReader *ahead, std::int32_t *count) {
    *count = 0;
    std::string_view line;
    LineResult result = LINE_READ;
    while ((result = ahead->next(&line)) == LINE_READ) {
        const std::size_t start = std::min(line.find_first_not_of(BLANKS), line.size());
        const std::string_view word = line.substr(start, 4);
        const bool ends = word.size() == 3 || (word.size() == 4 && isBlank(word[3]));
        if (!ends) continue;
        if (word.starts_with("app")) break;
        if (word.starts_with("reg")) ++*count;
    }
    if (result == LINE_FAILED || result == LINE_NO_MEMORY) return failRead(*ahead, result);
    return OKRA_OK;
}

template <class T>
NumberResult putNumber(std::string_view text, char *record, std::size_t offset) {
    T value{};
    const NumberResult result = parseNumber(text, &value);
    if (result == NUMBER_OK) putField(record, offset, value);
    return result;
}

NumberResult putScalar(FieldKind kind, std::string_view text, char *record, std::size_t offset) {
    switch (kind) {
        case FIELD_U8:
        case FIELD_BYTES:
            return putNumber<std::uint8_t>(text, record, offset);
        case FIELD_I8:
            return putNumber<std::int8_t>(text, record, offset);
        case FIELD_U16:
        case FIELD_WORDS:
            return putNumber<std::uint16_t>(text, record, offset);
        case FIELD_I16:
            return putNumber<std::int16_t>(text, record, offset);
        case FIELD_U32:
        case FIELD_LONGS:
            return putNumber<std::uint32_t>(text, record, offset);
        case FIELD_I32:
            return putNumber<std::int32_t>(text, record, offset);
        case FIELD_U64:
            return putNumber<std::uint64_t>(text, record, offset);
        case FIELD_F32:
            return putNumber<float>(text, record, offset);
        case FIELD_F64:
            return putNumber<double>(text, record, offset);
        case FIELD_LABELS:
            break;
    }
    return NUMBER_BROKEN;
}

int failNumber(const ResultsReader *reader, NumberResult result, std::string_view attribute,
               std::string_view text) {
    return failLine(reader, "'%.*s' of attribute '%.*s' is %s", shown(text), text.data(),
                    shown(attribute), attribute.data(),
                    result == NUMBER_BROKEN ? "no number" : "out of range");
}

// Stores the elements of an array and their number.
int putElements(ResultsReader *reader, const ResultsField &field, std::string_view text) {
    if (text.empty()) return OKRA_OK;
    const std::size_t count =
        1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), ','));
    if (count > ELEMENTS_MAX)
        return failLine(reader, "more than %zu elements in attribute 'data'", ELEMENTS_MAX);
    const std::size_t width = field.kind == FIELD_BYTES ? 1 : field.kind == FIELD_WORDS ? 2 : 4;
    if (!reader->value.reserve(field.offset + count * width)) return failMemory(reader);
    char *record = reader->value.bytes.get();
    putField(record, REG_ARRAY_LENGTH, static_cast<std::uint16_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view element = text.substr(0, std::min(text.find(','), text.size()));
        const NumberResult result =
            putScalar(field.kind, element, record, field.offset + i * width);
        if (result != NUMBER_OK) return failNumber(reader, result, field.name, element);
        text.remove_prefix(std::min(element.size() + 1, text.size()));
    }
    return OKRA_OK;
}

// Splits labels at '|' into label records; entries that no value can name are left out.
int putLabels(ResultsReader *reader, const ResultsText &text) {
    ResultsLabels *labels = &reader->labels;
    // A separator becomes two bytes, NUL and blank; the first blank and the last NUL come on top.
    if (!labels->block.reserve(2 * text.raw.size() + 2)) return failMemory(reader);
    char *out = labels->block.bytes.get();
    std::size_t length = 0;
    std::size_t at = 0;
    for (bool more = true; more && labels->count < RESULTS_LABELS_MAX;) {
        const std::size_t start = length;
        out[length++] = ' ';
        for (; at < text.raw.size() && text.raw[at] != '|'; ++at) {
            if (text.escaped && text.raw[at] == '\\') ++at;
            out[length++] = text.raw[at];
        }
        const bool empty = length == start + 1;
        out[length++] = '\0';
        labels->offsets[labels->count++] = empty ? NO_LABEL : static_cast<std::uint32_t>(start);
        more = at++ < text.raw.size();
    }
    return OKRA_OK;
}

int putAttribute(ResultsReader *reader, const ResultsField &field, const ResultsText &text,
                 void *record) {
    if (field.kind == FIELD_LABELS) return putLabels(reader, text);
    if (field.kind == FIELD_BYTES || field.kind == FIELD_WORDS || field.kind == FIELD_LONGS)
        return putElements(reader, field, text.raw);
    const NumberResult result =
        putScalar(field.kind, text.raw, static_cast<char *>(record), field.offset);
    return result == NUMBER_OK ? static_cast<int>(OKRA_OK)
                               : failNumber(reader, result, field.name, text.raw);
}

// Marks an attribute as seen; false when it was before.
bool firstTime(unsigned *seen, unsigned bit) {
    const bool first = (*seen >> bit & 1u) == 0;
    *seen |= 1u << bit;
    return first;
}

constexpr unsigned INVALID_BIT = 31;  // of the seen attributes; a line knows at most six others

// Reads the attributes behind the names. *seen gets a bit for each by its place in `fields`, and
// INVALID_BIT.
int readAttributes(ResultsReader *reader, std::string_view rest,
                   std::span<const ResultsField> fields, bool isReg, void *record, unsigned *seen) {
    for (;;) {
        std::string_view name;
        bool hasValue = false;
        ResultsText value{};
        const char *reason = "";
        const WordResult word = takeAttribute(&rest, &name, &hasValue, &value, &reason);
        if (word == WORD_NONE) return OKRA_OK;
        if (word == WORD_BROKEN) return failLine(reader, "%s", reason);

        unsigned bit = 0;
        while (bit < fields.size() && fields[bit].name != name) ++bit;
        const bool isInvalid = isReg && name == "invalid";
        if (bit == fields.size() && !isInvalid)
            return failLine(reader, "unknown attribute '%.*s'", shown(name), name.data());
        if (hasValue == isInvalid)
            return failLine(reader, "attribute '%.*s' %s", shown(name), name.data(),
                            isInvalid ? "takes no value" : "without a value");
        if (!firstTime(seen, isInvalid ? INVALID_BIT : bit))
            return failLine(reader, "attribute '%.*s' twice", shown(name), name.data());
        if (isInvalid) {
            putField(record, REG_FLAGS, REG_FLAG_NO_VALUE);
            continue;
        }
        const int result = putAttribute(reader, fields[bit], value, record);
        if (result != OKRA_OK) return result;
        // Elements may have moved the record.
        if (isReg) record = reader->value.bytes.get();
    }
}

// Takes a name of 1 to RESULTS_NAME_MAX bytes; `what` it is the name of.
int takeName(ResultsReader *reader, std::string_view *rest, const char *what,
             char (&out)[RESULTS_NAME_MAX + 1]) {
    ResultsText text{};
    const char *reason = "";
    const WordResult word = takeText(rest, &text, &reason);
    if (word == WORD_BROKEN) return failLine(reader, "%s", reason);
    if (word == WORD_NONE || text.raw.empty()) return failLine(reader, "%s without a name", what);
    char name[2 * RESULTS_NAME_MAX];  // an escaped character takes two
    const std::size_t length = text.raw.size() <= sizeof name ? copyText(text, name) : sizeof name;
    if (length > RESULTS_NAME_MAX)
        return failLine(reader, "the name of %s has more than %zu bytes", what, RESULTS_NAME_MAX);
    std::memcpy(out, name, length);
    out[length] = '\0';
    return OKRA_OK;
}

int readApp(ResultsReader *reader, std::string_view rest) {
    std::memset(reader->app, 0, sizeof reader->app);
    reader->nextId = 0;
    const int counted = countRegs(&reader->ahead, &reader->appLines);
    if (counted != OKRA_OK) return counted;
    const int named = takeName(reader, &rest, "an application", reader->appName);
    if (named != OKRA_OK) return named;
    std::memcpy(reader->app + APP_NAME, reader->appName,
                std::min(std::strlen(reader->appName), APP_NAME_SIZE - 1));
    putField(reader->app, APP_REG_COUNT, reader->appLines);
    putField(reader->app, APP_REG_NAMES, reinterpret_cast<std::uintptr_t>(reader));
    unsigned seen = 0;
    return readAttributes(reader, rest, appFields, false, reader->app, &seen);
}

int readReg(ResultsReader *reader, std::string_view rest) {
    if (reader->appName[0] == '\0') return failLine(reader, "'reg' before any 'app'");
    if (reader->nextId == REGS_MAX)
        return failLine(reader, "more than %u registers in an application",
                        static_cast<unsigned>(REGS_MAX));
    ResultsText word{};
    const char *reason = "";
    const WordResult found = takeText(&rest, &word, &reason);
    if (found == WORD_BROKEN) return failLine(reader, "%s", reason);
    if (found == WORD_NONE) return failLine(reader, "a register without a type");
    reader->type = findRegisterType(word.raw);
    if (reader->type == 0)
        return failLine(reader, "unknown register type '%.*s'", shown(word.raw), word.raw.data());
    const int named = takeName(reader, &rest, "a register", reader->name);
    if (named != OKRA_OK) return named;

    if (!reader->value.reserve(REG_FIXED_SIZE)) return failMemory(reader);
    std::memset(reader->value.bytes.get(), 0, REG_FIXED_SIZE);
    reader->labels.count = 0;
    reader->id = static_cast<std::uint16_t>(reader->nextId++);
    unsigned seen = 0;
    return readAttributes(reader, rest, registerType(reader->type).fields, true,
                          reader->value.bytes.get(), &seen);
}

// Reads the first line, which says what the file is.
int readFormatLine(ResultsReader *reader) {
    std::string_view line;
    const LineResult result = reader->lines.next(&line);
    if (result != LINE_READ && result != LINE_END) return failRead(reader->lines, result);
    ResultsText words[3] = {};
    const char *reason = "";
    std::size_t count = 0;
    while (count < 3 && takeText(&line, &words[count], &reason) == WORD_FOUND) ++count;
    if (count == 2 && words[0].raw == "okra" && words[1].raw == "1") return OKRA_OK;
    return okraFailAt(1, OKRA_BAD_FILE, "the first line is not 'okra 1'");
}

}  // namespace

int resultsOpen(ResultsReader *reader, const char *path) {
    reader->file.reset(openRegular(path).release());
    if (reader->file.get() < 0) return okraFail(OKRA_FILE_ERROR, "%s", std::strerror(errno));
    reader->lines.begin(reader->file.get());
    reader->ahead.begin(reader->file.get());
    const int result = readFormatLine(reader);
    // The second reader stays behind the first until it has counted to the first application.
    return result == OKRA_OK ? countRegs(&reader->ahead, &reader->appLines) : result;
}

int resultsNext(ResultsReader *reader, ResultsLine *line) {
    for (;;) {
        const LineResult result = reader->lines.next(&reader->line);
        if (result == LINE_END) {
            *line = NO_LINE;
            return OKRA_OK;
        }
        if (result != LINE_READ) return failRead(reader->lines, result);
        std::string_view rest = reader->line;
        if (rest.starts_with('#')) continue;
        if (!isUtf8Text(rest)) return failLine(reader, "not UTF-8 text");

        ResultsText word{};
        const char *reason = "";
        const WordResult found = takeText(&rest, &word, &reason);
        if (found == WORD_NONE) continue;
        if (found == WORD_BROKEN) return failLine(reader, "%s", reason);
        if (!word.quoted && word.raw == "app") {
            *line = APP_LINE;
            return readApp(reader, rest);
        }
        if (!word.quoted && word.raw == "reg") {
            *line = REG_LINE;
            return readReg(reader, rest);
        }
        return failLine(reader, "unknown record '%.*s'", shown(word.raw), word.raw.data());
    }
}

int APX_RegNames_Init(int reserved) {
    // Names and labels stand in the results file itself, so there is no table to read in.
    return reserved == 0 ? static_cast<int>(OKRA_OK)
                         : okraFail(OKRA_BAD_REQUEST, "unknown kind of register names");
}

int APX_Load_Results_File(const char *path, ApxAppCallback app, ApxRegCallback reg, void *user) {
    ResultsReader reader;
    int result = resultsOpen(&reader, path);
    ResultsLine line = NO_LINE;
    while (result == OKRA_OK && (result = resultsNext(&reader, &line)) == OKRA_OK &&
           line != NO_LINE) {
        if (line == APP_LINE)
            app(reader.app, user);
        else
            reg(reader.app, reader.value.bytes.get(), reader.type, reader.id, reader.name, user);
    }
    return result;
}

const void *APX_Get_Reg_Info(const void *names, std::uint16_t id) {
    const auto *reader =
        reinterpret_cast<const ResultsReader *>(getField<std::uintptr_t>(names, 0));
    return reader->nextId > 0 && reader->id == id ? &reader->labels : nullptr;
}

const char *APX_Get_Sel_Label(const void *info, std::uint32_t value) {
    const auto *labels = static_cast<const ResultsLabels *>(info);
    if (value >= labels->count || labels->offsets[value] == NO_LABEL) return nullptr;
    return labels->block.bytes.get() + labels->offsets[value];
}
