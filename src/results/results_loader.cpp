// SPDX-License-Identifier: MIT
// Builds the list of applications from what the library calls back while it reads a results file.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "base/guards.h"
#include "dmon/dmon.h"
#include "okra/okra.h"
#include "okra/records.h"
#include "results/loaded_app.h"
#include "results/report_findings.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

constexpr std::int32_t FIRST_CAPACITY = 4;  // registers; doubled as they come
constexpr std::uint32_t BITS = 32;          // of a bit set

// What the register callback was given.
struct LibraryRegister {
    const void *app;
    const void *value;
    std::uint16_t id;

    template <class T>
    [[nodiscard]] T get(std::size_t offset) const {
        return getField<T>(value, offset);
    }
};

// Fills the fields of one kind; false without memory.
using RegReader = bool (*)(const LibraryRegister &from, RegisterRecord *reg);

// T is unsigned for signed types too: the library's short values are not extended.
template <class T, std::size_t value, std::size_t min, std::size_t max>
bool readUnsigned(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.u32 = {from.get<T>(value), from.get<T>(min), from.get<T>(max)};
    return true;
}

template <class T, std::size_t value, std::size_t min, std::size_t max>
bool readSigned(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.i32 = {static_cast<std::int32_t>(from.get<T>(value)),
                   static_cast<std::int32_t>(from.get<T>(min)),
                   static_cast<std::int32_t>(from.get<T>(max))};
    return true;
}

bool readUnsigned64(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.u64 = {from.get<std::uint64_t>(REG_VALUE), from.get<std::uint64_t>(32),
                   from.get<std::uint64_t>(24)};
    return true;
}

bool readFloat(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.f32.value = from.get<float>(REG_VALUE);
    return true;
}

bool readDouble(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.f64.value = from.get<double>(REG_VALUE);
    return true;
}

bool readCounter(const LibraryRegister &from, RegisterRecord *reg) {
    const std::uint64_t count = from.get<std::uint64_t>(REG_VALUE);
    const std::uint64_t time = from.get<std::uint64_t>(16);
    const std::uint32_t multiplier = from.get<std::uint32_t>(24);
    const std::uint32_t divisor = from.get<std::uint32_t>(28);
    const double rate = divisor == 0 ? 0.0
                                     : static_cast<double>(count * multiplier) /
                                           static_cast<double>(time * divisor);
    reg->as.counter = {count, rate, from.get<std::uint32_t>(64)};
    return true;
}

bool readSeconds(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.u32Secs = {from.get<std::uint8_t>(REG_VALUE), from.get<std::uint32_t>(16)};
    return true;
}

// Copies the label of a selection entry or bit; *label becomes null when there is none. False
// without memory.
bool copyLabel(const LibraryRegister &from, std::uint32_t entry, char **label) {
    const void *names = static_cast<const char *>(from.app) + APP_REG_NAMES;
    const void *info = APX_Get_Reg_Info(names, from.id);
    const char *record = info != nullptr ? APX_Get_Sel_Label(info, entry) : nullptr;
    *label = record != nullptr ? strdup(record + 1) : nullptr;  // its first character is no text
    return record == nullptr || *label != nullptr;
}

bool readSelection(const LibraryRegister &from, RegisterRecord *reg) {
    reg->as.selection.selValue = from.get<std::uint8_t>(REG_VALUE);
    return copyLabel(from, reg->as.selection.selValue, &reg->as.selection.label);
}

bool readBitSet(const LibraryRegister &from, RegisterRecord *reg) {
    auto &set = reg->as.bitSet;
    set.bits = from.get<std::uint32_t>(REG_VALUE);
    const int count = std::popcount(set.bits);
    if (count == 0) return true;
    set.labels = static_cast<char **>(std::calloc(static_cast<std::size_t>(count), sizeof(char *)));
    if (set.labels == nullptr) return false;
    for (std::uint32_t bit = 0; bit < BITS; ++bit) {
        if ((set.bits >> bit & 1u) == 0) continue;
        if (!copyLabel(from, bit, &set.labels[set.labelCount++])) return false;
    }
    return true;
}

