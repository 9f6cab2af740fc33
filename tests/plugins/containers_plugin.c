/* SPDX-License-Identifier: MIT */
/* A plug-in that runs the keyed store and the message queue through its own calls, the way that a
 * library built apart does, from several threads. Each value function gives "ok", or the first line
 * that found something else. */
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "vorn/plugin.h"

extern int vorn_plugin_abi;
int vorn_plugin_abi = VORN_PLUGIN_ABI;

enum { THREADS = 4, ROUNDS = 300 };

/* Leaves the function with the number of the line where something is wrong. */
#define WANT(condition)                    \
    do {                                   \
        if (!(condition)) return __LINE__; \
    } while (0)

static int freed;

static void countFree(void *value) {
    ++freed;
    free(value);
}

static int *number(int value) {
    int *made = malloc(sizeof *made);
    if (made != NULL) *made = value;
    return made;
}

static int valueOf(const void *value) {
    return value == NULL ? -1 : *(const int *)value;
}

static int32_t byNumber(const void *a, const void *b, void *context) {
    if (context != NULL) ++*(int *)context;
    if (valueOf(a) == valueOf(b)) return KV_EQUAL;
    return valueOf(a) > valueOf(b) ? KV_AFTER : KV_BEFORE;
}

/* Matches every value that is at least *argument. */
static int32_t atLeast(const char *key, void *value, void *argument) {
    (void)key;
    return valueOf(value) >= valueOf(argument) ? KV_MATCH_GO_ON : KV_NO_MATCH;
}

static int32_t firstHalf(const char *key, void *value, void *argument, int32_t *size) {
    (void)value;
    *size /= 2;
    return strcmp(key, argument) == 0 ? KV_MATCH_STOP : KV_NO_MATCH;
}

/* The keys in list order, as one text. */
static int keysAre(KvStore *store, const char *wanted) {
    char text[256] = "";
    int32_t count = -1;
    char **list = kvGetList(store, &count);
    char **key;
    for (key = list; key != NULL && *key != NULL; ++key, --count) strcat(text, *key);
    kvFreeList(list);
    return count == 0 && strcmp(text, wanted) == 0;
}

static int checkStore(void) {
    KvStore a;
    KvStore b;
    int limit = 3;
    int compared = 0;
    char *copy;

    freed = 0;
    WANT(kvInitFlags(&a, 4, countFree, KV_RECURSIVE) == KV_OK);
    WANT(kvInit(&b, 3, NULL) == KV_OK);
    WANT(kvSetSortMethod(&a, byNumber) == KV_OK && kvSetContext(&a, &compared) == KV_OK);
    WANT(kvAdd(&a, "e", number(5)) == KV_OK && kvAdd(&a, "a", number(1)) == KV_OK);
    WANT(kvAdd(&a, "c", number(3)) == KV_OK && kvAdd(&a, "d", number(3)) == KV_OK);
    WANT(kvAdd(&a, "a", &limit) == KV_EXISTS && kvAdd(&a, "f", &limit) == KV_FULL);
    WANT(kvAdd(&a, "f", NULL) == KV_BAD_ARG);
    WANT(keysAre(&a, "acde") && compared > 0);

    WANT(kvLock(&a) == 0); /* recursive: the thread goes on working */
    WANT(kvNumElems(&a) == 4 && kvNumElems(NULL) == -1);
    WANT(kvReplace(&a, "a", number(9)) == KV_OK && freed == 1);
    WANT(kvUnlock(&a) == 0);
    WANT(kvSortElement(&a, "a") == KV_OK && keysAre(&a, "cdea"));
    WANT(kvSortElement(&a, "x") == KV_NOT_FOUND && kvSortElement(&b, "a") == KV_NO_SORT);
    WANT(kvSort(&a, NULL, 1, NULL) == KV_OK && keysAre(&a, "edca"));
    WANT(kvSort(&a, byNumber, 0, NULL) == KV_OK && keysAre(&a, "dcea"));

    WANT(valueOf(kvGet(&a, "e")) == 5 && valueOf(kvGet(&a, NULL)) == 3 && kvGet(&a, "x") == NULL);
    limit = 4;
    WANT(valueOf(kvCondGet(&a, atLeast, &limit)) == 5 && kvIterate(&a, atLeast, &limit) == 2);
    copy = kvGetCopy(&a, "a", sizeof(int));
    WANT(valueOf(copy) == 9);
    free(copy);
    WANT(kvGetCopy(&a, "a", 0) == NULL && kvGetCopy(&a, "x", 4) == NULL);
    copy = kvCondGetCopy(&a, firstHalf, "d", 2 * sizeof(int)); /* more than the value has */
    WANT(valueOf(copy) == 3);
    free(copy);

    /* Two stores are always named in the same order, as vorn/plugin.h wants it. */
    WANT(kvCopy(&b, &a, sizeof(int)) == KV_FULL && keysAre(&b, "dce"));
    WANT(kvCompare(&b, &a, byNumber, NULL) == 1);
    WANT(kvCondDel(&a, atLeast, &limit) == KV_OK && kvCondDel(&a, atLeast, &limit) == KV_NOT_FOUND);
    WANT(freed == 3 && keysAre(&a, "dc"));
    WANT(kvDel(&b, "e") == KV_OK && kvDel(&b, "e") == KV_NOT_FOUND);
    WANT(kvCompare(&b, &a, byNumber, NULL) == 0 && kvCompare(&b, NULL, NULL, NULL) == KV_BAD_ARG);
    WANT(kvReplace(&b, "c", number(8)) == KV_OK && kvCompare(&b, &a, NULL, NULL) == 0);
    WANT(kvCompare(&b, &a, byNumber, NULL) == 1);
    WANT(kvMerge(&b, &a, sizeof(int)) == KV_OK && valueOf(kvGet(&b, "c")) == 3);
    kvFlush(&a);
    WANT(freed == 5 && kvNumElems(&a) == 0 && keysAre(&a, ""));
    kvFreeList(NULL);
    kvFree(&a);
    kvFree(&b);
    return 0;
}

