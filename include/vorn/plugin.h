/* SPDX-License-Identifier: MIT */
/* The plug-in interface: the records that a template plug-in reads and fills, and the functions
 * that the program exports to it. C99 and C++ compile against this header; so does the program
 * itself.
 *
 * A plug-in is a shared library with functions of three types, declared below: PluginInitFn starts
 * it, functions of PluginValueFn compute values, PluginEndFn ends it. The template's plugin clause
 * names the first and the last. All run on the thread of the merge that loaded the plug-in, one
 * call at a time; but two merges may run at once on two threads, and share what the library keeps
 * outside its pluginData. No C++ exception may leave a plug-in's function.
 *
 * On 32-bit hosts compile with -D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64, as `pkg-config --cflags
 * vorn-plugin` and the CMake target say: kvWaitAbs takes a struct timespec with 64-bit seconds. */
#ifndef VORN_PLUGIN_H
#define VORN_PLUGIN_H

#include <pthread.h>
#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The number of this interface. A library that defines `int vorn_plugin_abi = VORN_PLUGIN_ABI;` is
 * refused, with both numbers, by a program that speaks another; one without it is always taken. */
#define VORN_PLUGIN_ABI 1

/* ---- records that a plug-in reads and fills ---- */

/* One parameter or call argument, a node of a list. Name and value have no blanks at their ends. */
typedef struct TemplateParam TemplateParam;
struct TemplateParam {
    char name[16];
    char value[64];
    TemplateParam *next;
};

/* What `data` of an ItemValue points to. */
enum {
    VORN_TYPE_NONE,   /* nothing: the value is absent and prints as "----" */
    VORN_TYPE_STRING, /* UTF-8 text, ended by a NUL */
    VORN_TYPE_UINT32,
    VORN_TYPE_INT32,
    VORN_TYPE_UINT64,
    VORN_TYPE_FLOAT,
    VORN_TYPE_DOUBLE
};

/* ItemValue.flags: `data` came from malloc, and the engine releases it with free. */
enum { VORN_VALUE_OWNED = 1 };

/* One value of a row. A value function gets it empty (all zero) and fills type, data and flags.
 *   data   holds what type says; it need not be aligned. Without VORN_VALUE_OWNED it stays the
 *          plug-in's and valid until the row is written, at the latest until the end function.
 *   size   0; only a text that stands for the raw bytes of an array says how many there are, so
 *          that conv=arrayFloat takes four of them as a FLOAT
 *   flags  0 or VORN_VALUE_OWNED. Other bits, and a type without data, end the report with a
 *          message. A value of a type that is not below shows as no text. */
typedef struct ItemValue ItemValue;
struct ItemValue {
    uint32_t type; /* VORN_TYPE_... */
    void *data;
    uint8_t size;
    uint8_t flags; /* bit 0: release data with free */
};

/* Kinds of registers: which member of `as` holds the fields. */
enum {
    VORN_REG_SELECTION,
    VORN_REG_BITSET,
    VORN_REG_UINT32,
    VORN_REG_INT32,
    VORN_REG_UINT64,
    VORN_REG_FLOAT,
    VORN_REG_DOUBLE,
    VORN_REG_COUNTER,
    VORN_REG_UINT32_SECS,
    VORN_REG_ARRAY
};

/* Fields of a register that an item text can name. */
enum { VORN_FIELD_VALUE, VORN_FIELD_SECS, VORN_FIELD_RATE, VORN_FIELD_MIN, VORN_FIELD_MAX };

/* One item of an application. Texts and arrays belong to the record; a label may be null. An array
 * has `length` elements of 1, 2 or 4 bytes in host order; when it has any, the uint64_t right
 * before `data` is their size in bytes together. Whether they are signed is for the application
 * that wrote the file to say. */
