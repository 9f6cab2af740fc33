// SPDX-License-Identifier: MIT
// The conversions of a value clause: a row each in the table at the end.
#include "output/conversions.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "base/numbers.h"
#include "base/utf8_text.h"
#include "output/c_format.h"
#include "output/report_records.h"
#include "results/dict_resolver.h"
#include "results/report_findings.h"
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

// Makes the value a string of its own; `string` comes from malloc, or is null when that failed.
// Only now does old data go that a plug-in handed over with the value.
const char *takeString(const Job *job, char *string) {
    if (string == nullptr) return CONVERSION_NO_MEMORY;
    releaseItemValue(job->value);
    *job->value = {VORN_TYPE_STRING, string, 0, VORN_VALUE_OWNED};
    return CONVERTED;
}

const char *copyString(const Job *job, const char *text) {
    return takeString(job, strdup(text));
}

// ---- the converters ----

const char *toDateTime(const Job *job) {
    char text[32];
    formatAbsTime(text, static_cast<std::time_t>(loadNumber<std::uint32_t>(job->value)));
    return copyString(job, text);
}

const char *toTime(const Job *job) {
    char text[16];
    formatRelTime(text, sizeof text, loadNumber<std::uint32_t>(job->value));
    return copyString(job, text);
}

// The argument is mask?textIfSet:textIfClear; another form leaves the value as it is.
const char *toBitmapText(const Job *job) {
    const std::string_view argument = job->argument;
    const std::size_t question = argument.find('?');
    const std::size_t colon = argument.find(':', question);
    if (question == std::string_view::npos || colon == std::string_view::npos) {
        tellHint("a 'bitmap' conversion without '?' and ':' changes nothing.");
        return CONVERTED;
    }

    const bool isSet = (loadNumber<std::uint32_t>(job->value) & toUint32(argument)) != 0;
    const std::string_view set = argument.substr(question + 1, colon - question - 1);
    const std::string_view clear = argument.substr(colon + 1);
    char text[CONV_ARGUMENT_SIZE];
    copyPiece(text, isSet ? set : clear);
    if (job->dict == nullptr) return copyString(job, text);
    if (reportSink != nullptr && reportSink->withoutResults) {  // either may come
        char other[CONV_ARGUMENT_SIZE];
        copyPiece(other, isSet ? clear : set);
        std::free(dictResolvGetCopy(job->dict, other));
    }
    return takeString(job, dictResolvGetCopy(job->dict, text));
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
    const auto number = loadNumber<std::uint64_t>(job->value);
    char text[18];
    std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", byteOf(number, 5),
                  byteOf(number, 4), byteOf(number, 3), byteOf(number, 2), byteOf(number, 1),
                  byteOf(number, 0));
    return copyString(job, text);
}

const char *toIpv4Address(const Job *job) {
    const auto number = loadNumber<std::uint32_t>(job->value);
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

void hintCutUnit(std::string_view text, std::size_t room, const char *what) {
    if (text.size() >= room) tellHint("a unit's %s is cut to %zu characters.", what, room - 1);
}

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
        copyPiece(unit->name, cutAtCharacter(name, sizeof unit->name - 1));
        hintCutUnit(name, sizeof unit->name, "name");
        const std::string_view number = entry.substr(equals + 1);
        const std::size_t colon = number.find(':');
        unit->factor = toDouble(number.substr(0, colon));
        if (colon == std::string_view::npos) continue;
        const std::string_view format = number.substr(colon + 1);
        copyPiece(unit->format, cutAtCharacter(format, sizeof unit->format - 1));
        hintCutUnit(format, sizeof unit->format, "format");
    }
    if (!text.empty()) tellHint("units after the eighth are left out.");
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

double numberOf(const ItemValue *value) {
    switch (value->type) {
        case VORN_TYPE_UINT32:
            return loadNumber<std::uint32_t>(value);
        case VORN_TYPE_INT32:
            return loadNumber<std::int32_t>(value);
        case VORN_TYPE_UINT64:
            return static_cast<double>(loadNumber<std::uint64_t>(value));
        case VORN_TYPE_FLOAT:
            return loadNumber<float>(value);
        default:
            return loadNumber<double>(value);
    }
}