template <std::size_t width, std::size_t offset>
bool readArray(const LibraryRegister &from, RegisterRecord *reg) {
    const std::uint16_t length = from.get<std::uint16_t>(REG_VALUE);
    if (length == 0) return true;
    const std::size_t bytes = length * width;
    const ArrayHeader header{bytes};
    char *block = static_cast<char *>(std::malloc(sizeof header + bytes));
    if (block == nullptr) return false;
    std::memcpy(block, &header, sizeof header);
    std::memcpy(block + sizeof header, static_cast<const char *>(from.value) + offset, bytes);
    reg->as.array = {length, reinterpret_cast<std::uint8_t *>(block + sizeof header)};
    return true;
}

struct RegisterKind {
    std::uint8_t kind;
    RegReader read;
};

// By the library's register type. A type that is not here leaves an empty selection.
constexpr RegisterKind kinds[] = {
    {VORN_REG_SELECTION, nullptr},
    {VORN_REG_UINT32, readUnsigned<std::uint8_t, 8, 11, 10>},
    {VORN_REG_INT32, readSigned<std::uint8_t, 8, 11, 10>},
    {VORN_REG_UINT32, readUnsigned<std::uint16_t, 8, 14, 12>},
    {VORN_REG_INT32, readSigned<std::uint16_t, 8, 14, 12>},
    {VORN_REG_UINT32, readUnsigned<std::uint32_t, 8, 20, 16>},
    {VORN_REG_INT32, readSigned<std::uint32_t, 8, 20, 16>},
    {VORN_REG_FLOAT, readFloat},
    {VORN_REG_DOUBLE, readDouble},
    {VORN_REG_SELECTION, readSelection},
    {VORN_REG_SELECTION, readSelection},
    {VORN_REG_SELECTION, readSelection},
    {VORN_REG_COUNTER, readCounter},
    {VORN_REG_UINT32_SECS, readSeconds},
    {VORN_REG_ARRAY, readArray<1, 10>},
    {VORN_REG_ARRAY, readArray<2, 10>},
    {VORN_REG_ARRAY, readArray<1, 10>},
    {VORN_REG_ARRAY, readArray<2, 10>},
    {VORN_REG_UINT64, readUnsigned64},
    {VORN_REG_UINT32, readUnsigned<std::uint32_t, 12, 20, 16>},
    {VORN_REG_INT32, readSigned<std::uint32_t, 12, 20, 16>},
    {VORN_REG_ARRAY, readArray<4, 12>},
    {VORN_REG_ARRAY, readArray<4, 12>},
    {VORN_REG_BITSET, readBitSet},
};
static_assert(std::size(kinds) == 24);

// One load: the list so far.
struct LoadContext {
    LoadedApp *first;
    LoadedApp *current;
    std::uint32_t count;
    bool noMemory;
};

int addApplication(const void *app, void *user) {
    auto *context = static_cast<LoadContext *>(user);
    auto *loaded = static_cast<LoadedApp *>(std::calloc(1, sizeof(LoadedApp)));
    if (loaded == nullptr) {
        context->noMemory = true;
        return 0;
    }
    Results *record = &loaded->record;
    safe_strncpy(record->name, static_cast<const char *>(app) + APP_NAME, sizeof record->name);
    record->startTime = getField<std::uint32_t>(app, APP_START);
    record->stopTime = getField<std::uint32_t>(app, APP_STOP);
    record->restartTime = getField<std::uint32_t>(app, APP_RESTART);
    record->status = getField<std::uint8_t>(app, APP_STATUS);
    record->powerfailTime = getField<std::uint32_t>(app, APP_POWERFAIL);
    record->elapsedTime = record->stopTime - record->startTime;
    loaded->declared = getField<std::int32_t>(app, APP_REG_COUNT);

    if (context->first == nullptr)
        context->first = loaded;
    else
        context->current->record.next = record;
    context->current = loaded;
    ++context->count;
    return 0;
}

