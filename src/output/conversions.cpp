// SPDX-License-Identifier: MIT
// The conversions of a value clause: a table from kind to accepted types, converter and refusal.
#include "output/conversions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "output/c_format.h"
#include "output/report_records.h"
#include "pdf/utf8.h"
#include "results/dict_resolver.h"
#include "storage/strings.h"
#include "storage/time_format.h"

namespace {

// What a converter works on.
struct Job {
    const char *argument;
    DictResolver *dict;
    ItemValue *value;
};

// What a converter returns when it did its work; else it is the reason why not.
constexpr const char *CONVERTED = nullptr;

constexpr std::size_t ARGUMENT_SIZE = 64;

// The value's number; its bytes need not be aligned.
template <class Number>
Number load(const ItemValue *value) {
    Number number;
    std::memcpy(&number, value->data, sizeof number);
    return number;
}

// Makes the value a string of its own; `string` comes from malloc, or is null when that failed.
// Only now does old data go that a plug-in handed over with the value.
const char *takeString(const Job *job, char *string) {
    if (string == nullptr) return "no memory for a converted value.";
    releaseItemValue(job->value);
    *job->value = {VORN_TYPE_STRING, string, 0, VORN_VALUE_OWNED};
    return CONVERTED;
}

const char *copyString(const Job *job, const char *text) {
    return takeString(job, strdup(text));
}

// ---- numbers of an argument, the same on every machine and in every locale ----

void skipBlanks(std::string_view *text) {
    const std::size_t start = text->find_first_not_of(" \t\n\v\f\r");
    text->remove_prefix(start == std::string_view::npos ? text->size() : start);
}

// Takes a sign off; true for a minus.
bool takeSign(std::string_view *text) {
    const bool negative = text->starts_with('-');
    if (negative || text->starts_with('+')) text->remove_prefix(1);
    return negative;
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Takes "0x" off when a hexadecimal number follows.
bool takeHexPrefix(std::string_view *text) {
    if (text->size() < 3 || (*text)[0] != '0' || ((*text)[1] | 0x20) != 'x') return false;
    const bool fraction = (*text)[2] == '.' && text->size() > 3;
    if (!isHexDigit((*text)[fraction ? 3 : 2])) return false;
    text->remove_prefix(2);
    return true;
}

// strtoul in base 0 where an unsigned long has 32 bits: too large gives all bits, a minus negates.
std::uint32_t readMask(std::string_view text) {
    skipBlanks(&text);
    const bool negative = takeSign(&text);
    const int base = takeHexPrefix(&text) ? 16 : text.starts_with('0') ? 8 : 10;
    std::uint32_t mask = 0;
    const auto end = text.data() + text.size();
    if (std::from_chars(text.data(), end, mask, base).ec == std::errc::result_out_of_range)
        return std::numeric_limits<std::uint32_t>::max();
    return negative ? 0U - mask : mask;
}

// strtod: too large gives infinity, too small 0, no number 0.
double readDouble(std::string_view text) {
    skipBlanks(&text);
    const bool negative = takeSign(&text);
    if (text.starts_with('-')) return 0;  // from_chars would take a second sign
    const bool hex = takeHexPrefix(&text);
    double number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number,
                                        hex ? std::chars_format::hex : std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range) {
        // An argument is too short for so many digits: it was the exponent, and its sign tells.
        const std::size_t exponent = text.find_first_of(hex ? "pP" : "eE");
        const bool tiny = text.substr(std::min(exponent, text.size())).substr(0, 2).ends_with('-');
        number = tiny ? 0 : HUGE_VAL;
    }
    return negative ? -number : number;
}

// ---- the converters ----

const char *toDateTime(const Job *job) {
    char text[32];
    formatAbsTime(text, static_cast<std::time_t>(load<std::uint32_t>(job->value)));
    return copyString(job, text);
}

const char *toTime(const Job *job) {
    char text[16];
    formatRelTime(text, sizeof text, load<std::uint32_t>(job->value));
    return copyString(job, text);
}

// The argument is mask?textIfSet:textIfClear; another form leaves the value as it is.
const char *toBitmapText(const Job *job) {
    const std::string_view argument = job->argument;
    const std::size_t question = argument.find('?');
    if (question == std::string_view::npos) return CONVERTED;
    const std::size_t colon = argument.find(':', question);
    if (colon == std::string_view::npos) return CONVERTED;

    const bool isSet = (load<std::uint32_t>(job->value) & readMask(argument)) != 0;
    char text[ARGUMENT_SIZE];
    copyPiece(text, isSet ? argument.substr(question + 1, colon - question - 1)
                          : argument.substr(colon + 1));
    if (job->dict != nullptr) return takeString(job, dictResolvGetCopy(job->dict, text));
    return copyString(job, text);
}

// The bytes stay, and with them their owner.
const char *toArrayFloat(const Job *job) {
    job->value->type = VORN_TYPE_FLOAT;
    return CONVERTED;
}

// The n-th byte from the right.
constexpr unsigned byteOf(std::uint64_t number, unsigned n) {
    return static_cast<unsigned>(number >> (8 * n)) & 0xFF;
}

const char *toMacAddress(const Job *job) {
    const auto number = load<std::uint64_t>(job->value);
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", byteOf(number, 5),
                  byteOf(number, 4), byteOf(number, 3), byteOf(number, 2), byteOf(number, 1),
                  byteOf(number, 0));
    return copyString(job, text);
}