static void *waitForever(void *store) {
    kvWait(store, NULL, VORN_WAIT_FOREVER);
    return NULL;
}

static void *takeForever(void *queue) {
    return mqGet(queue, NULL, NULL, VORN_WAIT_FOREVER);
}

/* Starts a thread that waits, cancels it, and sees that the lock is free. */
static int checkCancelled(void *(*body)(void *), void *object, pthread_mutex_t *lock) {
    pthread_t thread;
    void *result = NULL;
    WANT(pthread_create(&thread, NULL, body, object) == 0);
    WANT(pthread_cancel(thread) == 0 && pthread_join(thread, &result) == 0);
    WANT(result == PTHREAD_CANCELED && pthread_mutex_trylock(lock) == 0);
    WANT(pthread_mutex_unlock(lock) == 0);
    return 0;
}

/* Adds one bit after the other to the word. */
static void *signalBits(void *store) {
    uint32_t bit;
    for (bit = 1; bit != 0; bit <<= 1) kvSignalMask(store, bit, KV_SIGNAL_OR);
    return NULL;
}

static int checkSignals(void) {
    KvStore store;
    struct timespec past = {1, 0};
    uint32_t word = 1;
    uint32_t all = 0;
    pthread_t thread;

    WANT(kvInit(&store, 0, NULL) == KV_OK);
    WANT(kvWait(&store, &word, VORN_NO_WAIT) == KV_TIMEOUT && word == 0);
    WANT(kvSignal(&store, 0) == KV_BAD_ARG && kvSignal(&store, 7) == KV_OK);
    WANT(kvWait(&store, &word, VORN_WAIT_FOREVER) == KV_OK && word == 7);
    WANT(kvWaitms(&store, NULL, 1) == KV_TIMEOUT);
    WANT(kvSignalMask(&store, 3, KV_SIGNAL_SET) == KV_OK);
    WANT(kvSignalMask(&store, 6, KV_SIGNAL_AND) == KV_OK);
    WANT(kvSignalMask(&store, 8, KV_SIGNAL_OR) == KV_OK && kvSignalMask(&store, 1, 9) == KV_OK);
    WANT(kvWaitAbs(&store, &word, &past) == KV_OK && word == 10);
    WANT(kvWaitAbs(&store, &word, &past) == KV_TIMEOUT && word == 0);
    WANT(kvWaitAbs(&store, &word, NULL) == KV_BAD_ARG);

    WANT(pthread_create(&thread, NULL, signalBits, &store) == 0);
    while (all != 0xFFFFFFFFu) {
        WANT(kvWaitms(&store, &word, 60000) == KV_OK);
        all |= word;
    }
    WANT(pthread_join(thread, NULL) == 0);
    WANT(checkCancelled(waitForever, &store, &store.lock) == 0);
    kvFree(&store);
    return 0;
}

static int32_t oddType(uint32_t type, uint32_t key, void *data, void *argument) {
    (void)key;
    (void)data;
    (void)argument;
    return type % 2 != 0 ? KV_MATCH_GO_ON : KV_NO_MATCH;
}