// The next slot of the table, zeroed. The table grows with the registers that come: the declared
// count is the file's word and may be anything.
RegisterRecord *takeSlot(LoadedApp *app) {
    Results *record = &app->record;
    if (record->regCount == app->capacity) {
        const std::int32_t wanted = app->capacity == 0              ? FIRST_CAPACITY
                                    : app->capacity > INT32_MAX / 2 ? INT32_MAX
                                                                    : 2 * app->capacity;
        const std::int32_t capacity = std::min(wanted, app->declared);
        auto *grown = static_cast<RegisterRecord *>(
            reallocarray(record->regs, static_cast<std::size_t>(capacity), sizeof(RegisterRecord)));
        if (grown == nullptr) return nullptr;
        std::memset(grown + app->capacity, 0,
                    static_cast<std::size_t>(capacity - app->capacity) * sizeof(RegisterRecord));
        record->regs = grown;
        app->capacity = capacity;
    }
    return &record->regs[record->regCount++];
}

int addRegister(const void *app, const void *value, std::uint8_t type, std::uint16_t id,
                const char *name, void *user) {
    auto *context = static_cast<LoadContext *>(user);
    LoadedApp *loaded = context->current;
    if (context->noMemory || loaded == nullptr) return 0;
    if (loaded->record.regCount >= loaded->declared) {
        tellFinding(TELL_ERROR, "too many registers in results file.");
        return 0;
    }
    RegisterRecord *reg = takeSlot(loaded);
    if (reg == nullptr || (reg->name = strdup(name)) == nullptr) {
        context->noMemory = true;
        return 0;
    }
    reg->valid = (getField<std::uint16_t>(value, REG_FLAGS) & REG_FLAG_NO_VALUE) == 0 ? 1 : 0;
    if (type >= std::size(kinds) || kinds[type].read == nullptr) return 0;
    reg->kind = kinds[type].kind;
    if (!kinds[type].read({app, value, id}, reg)) context->noMemory = true;
    return 0;
}

// Makes the indexes of a complete list; false without memory.
bool indexNames(const LoadContext &context) {
    LoadedApp *first = context.first;
    if (first == nullptr) return true;
    const std::uint32_t seed = makeHashSeed();
    first->list = static_cast<LoadedApp **>(std::calloc(context.count, sizeof(void *)));
    if (first->list == nullptr) return false;
    std::uint32_t place = 0;
    for (Results *record = &first->record; record != nullptr; record = record->next) {
        LoadedApp *app = loadedApp(record);
        first->list[place++] = app;
        const auto regCount = static_cast<std::uint32_t>(record->regCount);
        if (!buildNameIndex(&app->registers, regCount, seed, registerNames(*app))) return false;
    }
    return buildNameIndex(&first->applications, context.count, seed, applicationNames(*first));
}

// Tells, or hands over, why a file is not loaded.
//   code  the library's, or 0: we had no memory
void tellNotLoaded(const char *shown, int code, ResultsFault *fault) {
    const int told = code != 0 ? code : RESULTS_NOT_LOADED;
    const char *reason = code != 0 ? APX_Error(code) : "no memory";
    if (fault == nullptr) {
        tellFinding(TELL_FREE_ERROR, "Error loading results file '%s': %s (%d)", shown, reason,
                    told);
        return;
    }
    fault->line = 0;
    if (code != 0 && APX_Error_Reason != nullptr) reason = APX_Error_Reason(code, &fault->line);
    std::snprintf(fault->reason, sizeof fault->reason, "%s (%d)", reason, told);
}

}  // namespace

int initResultsLoader() {
    const int code = APX_RegNames_Init(0);
    if (code == 0) return RESULTS_OK;
    dmon_log(1, "Error initializing results loader: %s\n", APX_Error(code));
    return RESULTS_NOT_LOADED;
}

int loadResultsFile(const char *path, Results **results, const char *shown, ResultsFault *fault) {
    *results = nullptr;
    LoadContext context{};
    const int code = APX_Load_Results_File(path, addApplication, addRegister, &context);
    Results *first = context.first != nullptr ? &context.first->record : nullptr;
    if (code == 0 && !context.noMemory && indexNames(context)) {
        if (first != nullptr) noteLoadedList(context.first);
        *results = first;
        return RESULTS_OK;
    }
    tellNotLoaded(shown != nullptr ? shown : path, code, fault);
    freeResults(first);
    return RESULTS_NOT_LOADED;
}
