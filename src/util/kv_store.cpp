// SPDX-License-Identifier: MIT
// The keyed store of vorn/plugin.h, which describes each operation: the list of elements. Stores
// are small, so every look-up walks the list.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/guards.h"
#include "util/linked_list.h"
#include "util/waiting.h"
#include "vorn/plugin.h"

namespace {

enum : std::int32_t { STORES_EQUAL = 0, STORES_DIFFER = 1 };

struct KeyListFreer {
    void operator()(char **list) const { kvFreeList(list); }
};

// All below run under the store's lock.

// The first element with this key; a null key means the first element.
KvElem *findKey(const KvStore *store, const char *key) {
    KvElem *elem = store->first;
    if (key == nullptr) return elem;
    while (elem != nullptr && std::strcmp(elem->key, key) != 0) elem = elem->next;
    return elem;
}

// Callbacks may change a recursive store under their own walk: util/linked_list.h tells how a walk
// lives through that. One whose match deleted it is no match.
KvElem *findMatch(const KvStore *store, KvMatchFn match, void *argument) {
    Walk walk(store);
    while (KvElem *elem = walk.step())
        if (match(elem->key, elem->value, argument) != KV_NO_MATCH && walk.current() != nullptr)
            return elem;
    return nullptr;
}

// Links a new or moved element in its sorted place, behind those that compare equal.
void linkSorted(KvStore *store, KvElem *elem) {
    Walk walk(store);
    KvElem *next = nullptr;
    while (store->sortMethod != nullptr && (next = walk.step()) != nullptr) {
        const bool after = store->sortMethod(next->value, elem->value, store->context) == KV_AFTER;
        if (after && walk.current() != nullptr) break;
    }
    linkBefore(store, elem, next);
}

std::int32_t addElem(KvStore *store, const char *key, void *value) {
    if (store->maxElems > 0 && store->count >= store->maxElems) return KV_FULL;
    auto *elem = static_cast<KvElem *>(std::calloc(1, sizeof(KvElem)));
    if (elem == nullptr) return KV_FULL;
    std::string_view(key).copy(elem->key, sizeof elem->key - 1);
    elem->value = value;
    linkSorted(store, elem);
    return KV_OK;
}

void freeValue(const KvStore *store, void *value) {
    if (value == nullptr) return;
    if (store->freeValue != nullptr)
        store->freeValue(value);
    else
        std::free(value);
}

// Puts a value, null included, in the place of the key's old one, or adds the key.
std::int32_t putElem(KvStore *store, const char *key, void *value) {
    KvElem *elem = findKey(store, key);
    if (elem == nullptr) return addElem(store, key, value);
    void *old = elem->value;
    elem->value = value;
    if (old != value) freeValue(store, old);
    return KV_OK;
}

// Frees an unlinked element and its value.
void freeElem(const KvStore *store, KvElem *elem) {
    // An owner, since a thread may be cancelled in the program's or a plug-in's free function.
    const HeapGuard<KvElem> owner(elem);
    freeValue(store, elem->value);
}

void deleteElem(KvStore *store, KvElem *elem) {
    unlinkElem(store, elem);
    freeElem(store, elem);
}

void deleteAll(KvStore *store) {
    while (KvElem *elem = takeFirst(store)) freeElem(store, elem);
}

void *copyOf(const void *value, std::int32_t size) {
    if (value == nullptr || size <= 0) return nullptr;
    void *copy = std::malloc(static_cast<std::size_t>(size));
    if (copy != nullptr) std::memcpy(copy, value, static_cast<std::size_t>(size));
    return copy;
}

std::int32_t mergeElems(KvStore *destination, const KvStore *source, std::int32_t size) {
    Walk walk(source);
    while (const KvElem *elem = walk.step()) {
        HeapGuard<void> copy(copyOf(elem->value, size));
        if (elem->value != nullptr && size > 0 && !copy) return KV_FULL;
        const std::int32_t result = putElem(destination, elem->key, copy.get());
        if (result != KV_OK) return result;
        static_cast<void>(copy.release());
    }
    return KV_OK;
}

// How two neighbours compare: by the function, or by key without one.
std::int32_t comparePair(const KvElem *a, const KvElem *b, KvCompareFn compare, void *context) {
    if (compare != nullptr) return compare(a->value, b->value, context);
    const int order = std::strcmp(a->key, b->key);
    if (order == 0) return KV_EQUAL;
    return order > 0 ? KV_AFTER : KV_BEFORE;
}

// True when two neighbours, of which either may be missing, stand as sortMethod wants them.
bool inOrder(const KvStore *store, const KvElem *a, const KvElem *b) {
    if (a == nullptr || b == nullptr) return true;
    if (store->sortMethod == nullptr) return true;  // it has just been taken away by a call of it
    const std::int32_t order = store->sortMethod(a->value, b->value, store->context);
    return order == KV_EQUAL || order == KV_BEFORE;
}

// Two different stores: one given twice would wait for itself.
bool areTwo(const KvStore *a, const KvStore *b) {
    return a != nullptr && b != nullptr && a != b;
}

}  // namespace