static int checkQueue(void) {
    MsgQueue queue;
    uint32_t selector = 0;
    uint32_t type = 9;
    int i;

    freed = 0;
    WANT(mqInitFlags(&queue, 5, countFree, MQ_RECURSIVE) == MQ_OK);
    WANT(mqGet(&queue, NULL, &type, VORN_NO_WAIT) == NULL && type == 0);
    for (i = 1; i <= 5; ++i)
        WANT(mqPut(&queue, number(i), (uint32_t)i, (uint32_t)(i % 2 + 1), 0) == MQ_OK);
    WANT(mqPut(&queue, &type, 6, 0, 0) == MQ_FULL && mqPut(&queue, NULL, 6, 0, 0) == MQ_BAD_ARG);
    WANT(mqUnget(&queue, number(0), 10, 3) == MQ_OK && mqNumElems(&queue) == 6);
    WANT(mqUnget(&queue, NULL, 0, 0) == MQ_BAD_ARG && mqNumElems(NULL) == -1);
    WANT(mqPop(&queue, countFree) == 1 && freed == 1); /* the item put in front */

    for (i = 1; i <= 3; i += 2) { /* the selector takes the key of the first item: 1 and 3 */
        int *data = mqGetms(&queue, &selector, &type, VORN_NO_WAIT);
        WANT(valueOf(data) == i && selector == 2 && type == (uint32_t)i);
        free(data);
    }
    free(mqCondGet(&queue, oddType, NULL, &type, VORN_NO_WAIT));
    WANT(type == 5 && mqCondGetms(&queue, oddType, NULL, &type, 1) == NULL && type == 0);
    WANT(mqPut(&queue, number(7), 7, 0, 0) == MQ_OK);
    WANT(mqCondDel(&queue, oddType, NULL) == 1 && freed == 2);
    mqFlush(&queue);
    WANT(freed == 4 && mqNumElems(&queue) == 0 && mqPop(&queue, NULL) == 0);
    WANT(checkCancelled(takeForever, &queue, &queue.lock) == 0);
    WANT(mqPut(&queue, number(1), 0, 0, 0) == MQ_OK && mqFree(&queue) == 0 && freed == 5);
    WANT(mqInit(&queue, 0, NULL) == MQ_OK && mqFree(&queue) == 0);
    return 0;
}

/* What the threads of checkThreads share. */
struct Shared {
    KvStore sums; /* one key a thread */
    MsgQueue queue;
};

static void *produce(void *argument) {
    struct Shared *shared = argument;
    int i;
    for (i = 1; i <= ROUNDS; ++i) {
        int *data = number(i);
        if (mqPut(&shared->queue, data, 1, 0, 0) != MQ_OK) free(data);
    }
    return NULL;
}

/* Adds up what it takes until an item of type 2 comes, then leaves the sum in the store. */
static void *consume(void *argument) {
    struct Shared *shared = argument;
    char key[32];
    int sum = 0;
    int *made;
    for (;;) {
        uint32_t type = 0;
        int *data = mqGet(&shared->queue, NULL, &type, 60);
        if (data == NULL || type == 2) {
            free(data);
            break;
        }
        sum += *data;
        free(data);
    }
    made = number(sum);
    snprintf(key, sizeof key, "%p", (void *)&key); /* differs between threads that live at once */
    kvLock(&shared->sums);
    if (kvGet(&shared->sums, key) != NULL) sum += valueOf(kvGet(&shared->sums, key));
    if (made != NULL) *made = sum;
    if (made == NULL || kvReplace(&shared->sums, key, made) != KV_OK) free(made);
    kvUnlock(&shared->sums);
    return NULL;
}

static int32_t addUp(const char *key, void *value, void *argument) {
    (void)key;
    *(int *)argument += valueOf(value);
    return KV_MATCH_GO_ON;
}

static int checkThreads(void) {
    struct Shared shared;
    pthread_t producers[THREADS];
    pthread_t consumers[THREADS];
    int sum = 0;
    int i;

    WANT(kvInitFlags(&shared.sums, 0, NULL, KV_RECURSIVE) == KV_OK);
    WANT(mqInit(&shared.queue, 0, NULL) == MQ_OK);
    for (i = 0; i < THREADS; ++i) {
        WANT(pthread_create(&consumers[i], NULL, consume, &shared) == 0);
        WANT(pthread_create(&producers[i], NULL, produce, &shared) == 0);
    }
    for (i = 0; i < THREADS; ++i) WANT(pthread_join(producers[i], NULL) == 0);
    for (i = 0; i < THREADS; ++i) WANT(mqPut(&shared.queue, number(0), 2, 0, 0) == MQ_OK);
    for (i = 0; i < THREADS; ++i) WANT(pthread_join(consumers[i], NULL) == 0);
    WANT(kvIterate(&shared.sums, addUp, &sum) >= 1);
    WANT(sum == THREADS * ROUNDS * (ROUNDS + 1) / 2);
    kvFree(&shared.sums);
    WANT(mqFree(&shared.queue) == 0);
    return 0;
}

void *start(const Results *results, const TemplateParam *arguments, DictResolver *dict) {
    (void)results;
    (void)arguments;
    (void)dict;
    return NULL;
}

/* check(of:NAME) */
int32_t check(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    static const struct {
        const char *name;
        int (*run)(void);
    } checks[] = {
        {"store", checkStore},
        {"signals", checkSignals},
        {"queue", checkQueue},
        {"threads", checkThreads},
    };
    const char *wanted = vorn_get_param_value(arguments, "of");
    char text[32] = "no such check";
    size_t i;

    (void)pluginData;
    for (i = 0; i < sizeof checks / sizeof checks[0]; ++i) {
        int line;
        if (wanted == NULL || strcmp(checks[i].name, wanted) != 0) continue;
        line = checks[i].run();
        if (line == 0)
            strcpy(text, "ok");
        else
            snprintf(text, sizeof text, "line %d", line);
    }
    value->type = VORN_TYPE_STRING;
    value->data = strdup(text);
    value->flags = VORN_VALUE_OWNED;
    return value->data == NULL ? -1 : 0;
}