typedef struct RegisterRecord RegisterRecord;
struct RegisterRecord {
    char *name;
    uint8_t kind;  /* VORN_REG_...: says which member of `as` holds the fields */
    uint8_t valid; /* 0: the register holds no value */
    /* clang-format off */
    union {
        struct { uint8_t selValue; char *label; } selection;                 /* kind 0 */
        struct { uint32_t bits; int32_t labelCount; char **labels; } bitSet; /* kind 1 */
        struct { uint32_t value, min, max; } u32;                            /* kind 2 */
        struct { int32_t value, min, max; } i32;                             /* kind 3 */
        struct { uint64_t value, min, max; } u64;                            /* kind 4 */
        struct { float value; } f32;                                         /* kind 5 */
        struct { double value; } f64;                                        /* kind 6 */
        struct { uint64_t value; double rate; uint32_t secs; } counter;      /* kind 7 */
        struct { uint32_t value; uint32_t secs; } u32Secs;                   /* kind 8 */
        struct { uint16_t length; uint8_t *data; } array;                    /* kind 9 */
    } as;
    /* clang-format on */
};

/* One application of a results file; a pointer to the first stands for the file. Times are seconds
 * since 1970-01-01 UTC, elapsedTime is stopTime less startTime. */
typedef struct Results Results;
struct Results {
    char name[16];
    uint32_t startTime;
    uint32_t stopTime;
    uint32_t restartTime;
    uint8_t status;
    uint32_t powerfailTime;
    uint32_t elapsedTime;
    int32_t regCount;
    RegisterRecord *regs;
    Results *next;
};

/* The dictionaries of the report; handed back to vorn_copy_dict_value and never looked into. */
typedef struct DictResolver DictResolver;

/* ---- the functions of a plug-in ---- */

/* Starts the plug-in.
 *   results    the file's first application, null when it has none; read only
 *   arguments  those of the clause's `init`, null without any; freed when the call returns
 *   dict       the report's dictionaries
 * `results` and `dict` are given only here and stay valid until the end function returns. What init
 * returns, null included, is handed to every later function and is not looked at: when something
 * failed, the value functions say so. */
typedef void *(*PluginInitFn)(const Results *results, const TemplateParam *arguments,
                              DictResolver *dict);

enum { VORN_ITEM_MISSING = -3 }; /* a value function's "no such item": the merge stops with -14 */

/* Fills `value` and returns 0; VORN_ITEM_MISSING or any other number ends the report. Data that is
 * marked VORN_VALUE_OWNED is released then, too. `arguments` as for init. */
typedef int32_t (*PluginValueFn)(void *pluginData, const TemplateParam *arguments,
                                 ItemValue *value);

/* Releases what init made, at the end of every merge, a failed one included. When the clause names
 * no end function, the engine calls free(pluginData). `arguments` as for init. */
typedef void (*PluginEndFn)(void *pluginData, const TemplateParam *arguments);

/* ---- service functions ---- */

/* Finds a register by [application@]item[:field] or [application@]item[index], in the first
 * application when none is named. The index is not handed back.
 *   itemText  is changed in place (separators become NUL): pass a copy of your own
 *   results   what init was given
 *   field     gets VORN_FIELD_...; may be null
 * Returns the register, which belongs to the results, or null after a message in the log. */
const RegisterRecord *vorn_get_result_item(char *itemText, const Results *results, int32_t *field);

/* Returns the value of the first parameter with exactly this name, or null. The text belongs to the
 * list, which is freed when the running call returns. `params` may be null: an empty list. */
const char *vorn_get_param_value(const TemplateParam *params, const char *name);

/* Translates a key with the dictionaries that are in use at the template's present place. Returns a
 * new text that the caller releases with free: the translation, or the key itself when no
 * dictionary holds it. Null when memory ran out. */
char *vorn_copy_dict_value(DictResolver *dict, const char *key);

/* ---- keyed store ----
 * A thread-safe list of text keys (at most 64 characters, longer ones are cut) and values that the
 * store owns, with a lock, an optional capacity and order, and a word on which threads can wait.
 * Any thread may call any operation. Callbacks run under the store's lock and call no operation of
 * the same store unless it is recursive. Then they may call any: an element that a callback deletes
 * is not visited any more, one that it adds is when it comes behind, and a match whose callback
 * deleted its own element gives none. Waits are cancellation points that leave the lock free; but a
 * thread that holds a recursive lock already, in a callback or by kvLock, keeps it while it waits,
 * and nobody else can signal: there a wait needs a time-out. */

