// SPDX-License-Identifier: MIT
#include "results/results.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include <pthread.h>

#include "base/guards.h"
#include "results/loaded_app.h"
#include "results/report_findings.h"
#include "storage/strings.h"

namespace {

// What an item text asks for.
struct ItemSpec {
    const char *application;  // null: the first
    char *item;
    std::int32_t field;
    std::int32_t index;
};

// Cuts [application@] off the front of an item text.
void splitApplication(char *text, ItemSpec *spec) {
    char *at = std::strchr(text, '@');
    spec->application = at != nullptr ? text : nullptr;
    spec->item = at != nullptr ? at + 1 : text;
    if (at != nullptr) *at = '\0';
}

// Cuts :field or [index] off the end of the item; false after a message for an unknown field.
bool splitField(ItemSpec *spec) {
    spec->field = VORN_FIELD_VALUE;
    spec->index = -1;
    char *colon = std::strchr(spec->item, ':');
    if (colon != nullptr) {
        *colon = '\0';
        const std::string_view name = colon + 1;
        while (spec->field <= VORN_FIELD_MAX && fieldNames[spec->field] != name) ++spec->field;
        if (spec->field <= VORN_FIELD_MAX) return true;
        tellFinding(TELL_CAUSE, "unknown field '%s' in 'link' argument.", colon + 1);
        return false;
    }
    char *bracket = std::strchr(spec->item, '[');
    if (bracket != nullptr) {
        *bracket = '\0';
        char *end = std::strchr(bracket + 1, ']');
        if (end != nullptr) *end = '\0';
        spec->index = toInt32(bracket + 1);
    }
    return true;
}

// The first records of all lists that are loaded: one a report that is being made.
LoadedApp *loadedLists = nullptr;
pthread_mutex_t loadedListsLock = PTHREAD_MUTEX_INITIALIZER;

// The place in the chain that points to a list's first record, or to null: no such list.
LoadedApp **findLoadedList(const Results *first) {
    LoadedApp **at = &loadedLists;
    while (*at != nullptr && &(*at)->record != first) at = &(*at)->nextLoaded;
    return at;
}

// Where a look-up gets applications and registers from.
struct Lookup {
    const Results *(*application)(const Results *results, const char *name);  // null: none
    std::int64_t (*place)(const Results *app, std::string_view name);         // -1: none
};

const Results *indexedApplication(const Results *results, const char *name) {
    const LoadedApp *first = loadedApp(results);
    if (std::strcmp(first->record.name, name) == 0) return results;  // most files have no other
    const std::int64_t place = findName(first->applications, name, applicationNames(*first));
    return place >= 0 ? &first->list[place]->record : nullptr;
}

std::int64_t indexedPlace(const Results *app, std::string_view name) {
    return findName(loadedApp(app)->registers, name, registerNames(*loadedApp(app)));
}

const Results *walkedApplication(const Results *results, const char *name) {
    while (results != nullptr && std::strcmp(results->name, name) != 0) results = results->next;
    return results;
}

std::int64_t walkedPlace(const Results *app, std::string_view name) {
    std::int32_t place = 0;
    while (place < app->regCount && app->regs[place].name != name) ++place;
    return place < app->regCount ? place : -1;
}

constexpr Lookup indexedLookup = {indexedApplication, indexedPlace};
constexpr Lookup walkedLookup = {walkedApplication, walkedPlace};

// The application of a name, or the first for null; null after a message when there is none.
const Results *findApplication(const Lookup *lookup, const Results *results, const char *name) {
    if (name == nullptr) {
        if (results == nullptr) tellFinding(TELL_CAUSE, "No applications found in result file.");
        return results;
    }
    const Results *app = results != nullptr ? lookup->application(results, name) : nullptr;
    if (app == nullptr) tellFinding(TELL_CAUSE, "application '%s' not found in result file.", name);
    return app;
}

const RegisterRecord *findItem(const Lookup *lookup, char *itemSpec, const Results *results,
                               std::int32_t *field, std::int32_t *index) {
    ItemSpec spec;
    splitApplication(itemSpec, &spec);
    const Results *app = findApplication(lookup, results, spec.application);
    if (app == nullptr || !splitField(&spec)) return nullptr;

    const std::int64_t place = lookup->place(app, spec.item);
    if (place < 0) {
        tellFinding(TELL_CAUSE, "item '%s' not found in application '%s'.", spec.item, app->name);
        return nullptr;
    }
    if (field != nullptr) *field = spec.field;
    if (index != nullptr) *index = spec.index;
    return &app->regs[place];
}

void freeRegister(RegisterRecord *reg) {
    std::free(reg->name);
    if (reg->kind == VORN_REG_SELECTION) {
        std::free(reg->as.selection.label);
    } else if (reg->kind == VORN_REG_BITSET && reg->as.bitSet.labels != nullptr) {
        for (std::int32_t i = 0; i < reg->as.bitSet.labelCount; ++i)
            std::free(reg->as.bitSet.labels[i]);
        std::free(reg->as.bitSet.labels);
    } else if (reg->kind == VORN_REG_ARRAY && reg->as.array.data != nullptr) {
        std::free(reg->as.array.data - sizeof(ArrayHeader));
    }
}

}  // namespace

void noteLoadedList(LoadedApp *first) {
    const MutexGuard guard = lockMutex(&loadedListsLock);
    first->nextLoaded = loadedLists;
    loadedLists = first;
}

void freeResults(Results *results) {
    {
        const MutexGuard guard = lockMutex(&loadedListsLock);
        LoadedApp **at = findLoadedList(results);
        if (*at != nullptr) *at = (*at)->nextLoaded;
    }
    while (results != nullptr) {
        LoadedApp *app = loadedApp(results);
        results = results->next;
        for (std::int32_t i = 0; i < app->record.regCount; ++i) freeRegister(&app->record.regs[i]);
        std::free(app->record.regs);
        std::free(app->registers.slots);
        std::free(app->applications.slots);
        std::free(app->list);
        std::free(app);
    }
}

const RegisterRecord *getAppItemResult(char *itemSpec, const Results *results, std::int32_t *field,
                                       std::int32_t *index) {
    return findItem(&indexedLookup, itemSpec, results, field, index);
}

const RegisterRecord *findRegister(const Results *app, std::string_view name) {
    const std::int64_t place = indexedPlace(app, name);
    return place >= 0 ? &app->regs[place] : nullptr;
}

const RegisterRecord *getForeignItemResult(char *itemSpec, const Results *results,
                                           std::int32_t *field) {
    bool isIndexed = false;
    {
        const MutexGuard guard = lockMutex(&loadedListsLock);
        isIndexed = results != nullptr && *findLoadedList(results) != nullptr;
    }
    return findItem(isIndexed ? &indexedLookup : &walkedLookup, itemSpec, results, field, nullptr);
}

std::size_t resultsArrayBytes(const RegisterRecord *reg) {
    if (reg->kind != VORN_REG_ARRAY || reg->as.array.data == nullptr) return 0;
    ArrayHeader header;
    std::memcpy(&header, reg->as.array.data - sizeof header, sizeof header);
    return static_cast<std::size_t>(header.bytes);
}
