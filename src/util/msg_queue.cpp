// SPDX-License-Identifier: MIT
// The message queue of vorn/plugin.h, which describes each operation.
#include <cstdlib>

#include "base/guards.h"
#include "util/linked_list.h"
#include "util/waiting.h"
#include "vorn/plugin.h"

namespace {

// mqGet's choice: a key, which 0 leaves open until an item decides it. No selector takes all.
std::int32_t matchSelector(std::uint32_t, std::uint32_t key, void *, void *argument) {
    auto *selector = static_cast<std::uint32_t *>(argument);
    if (selector == nullptr) return KV_MATCH_STOP;
    if (*selector == 0) *selector = key;
    return *selector == key ? KV_MATCH_STOP : KV_NO_MATCH;
}

// Up to putBefore, these run under the queue's lock.

MqElem *findMatch(const MsgQueue *queue, MqMatchFn match, void *argument) {
    Walk walk(queue);  // match may change a recursive queue; an item that it took is no match
    while (MqElem *elem = walk.step())
        if (match(elem->type, elem->key, elem->data, argument) != KV_NO_MATCH &&
            walk.current() != nullptr)
            return elem;
    return nullptr;
}

// Puts an item in front of `next` (null: at the back) and wakes one consumer.
std::int32_t putBefore(MsgQueue *queue, MqElem *next, void *data, std::uint32_t type,
                       std::uint32_t key) {
    auto *elem = static_cast<MqElem *>(std::malloc(sizeof(MqElem)));
    if (elem == nullptr) return MQ_FULL;
    *elem = {type, key, data, nullptr, nullptr};
    linkBefore(queue, elem, next);
    pthread_cond_signal(&queue->cond);
    return MQ_OK;
}

// Frees an unlinked item and its data.
void freeElem(MqElem *elem, MqFreeFn freeData) {
    // An owner, since a thread may be cancelled in the program's or a plug-in's free function.
    const HeapGuard<MqElem> owner(elem);
    if (freeData != nullptr)
        freeData(elem->data);
    else
        std::free(elem->data);
}

// Waits, under a lock of its own, until an item matches or the limit is reached.
void *takeMatch(MsgQueue *queue, MqMatchFn match, void *argument, std::uint32_t *type,
                const WaitLimit &limit) {
    if (type != nullptr) *type = 0;
    if (queue == nullptr || match == nullptr) return nullptr;
    HeapGuard<MqElem> taken;
    {
        const MutexGuard lock = lockForWork(&queue->lock);
        MqElem *elem = findMatch(queue, match, argument);
        while (elem == nullptr && waitOnce(&queue->cond, &queue->lock, limit))
            elem = findMatch(queue, match, argument);
        if (elem == nullptr) return nullptr;
        unlinkElem(queue, elem);
        taken.reset(elem);
    }
    if (type != nullptr) *type = taken->type;
    return taken->data;
}

}  // namespace

std::int32_t mqInit(MsgQueue *queue, std::int32_t maxElems, MqFreeFn freeData) {
    return mqInitFlags(queue, maxElems, freeData, 0);
}

std::int32_t mqInitFlags(MsgQueue *queue, std::int32_t maxElems, MqFreeFn freeData,
                         std::uint32_t flags) {
    if (queue == nullptr) return MQ_BAD_ARG;
    *queue = MsgQueue{};
    queue->maxElems = maxElems;
    queue->freeData = freeData;
    return initWaiting(&queue->lock, &queue->cond, (flags & MQ_RECURSIVE) != 0);
}

std::int32_t mqFree(MsgQueue *queue) {
    if (queue == nullptr) return MQ_BAD_ARG;
    mqFlush(queue);
    pthread_cond_destroy(&queue->cond);
    return pthread_mutex_destroy(&queue->lock);
}

std::int32_t mqPut(MsgQueue *queue, void *data, std::uint32_t type, std::uint32_t key,
                   std::uint32_t) {
    if (queue == nullptr || data == nullptr) return MQ_BAD_ARG;
    const MutexGuard lock = lockForWork(&queue->lock);
    if (queue->maxElems > 0 && queue->count >= queue->maxElems) return MQ_FULL;
    return putBefore(queue, nullptr, data, type, key);
}

std::int32_t mqUnget(MsgQueue *queue, void *data, std::uint32_t type, std::uint32_t key) {
    if (queue == nullptr || data == nullptr) return MQ_BAD_ARG;
    const MutexGuard lock = lockForWork(&queue->lock);
    return putBefore(queue, queue->first, data, type, key);
}

void *mqGet(MsgQueue *queue, std::uint32_t *selector, std::uint32_t *type, std::uint32_t seconds) {
    return takeMatch(queue, matchSelector, selector, type, limitOfSeconds(seconds));
}

void *mqGetms(MsgQueue *queue, std::uint32_t *selector, std::uint32_t *type,
              std::uint32_t milliseconds) {
    return takeMatch(queue, matchSelector, selector, type, limitOfMilliseconds(milliseconds));
}

void *mqCondGet(MsgQueue *queue, MqMatchFn match, void *argument, std::uint32_t *type,
                std::uint32_t seconds) {
    return takeMatch(queue, match, argument, type, limitOfSeconds(seconds));
}

void *mqCondGetms(MsgQueue *queue, MqMatchFn match, void *argument, std::uint32_t *type,
                  std::uint32_t milliseconds) {
    return takeMatch(queue, match, argument, type, limitOfMilliseconds(milliseconds));
}

std::int32_t mqPop(MsgQueue *queue, MqFreeFn freeData) {
    if (queue == nullptr) return 0;
    HeapGuard<MqElem> taken;
    {
        const MutexGuard lock = lockForWork(&queue->lock);
        taken.reset(takeFirst(queue));
    }
    if (!taken) return 0;
    freeElem(taken.release(), freeData);
    return 1;
}

std::int32_t mqCondDel(MsgQueue *queue, MqMatchFn match, void *argument) {
    if (queue == nullptr || match == nullptr) return 0;
    const MutexGuard lock = lockForWork(&queue->lock);
    std::int32_t removed = 0;
    std::int32_t matched = KV_NO_MATCH;
    Walk walk(queue);
    while (MqElem *elem = matched != KV_MATCH_STOP ? walk.step() : nullptr) {
        matched = match(elem->type, elem->key, elem->data, argument);
        if (matched == KV_NO_MATCH || walk.current() == nullptr) continue;
        unlinkElem(queue, elem);
        freeElem(elem, queue->freeData);
        ++removed;
    }
    return removed;
}

void mqFlush(MsgQueue *queue) {
    if (queue == nullptr) return;
    const MutexGuard lock = lockForWork(&queue->lock);
    while (MqElem *elem = takeFirst(queue)) freeElem(elem, queue->freeData);
}

std::int32_t mqNumElems(MsgQueue *queue) {
    if (queue == nullptr) return MQ_BAD_ARG;
    const MutexGuard lock = lockForWork(&queue->lock);
    return queue->count;
}