enum {
    KV_OK = 0,
    KV_BAD_ARG = -1, /* null store or value, zero signal word */
    KV_FULL = -2,
    KV_EXISTS = -3,
    KV_TIMEOUT = -4,   /* nothing was signalled in time */
    KV_NOT_FOUND = -5, /* no element matched */
    KV_NO_SORT = -6    /* no sort method is set */
};
enum { KV_EQUAL = 0, KV_AFTER = 2, KV_BEFORE = 3 };              /* KvCompareFn */
enum { KV_NO_MATCH = 0, KV_MATCH_STOP = 1, KV_MATCH_GO_ON = 2 }; /* KvMatchFn, MqMatchFn */
enum { KV_SIGNAL_SET = 0, KV_SIGNAL_OR = 1, KV_SIGNAL_AND = 2 }; /* kvSignalMask */

/* Times of the waits, in seconds or milliseconds from now, but for these two. */
#define VORN_WAIT_FOREVER 0u     /* no limit */
#define VORN_NO_WAIT 0xFFFFFFFFu /* return at once */

/* Tests an element: KV_NO_MATCH, KV_MATCH_STOP (a match, and the walk ends), or KV_MATCH_GO_ON, as
 * any other number. */
typedef int32_t (*KvMatchFn)(const char *key, void *value, void *argument);
/* The same for kvCondGetCopy, which takes as many bytes as *size then says. */
typedef int32_t (*KvCopyMatchFn)(const char *key, void *value, void *argument, int32_t *size);
/* KV_AFTER when a sorts after b, KV_BEFORE when before, KV_EQUAL. */
typedef int32_t (*KvCompareFn)(const void *a, const void *b, void *context);
/* Frees one value. */
typedef void (*KvFreeFn)(void *value);

typedef struct KvElem KvElem;
struct KvElem {
    char key[65];
    void *value;
    KvElem *next;
    KvElem *prev;
};

typedef struct KvStore KvStore;
struct KvStore {
    int32_t count;
    int32_t maxElems; /* 0 or less: no limit */
    uint32_t signal;  /* the pending word, 0: none */
    KvElem *first;
    KvElem *last;
    pthread_mutex_t lock;
    pthread_cond_t cond;
    KvFreeFn freeValue;     /* null: free */
    KvCompareFn sortMethod; /* null: elements stand in the order they were added */
    void *context;          /* handed to sortMethod */
};

/* kvInitFlags: a thread that holds kvLock may call the other operations. */
#define KV_RECURSIVE 1u

/* Makes a store in the caller's memory. Returns KV_OK, or what creating the condition variable
 * returned. freeValue may be null for free. kvInit is kvInitFlags with flags 0. */
int32_t kvInit(KvStore *store, int32_t maxElems, KvFreeFn freeValue);
int32_t kvInitFlags(KvStore *store, int32_t maxElems, KvFreeFn freeValue, uint32_t flags);

/* Adds an element; the value belongs to the store when KV_OK is returned and stays the caller's
 * otherwise: KV_BAD_ARG, KV_EXISTS (nothing changes) or KV_FULL. */
int32_t kvAdd(KvStore *store, const char *key, void *value);

/* Frees the key's old value and puts the new one in its place, or adds the key. Ownership as kvAdd;
 * KV_OK, KV_BAD_ARG, or KV_FULL for a new key. */
int32_t kvReplace(KvStore *store, const char *key, void *value);

/* The stored value itself, or null; a null key means the first element. It stays valid only until
 * another thread replaces or deletes the element: hold kvLock, or use kvGetCopy. */
void *kvGet(KvStore *store, const char *key);

/* The value of the first element that matches, or null; validity as kvGet. */
void *kvCondGet(KvStore *store, KvMatchFn match, void *argument);

/* Calls match for each element until it returns KV_MATCH_STOP. Returns how many calls matched. */
int32_t kvIterate(KvStore *store, KvMatchFn match, void *argument);

/* Deletes the first element with this key (null: the first element) and frees its value. KV_OK or
 * KV_NOT_FOUND. */
int32_t kvDel(KvStore *store, const char *key);