const char *toIpv4Address(const Job *job) {
    const auto number = load<std::uint32_t>(job->value);
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", byteOf(number, 3), byteOf(number, 2),
                  byteOf(number, 1), byteOf(number, 0));
    return copyString(job, text);
}

// ---- units ----

struct Unit {
    char name[8];
    char format[16];  // for a double; may be empty
    double factor;    // the unit's size in base units
};

struct UnitTable {
    std::uint8_t count;
    Unit units[8];
};

constexpr std::size_t UNIT_NUMBER_ROOM = 49;  // bytes of the number; the name comes on top

// Parses name=factor[:format];... from the smallest unit to the largest; entries after the eighth
// are ignored. False for an entry without "=".
bool parseUnits(std::string_view text, UnitTable *table) {
    while (table->count < std::size(table->units) && !text.empty()) {
        const std::string_view entry = text.substr(0, text.find(';'));
        text.remove_prefix(std::min(entry.size() + 1, text.size()));
        const std::size_t equals = entry.find('=');
        if (equals == std::string_view::npos) return false;

        Unit *unit = &table->units[table->count++];
        const std::string_view name = entry.substr(0, equals);
        copyPiece(unit->name, name.substr(0, utf8_fit(name, sizeof unit->name - 1)));
        const std::string_view number = entry.substr(equals + 1);
        const std::size_t colon = number.find(':');
        unit->factor = readDouble(number.substr(0, colon));
        if (colon == std::string_view::npos) continue;
        const std::string_view format = number.substr(colon + 1);
        copyPiece(unit->format, format.substr(0, utf8_fit(format, sizeof unit->format - 1)));
    }
    return true;
}

// The first unit of which x makes fewer than there are in the next unit.
std::size_t chooseUnit(const UnitTable *table, double x) {
    std::size_t i = 0;
    for (; i + 1 < table->count; ++i) {
        const double factor = table->units[i].factor;
        if (std::fabs(x / factor) < std::fabs(table->units[i + 1].factor / factor)) break;
    }
    return i;
}

// The format of the unit, or of the nearest unit before it that has one.
const char *formatOfUnit(const UnitTable *table, std::size_t index) {
    for (std::size_t i = index + 1; i > 0; --i)
        if (table->units[i - 1].format[0] != '\0') return table->units[i - 1].format;
    return "%.3f";
}

