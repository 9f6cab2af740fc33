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

static int *number(int value) {
    int *made = malloc(sizeof *made);
    if (made != NULL) *made = value;
    return made;
}

static int valueOf(const void *value) {
    return value == NULL ? -1 : *(const int *)value;
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

static int checkWaits(void) {
    KvStore store;
    MsgQueue queue;
    uint32_t word = 0;
    uint32_t all = 0;
    pthread_t thread;

    WANT(kvInit(&store, 0, NULL) == KV_OK && mqInit(&queue, 0, NULL) == MQ_OK);
    WANT(pthread_create(&thread, NULL, signalBits, &store) == 0);
    while (all != 0xFFFFFFFFu) {
        WANT(kvWaitms(&store, &word, 60000) == KV_OK);
        all |= word;
    }
    WANT(pthread_join(thread, NULL) == 0);
    WANT(checkCancelled(waitForever, &store, &store.lock) == 0);
    WANT(checkCancelled(takeForever, &queue, &queue.lock) == 0);
    kvFree(&store);
    WANT(mqFree(&queue) == 0);
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
        {"waits", checkWaits},
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