/* Frees all elements, then the lock. The store's memory stays the caller's; before further use it
 * is initialised again. No other thread may use the store meanwhile. */
void kvFree(KvStore *store);

/* Sets the order for elements added from now on (null: none); those in the store stay. KV_OK. */
int32_t kvSetSortMethod(KvStore *store, KvCompareFn sortMethod);

/* Sets the third argument of the sort method; it stays the caller's. KV_OK. */
int32_t kvSetContext(KvStore *store, void *context);

/* The number of elements, or KV_BAD_ARG for a null store. */
int32_t kvNumElems(KvStore *store);

/* A malloc'ed copy of the first `size` bytes of the value, which has at least as many; the caller
 * frees it. Null when the key is absent or size is 0 or less. */
void *kvGetCopy(KvStore *store, const char *key, int32_t size);

/* The same for the first element that matches; match may change the size. */
void *kvCondGetCopy(KvStore *store, KvCopyMatchFn match, void *argument, int32_t size);

/* Deletes every element that matches, stopping after KV_MATCH_STOP. KV_OK when one was deleted,
 * else KV_NOT_FOUND. */
int32_t kvCondDel(KvStore *store, KvMatchFn match, void *argument);

/* Deletes all elements and frees their values. */
void kvFlush(KvStore *store);

/* Sets the signal word, over one that is pending, and wakes one waiting thread. KV_OK, or
 * KV_BAD_ARG for the word 0. */
int32_t kvSignal(KvStore *store, uint32_t word);

/* Sets (KV_SIGNAL_SET), ORs in or ANDs in bits; any other operation leaves the word. Then wakes one
 * waiting thread. KV_OK, or KV_BAD_ARG for bits 0. */
int32_t kvSignalMask(KvStore *store, uint32_t bits, uint32_t operation);

/* Waits for a word and takes it. `word` may be null; it gets 0 when none came. KV_OK or KV_TIMEOUT.
 * A word that is set at the very moment of the time-out may still be taken.
 * Times: seconds, milliseconds, or an absolute time of CLOCK_REALTIME (null: KV_BAD_ARG). */
int32_t kvWait(KvStore *store, uint32_t *word, uint32_t seconds);
int32_t kvWaitms(KvStore *store, uint32_t *word, uint32_t milliseconds);
int32_t kvWaitAbs(KvStore *store, uint32_t *word, const struct timespec *deadline);

/* Lock and unlock the store's mutex; the mutex call's result. Between the two, the thread may call
 * the other operations of a KV_RECURSIVE store only. */
int32_t kvLock(KvStore *store);
int32_t kvUnlock(KvStore *store);

/* A null-ended table of copies of all keys in list order, released with kvFreeList. `count` may be
 * null. Null, and a count of 0, for an empty store. */
char **kvGetList(KvStore *store, int32_t *count);

/* Releases a table of kvGetList; null is allowed. */
void kvFreeList(char **list);

/* Copies `size` bytes of each source value, which has at least as many, under its key into the
 * destination, over values that are there; kvCopy empties the destination first. KV_OK, KV_FULL
 * (the rest is left out), or KV_BAD_ARG for a null store or the same store twice. With a size of 0
 * or below the values are null. No two threads name the same pair in opposite order. */
int32_t kvCopy(KvStore *destination, KvStore *source, int32_t size);
int32_t kvMerge(KvStore *destination, KvStore *source, int32_t size);

/* 0 when both hold the same keys and compare (may be null) returns KV_EQUAL for each pair of
 * values; 1 when they differ; KV_BAD_ARG for a null store. Stores as for kvCopy. */
int32_t kvCompare(KvStore *a, KvStore *b, KvCompareFn compare, void *context);

/* Reorders the list by compare, or by key when that is null; any non-zero `descending` turns the
 * order round. `context` is compare's third argument. KV_OK, or KV_BAD_ARG for a null store. */
int32_t kvSort(KvStore *store, KvCompareFn compare, uint8_t descending, void *context);

/* Moves an element whose value changed back to its sorted place. KV_OK, KV_BAD_ARG, KV_NO_SORT or
 * KV_NOT_FOUND. */