std::int32_t kvInit(KvStore *store, std::int32_t maxElems, KvFreeFn freeValue) {
    return kvInitFlags(store, maxElems, freeValue, 0);
}

std::int32_t kvInitFlags(KvStore *store, std::int32_t maxElems, KvFreeFn freeValue,
                         std::uint32_t flags) {
    if (store == nullptr) return KV_BAD_ARG;
    *store = KvStore{};
    store->maxElems = maxElems;
    store->freeValue = freeValue;
    return initWaiting(&store->lock, &store->cond, (flags & KV_RECURSIVE) != 0);
}

void kvFree(KvStore *store) {
    if (store == nullptr) return;
    kvFlush(store);
    pthread_cond_destroy(&store->cond);
    pthread_mutex_destroy(&store->lock);
}

// ---- adding and deleting ----

std::int32_t kvAdd(KvStore *store, const char *key, void *value) {
    if (store == nullptr || key == nullptr || value == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    return findKey(store, key) != nullptr ? std::int32_t{KV_EXISTS} : addElem(store, key, value);
}

std::int32_t kvReplace(KvStore *store, const char *key, void *value) {
    if (store == nullptr || key == nullptr || value == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    return putElem(store, key, value);
}

std::int32_t kvDel(KvStore *store, const char *key) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    KvElem *elem = findKey(store, key);
    if (elem == nullptr) return KV_NOT_FOUND;
    deleteElem(store, elem);
    return KV_OK;
}

std::int32_t kvCondDel(KvStore *store, KvMatchFn match, void *argument) {
    if (store == nullptr || match == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    std::int32_t result = KV_NOT_FOUND;
    std::int32_t matched = KV_NO_MATCH;
    Walk walk(store);
    while (KvElem *elem = matched != KV_MATCH_STOP ? walk.step() : nullptr) {
        matched = match(elem->key, elem->value, argument);
        if (matched == KV_NO_MATCH) continue;
        if (walk.current() != nullptr) deleteElem(store, elem);
        result = KV_OK;
    }
    return result;
}

void kvFlush(KvStore *store) {
    if (store == nullptr) return;
    const MutexGuard lock = lockForWork(&store->lock);
    deleteAll(store);
}

// ---- reading ----

void *kvGet(KvStore *store, const char *key) {
    if (store == nullptr) return nullptr;
    const MutexGuard lock = lockForWork(&store->lock);
    const KvElem *elem = findKey(store, key);
    return elem == nullptr ? nullptr : elem->value;
}

void *kvCondGet(KvStore *store, KvMatchFn match, void *argument) {
    if (store == nullptr || match == nullptr) return nullptr;
    const MutexGuard lock = lockForWork(&store->lock);
    const KvElem *elem = findMatch(store, match, argument);
    return elem == nullptr ? nullptr : elem->value;
}

std::int32_t kvIterate(KvStore *store, KvMatchFn match, void *argument) {
    if (store == nullptr || match == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    std::int32_t matches = 0;
    std::int32_t matched = KV_NO_MATCH;
    Walk walk(store);
    while (const KvElem *elem = matched != KV_MATCH_STOP ? walk.step() : nullptr) {
        matched = match(elem->key, elem->value, argument);
        if (matched != KV_NO_MATCH) ++matches;
    }
    return matches;
}

void *kvGetCopy(KvStore *store, const char *key, std::int32_t size) {
    if (store == nullptr) return nullptr;
    const MutexGuard lock = lockForWork(&store->lock);
    const KvElem *elem = findKey(store, key);
    return elem == nullptr ? nullptr : copyOf(elem->value, size);
}

void *kvCondGetCopy(KvStore *store, KvCopyMatchFn match, void *argument, std::int32_t size) {
    if (store == nullptr || match == nullptr) return nullptr;
    const MutexGuard lock = lockForWork(&store->lock);
    Walk walk(store);
    while (const KvElem *elem = walk.step())
        if (match(elem->key, elem->value, argument, &size) != KV_NO_MATCH &&
            walk.current() != nullptr)
            return copyOf(elem->value, size);
    return nullptr;
}

std::int32_t kvNumElems(KvStore *store) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    return store->count;
}

char **kvGetList(KvStore *store, std::int32_t *count) {
    if (count != nullptr) *count = 0;
    if (store == nullptr) return nullptr;
    const MutexGuard lock = lockForWork(&store->lock);
    if (store->count == 0) return nullptr;
    const std::size_t places = static_cast<std::size_t>(store->count) + 1;
    std::unique_ptr<char *, KeyListFreer> list(
        static_cast<char **>(std::calloc(places, sizeof(char *))));
    if (!list) return nullptr;
    char **place = list.get();
    for (const KvElem *elem = store->first; elem != nullptr; elem = elem->next) {
        *place = static_cast<char *>(std::malloc(sizeof elem->key));
        if (*place == nullptr) return nullptr;
        std::memcpy(*place++, elem->key, sizeof elem->key);
    }
    if (count != nullptr) *count = store->count;
    return list.release();
}

void kvFreeList(char **list) {
    if (list == nullptr) return;
    for (char **key = list; *key != nullptr; ++key) std::free(*key);
    std::free(list);
}

// ---- two stores ----

std::int32_t kvCopy(KvStore *destination, KvStore *source, std::int32_t size) {
    if (!areTwo(destination, source)) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&destination->lock);
    const MutexGuard sourceLock = lockForWork(&source->lock);
    deleteAll(destination);
    return mergeElems(destination, source, size);
}

std::int32_t kvMerge(KvStore *destination, KvStore *source, std::int32_t size) {
    if (!areTwo(destination, source)) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&destination->lock);
    const MutexGuard sourceLock = lockForWork(&source->lock);
    return mergeElems(destination, source, size);
}