const char *toUnits(const Job *job) {
    UnitTable table{};
    if (!parseUnits(job->argument, &table))
        return "bad arguments to 'units' conversion.\n"
               "Must be 'units(<unitName>=<factor>[:<printfFormat>],...)'";
    if (table.count == 0) return "no units defined in 'units' conversion.";
    double x = numberOf(job->value);
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

// How a clause names a conversion.
enum Naming : std::uint8_t {
    BY_WHOLE_NAME,           // by the name alone
    BY_FRONT,                // by what begins with it
    BY_FRONT_WITH_ARGUMENT,  // so, and an argument in parentheses may follow
};

struct ValueConversion {
    std::string_view name;
    const char *(*convert)(const Job *job);
    const char *refusal;  // message on another type
    unsigned accepts;     // bit n: values of type n
    Naming naming;
    std::uint8_t size = 0;  // the `size` that the value must have, or 0
};

constexpr unsigned UINT32 = typeBit(VORN_TYPE_UINT32);
constexpr unsigned NUMBERS =
    typeBit(VORN_TYPE_UINT32, VORN_TYPE_INT32, VORN_TYPE_UINT64, VORN_TYPE_FLOAT, VORN_TYPE_DOUBLE);

// A row's number, counted from 1, is its kind.
constexpr ValueConversion conversions[] = {
    {"dateTime", toDateTime, "'dateTime' conversion is only supported for UINT32 type.", UINT32,
     BY_WHOLE_NAME},
    {"time", toTime, "'time' conversion is only supported for UINT32 type.", UINT32, BY_WHOLE_NAME},
    {"bitmap", toBitmapText, "'bitmap' conversion is only supported for UINT32 type.", UINT32,
     BY_FRONT_WITH_ARGUMENT},
    {"arrayFloat", toArrayFloat, "'arrayFloat' conversion is only supported for ARRAY8x4 types.",
     typeBit(VORN_TYPE_STRING), BY_WHOLE_NAME, 4},
    {"mac-addr", toMacAddress, "'mac-addr' conversion is only supported for UINT64 type.",
     typeBit(VORN_TYPE_UINT64), BY_FRONT},
    {"ipv4-addr", toIpv4Address, "'ipv4-addr' conversion is only supported for UINT32 type.",
     UINT32, BY_FRONT},
    {"units", toUnits, "incompatible data type for 'units' conversion.", NUMBERS,
     BY_FRONT_WITH_ARGUMENT},
};

// The row of a kind, or null.
const ValueConversion *conversionOf(std::uint8_t kind) {
    return kind != CONV_NONE && kind <= std::size(conversions) ? &conversions[kind - 1] : nullptr;
}

bool accepts(const ValueConversion *conversion, const ItemValue *value) {
    const bool known = value->type <= VORN_TYPE_DOUBLE;
    if (!known || (conversion->accepts & typeBit(value->type)) == 0) return false;
    return conversion->size == 0 || value->size == conversion->size;
}

// What stands between the parentheses; the second may be missing.
std::string_view argumentOf(std::string_view text) {
    const std::size_t open = text.find('(');
    if (open == std::string_view::npos) return {};
    text.remove_prefix(open + 1);
    return text.substr(0, text.find(')'));
}

}  // namespace

std::uint8_t findConversion(std::string_view text, std::string_view *argument) {
    const auto *found = std::find_if(
        std::begin(conversions), std::end(conversions), [text](const ValueConversion &row) {
            return row.naming == BY_WHOLE_NAME ? text == row.name : text.starts_with(row.name);
        });
    if (found == std::end(conversions)) return CONV_NONE;
    *argument = found->naming == BY_FRONT_WITH_ARGUMENT ? argumentOf(text) : std::string_view();
    return static_cast<std::uint8_t>(found - conversions + 1);
}

std::string_view conversionName(std::uint8_t kind) {
    const ValueConversion *conversion = conversionOf(kind);
    return conversion != nullptr ? conversion->name : std::string_view();
}

ItemValue sampleValue(std::uint8_t kind) {
    static constexpr char zero[8] = {};
    const ValueConversion *conversion = conversionOf(kind);
    if (conversion == nullptr) return {};
    const auto type = static_cast<std::uint32_t>(std::countr_zero(conversion->accepts));
    return {type, const_cast<char *>(zero), conversion->size, 0};  // nothing writes through it
}

const char *convertValue(std::uint8_t kind, const char *argument, DictResolver *dict,
                         ItemValue *value) {
    const ValueConversion *conversion = conversionOf(kind);
    if (conversion == nullptr) return CONVERTED;
    if (value->type == VORN_TYPE_NONE || value->data == nullptr) return CONVERTED;

    const Job job{argument, dict, value};
    return accepts(conversion, value) ? conversion->convert(&job) : conversion->refusal;
}