int32_t kvSortElement(KvStore *store, const char *key);

/* ---- message queue ----
 * A thread-safe queue of pointers. Each item carries a type, handed back with the data, and a key
 * by which a consumer can select. Meant for one consumer, or for consumers that take every item: a
 * put wakes one of them only. Callbacks and waits as for the keyed store. */

enum { MQ_OK = 0, MQ_BAD_ARG = -1, MQ_FULL = -2 };

/* Tests an item: KV_NO_MATCH, KV_MATCH_STOP or KV_MATCH_GO_ON (which differ for mqCondDel only). */
typedef int32_t (*MqMatchFn)(uint32_t type, uint32_t key, void *data, void *argument);
/* Frees one item's data. */
typedef void (*MqFreeFn)(void *data);

typedef struct MqElem MqElem;
struct MqElem {
    uint32_t type;
    uint32_t key;
    void *data;
    MqElem *next;
    MqElem *prev;
};

typedef struct MsgQueue MsgQueue;
struct MsgQueue {
    int32_t count;
    int32_t maxElems; /* 0 or less: no limit */
    MqElem *first;
    MqElem *last;
    pthread_mutex_t lock;
    pthread_cond_t cond;
    MqFreeFn freeData; /* null: free */
};

/* mqInitFlags: the queue's mutex is recursive. */
#define MQ_RECURSIVE 1u

/* Makes a queue in the caller's memory. Returns MQ_OK, or what creating the condition variable
 * returned. freeData, for items that the queue itself discards, may be null for free. */
int32_t mqInit(MsgQueue *queue, int32_t maxElems, MqFreeFn freeData);
int32_t mqInitFlags(MsgQueue *queue, int32_t maxElems, MqFreeFn freeData, uint32_t flags);

/* Appends an item and wakes one consumer. The data is the queue's when MQ_OK is returned and stays
 * the caller's otherwise: MQ_BAD_ARG for null, MQ_FULL at once. The fifth word is not used. */
int32_t mqPut(MsgQueue *queue, void *data, uint32_t type, uint32_t key, uint32_t ignored);

/* Takes the first item that the selector accepts; the data is then the caller's. Null when none
 * came in time (seconds or milliseconds, as for kvWait).
 *   selector  null: every item; *selector 0: every item, and it gets that item's key; else only
 *             items with that key
 *   type      gets the item's type, 0 when none came; may be null */
void *mqGet(MsgQueue *queue, uint32_t *selector, uint32_t *type, uint32_t seconds);
void *mqGetms(MsgQueue *queue, uint32_t *selector, uint32_t *type, uint32_t milliseconds);

/* The same with a match function, which is handed `argument`, in place of the selector. */
void *mqCondGet(MsgQueue *queue, MqMatchFn match, void *argument, uint32_t *type, uint32_t seconds);
void *mqCondGetms(MsgQueue *queue, MqMatchFn match, void *argument, uint32_t *type,
                  uint32_t milliseconds);

/* Takes the front item without waiting and frees its data with freeData (null: free). 1, or 0 when
 * the queue was empty. */
int32_t mqPop(MsgQueue *queue, MqFreeFn freeData);

/* Puts an item in front of all others, over the capacity if need be, and wakes one consumer. MQ_OK,
 * or MQ_BAD_ARG for null data. */
int32_t mqUnget(MsgQueue *queue, void *data, uint32_t type, uint32_t key);

/* Removes every item that matches, stopping after KV_MATCH_STOP, and frees its data with the
 * queue's freeData. Returns how many. */
int32_t mqCondDel(MsgQueue *queue, MqMatchFn match, void *argument);

/* Removes all items and frees their data with the queue's freeData. */
void mqFlush(MsgQueue *queue);

/* The number of items, or MQ_BAD_ARG for a null queue. */
int32_t mqNumElems(MsgQueue *queue);

/* mqFlush, then destroys the lock; the mutex destruction's result. The queue's memory stays the
 * caller's. No other thread may use the queue meanwhile. */
int32_t mqFree(MsgQueue *queue);

#ifdef __cplusplus
}
#endif
#endif