std::int32_t kvCompare(KvStore *a, KvStore *b, KvCompareFn compare, void *context) {
    if (!areTwo(a, b)) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&a->lock);
    const MutexGuard lockOfB = lockForWork(&b->lock);
    if (a->count != b->count) return STORES_DIFFER;
    Walk walk(a);
    while (const KvElem *elem = walk.step()) {
        const KvElem *other = findKey(b, elem->key);
        if (other == nullptr) return STORES_DIFFER;
        if (compare != nullptr && compare(elem->value, other->value, context) != KV_EQUAL)
            return STORES_DIFFER;
    }
    return STORES_EQUAL;
}

// ---- order ----

std::int32_t kvSetSortMethod(KvStore *store, KvCompareFn sortMethod) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    store->sortMethod = sortMethod;
    return KV_OK;
}

std::int32_t kvSetContext(KvStore *store, void *context) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    store->context = context;
    return KV_OK;
}

std::int32_t kvSort(KvStore *store, KvCompareFn compare, std::uint8_t descending, void *context) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    const std::int32_t misplaced = descending != 0 ? KV_BEFORE : KV_AFTER;
    bool swapped = true;
    // As many passes as elements sort every list; a function that contradicts itself would never
    // let a pass be the last.
    for (std::int32_t pass = 0; swapped && pass < store->count; ++pass) {
        swapped = false;
        for (KvElem *elem = store->first; elem != nullptr && elem->next != nullptr;) {
            KvElem *next = elem->next;
            const Walk first(store, elem);
            const Walk second(store, next);
            const bool swap = comparePair(elem, next, compare, context) == misplaced;
            if (first.current() == nullptr || second.current() == nullptr) {
                swapped = true;  // deleted by the comparison: the next pass sees the rest
                break;
            }
            if (swap) {
                unlinkElem(store, next, ELEM_MOVES);
                linkBefore(store, next, elem);
                swapped = true;
            } else {
                elem = next;
            }
        }
    }
    return KV_OK;
}

std::int32_t kvSortElement(KvStore *store, const char *key) {
    if (store == nullptr) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    if (store->sortMethod == nullptr) return KV_NO_SORT;
    KvElem *elem = findKey(store, key);
    if (elem == nullptr) return KV_NOT_FOUND;
    const Walk watch(store, elem);
    const bool placed = inOrder(store, elem->prev, elem) &&
                        (watch.current() == nullptr || inOrder(store, elem, elem->next));
    if (placed || watch.current() == nullptr) return KV_OK;
    unlinkElem(store, elem, ELEM_MOVES);
    linkSorted(store, elem);
    return KV_OK;
}