double toDouble(const ItemValue *value) {
    switch (value->type) {
        case VORN_TYPE_UINT32:
            return load<std::uint32_t>(value);
        case VORN_TYPE_INT32:
            return load<std::int32_t>(value);
        case VORN_TYPE_UINT64:
            return static_cast<double>(load<std::uint64_t>(value));
        case VORN_TYPE_FLOAT:
            return load<float>(value);
        default:
            return load<double>(value);
    }
}

const char *toUnits(const Job *job) {
    UnitTable table{};
    if (!parseUnits(job->argument, &table))
        return "bad arguments to 'units' conversion.\n"
               "Must be 'units(<unitName>=<factor>[:<printfFormat>],...)'";
    if (table.count == 0) return "no units defined in 'units' conversion.";
    double x = toDouble(job->value);
    const std::size_t index = chooseUnit(&table, x);
    const Unit *unit = &table.units[index];
    x /= unit->factor;

    char text[UNIT_NUMBER_ROOM + 1 + sizeof unit->name];
    const ItemValue number{VORN_TYPE_DOUBLE, &x, 0, 0};
    const std::size_t length =
        printCFormat(text, UNIT_NUMBER_ROOM, CFORMAT_BYTES, formatOfUnit(&table, index), &number);
    if (unit->name[0] != '\0')
        std::snprintf(text + length, sizeof text - length, " %s", unit->name);
    return copyString(job, text);
}

// ---- the table ----

constexpr unsigned typeBit(auto... types) {
    return (0U | ... | (1U << types));
}

struct Converter {
    unsigned accepts;   // bit n: values of type n
    std::uint8_t size;  // the `size` that the value must have, or 0
    const char *(*convert)(const Job *job);
    const char *refusal;  // message on another type
};

// Indexed by ConversionKind.
constexpr Converter converters[] = {
    {0, 0, nullptr, ""},
    {typeBit(VORN_TYPE_UINT32), 0, toDateTime,
     "'dateTime' conversion is only supported for UINT32 type."},
    {typeBit(VORN_TYPE_UINT32), 0, toTime, "'time' conversion is only supported for UINT32 type."},
    {typeBit(VORN_TYPE_UINT32), 0, toBitmapText,
     "'bitmap' conversion is only supported for UINT32 type."},
    {typeBit(VORN_TYPE_STRING), 4, toArrayFloat,
     "'arrayFloat' conversion is only supported for ARRAY8x4 types."},
    {typeBit(VORN_TYPE_UINT64), 0, toMacAddress,
     "'mac-addr' conversion is only supported for UINT64 type."},
    {typeBit(VORN_TYPE_UINT32), 0, toIpv4Address,
     "'ipv4-addr' conversion is only supported for UINT32 type."},
    {typeBit(VORN_TYPE_UINT32, VORN_TYPE_INT32, VORN_TYPE_UINT64, VORN_TYPE_FLOAT,
             VORN_TYPE_DOUBLE),
     0, toUnits, "incompatible data type for 'units' conversion."},
};
static_assert(std::size(converters) == CONV_UNITS + 1);

bool accepts(const Converter *converter, const ItemValue *value) {
    const bool known = value->type <= VORN_TYPE_DOUBLE;
    if (!known || (converter->accepts & typeBit(value->type)) == 0) return false;
    return converter->size == 0 || value->size == converter->size;
}

}  // namespace

const char *convertValue(std::uint8_t kind, const char *argument, DictResolver *dict,
                         ItemValue *value) {
    if (kind == CONV_NONE || kind >= std::size(converters)) return CONVERTED;
    if (value->type == VORN_TYPE_NONE || value->data == nullptr) return CONVERTED;

    const Converter *converter = &converters[kind];
    const Job job{argument, dict, value};
    return accepts(converter, value) ? converter->convert(&job) : converter->refusal;
}
