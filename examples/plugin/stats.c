/* SPDX-License-Identifier: MIT */
/* An example of a template plug-in: what a series of numbers comes to, a verdict on them, and times
 * as ISO 8601.
 *
 *   <plugin name=st, lib=./libstats.so, init=statsInit(app:latency), end=statsEnd()>
 *
 * Functions that take a series have the argument `of`: items with blanks between them. Each is
 * [application@]item[:field], and `app` of the init function is the application of those that name
 * none. Of an array all elements count, from index `first` on (0 when absent). They are unsigned;
 * the file does not say how wide, so `width` must when they have 2 or 4 bytes: as the application
 * that wrote the file has it, or the plug-in reads what is not there. An item without a value is
 * left out.
 *
 * In `enabled-by`, `from` and `to` a text with "@" names an item and is no call: there `app` has to
 * name the application. */
/* clang-format off */
/*   statsMin(of), statsMax(of), statsMean(of)  DOUBLE, absent for an empty series
 *   statsPercentile(of; percent)               DOUBLE, what so many percent do not exceed
 *   statsCount(of)                             INT32, the length of the series, for iterate
 *   statsWithin(of; atleast; atmost)           UINT32, 1 when all are within limits, for enabled-by
 *   statsTime(time)                            string, the `start` or `stop` of `app` in UTC */
/* clang-format on */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <vorn/plugin.h>

/* Lets the program refuse this library, rather than crash, should the interface ever change. */
extern int vorn_plugin_abi;
int vorn_plugin_abi = VORN_PLUGIN_ABI;

enum { STATS_FAILED = -1, MAX_ITEM = 80 };

/* What init makes and the other functions are handed. Nothing of ours lives outside it: two reports
 * may be made at once. */
typedef struct {
    const Results *results;
    char app[16];
    double *numbers; /* the series of the running call */
    size_t count;
    size_t room;
} Stats;

/* ---- the series ---- */

static long numberOf(const TemplateParam *arguments, const char *name, long without) {
    const char *text = vorn_get_param_value(arguments, name);
    return text == NULL ? without : strtol(text, NULL, 10);
}

/* Returns 0, or STATS_FAILED when memory ran out. */
static int append(Stats *stats, double number) {
    if (stats->count == stats->room) {
        const size_t room = stats->room == 0 ? 64 : 2 * stats->room;
        double *numbers = realloc(stats->numbers, room * sizeof *numbers);
        if (numbers == NULL) return STATS_FAILED;
        stats->numbers = numbers;
        stats->room = room;
    }
    stats->numbers[stats->count++] = number;
    return 0;
}

static int appendArray(Stats *stats, const RegisterRecord *reg, const TemplateParam *arguments) {
    const long width = numberOf(arguments, "width", 1);
    long i = numberOf(arguments, "first", 0);

    if ((width != 1 && width != 2 && width != 4) || i < 0) return STATS_FAILED;
    for (; i < reg->as.array.length; ++i) {
        const uint8_t *element = reg->as.array.data + i * width;
        uint16_t half = 0;
        uint32_t word = *element;
        int result;
        if (width == 2) {
            memcpy(&half, element, sizeof half); /* need not be aligned */
            word = half;
        } else if (width == 4) {
            memcpy(&word, element, sizeof word);
        }
        result = append(stats, word);
        if (result != 0) return result;
    }
    return 0;
}

/* The number that a field of a register holds; 0 when it holds none. */
static int readField(const RegisterRecord *reg, int32_t field, double *number) {
    const int min = field == VORN_FIELD_MIN;
    const int max = field == VORN_FIELD_MAX;
    const int limits = min || max;

    if (field == VORN_FIELD_RATE) {
        *number = reg->as.counter.rate;
        return reg->kind == VORN_REG_COUNTER;
    }
    if (field == VORN_FIELD_SECS) {
        *number = reg->kind == VORN_REG_COUNTER ? reg->as.counter.secs : reg->as.u32Secs.secs;
        return reg->kind == VORN_REG_COUNTER || reg->kind == VORN_REG_UINT32_SECS;
    }
    switch (reg->kind) {
        case VORN_REG_UINT32:
            *number = min ? reg->as.u32.min : max ? reg->as.u32.max : reg->as.u32.value;
            return 1;
        case VORN_REG_INT32:
            *number = min ? reg->as.i32.min : max ? reg->as.i32.max : reg->as.i32.value;
            return 1;
        case VORN_REG_UINT64:
            *number = (double)(min ? reg->as.u64.min : max ? reg->as.u64.max : reg->as.u64.value);
            return 1;
        case VORN_REG_FLOAT:
            *number = (double)reg->as.f32.value;
            return !limits;
        case VORN_REG_DOUBLE:
            *number = reg->as.f64.value;
            return !limits;
        case VORN_REG_COUNTER:
            *number = (double)reg->as.counter.value;
            return !limits;
        case VORN_REG_UINT32_SECS:
            *number = reg->as.u32Secs.value;
            return !limits;
        default:
            return 0;
    }
}

static int appendItem(Stats *stats, const char *name, int length, const TemplateParam *arguments) {
    char item[MAX_ITEM]; /* a copy: the look-up cuts it into its parts */
    const RegisterRecord *reg;
    int32_t field = VORN_FIELD_VALUE;
    double number = 0;

    if (memchr(name, '@', (size_t)length) != NULL || stats->app[0] == '\0')
        snprintf(item, sizeof item, "%.*s", length, name);
    else
        snprintf(item, sizeof item, "%s@%.*s", stats->app, length, name);
    reg = vorn_get_result_item(item, stats->results, &field);
    if (reg == NULL) return VORN_ITEM_MISSING; /* the program's message says which */
    if (!reg->valid) return 0;
    if (reg->kind == VORN_REG_ARRAY) return appendArray(stats, reg, arguments);
    if (!readField(reg, field, &number)) return STATS_FAILED;
    return append(stats, number);
}

/* Collects the series that the argument `of` names; 0, or what the value function returns. */
static int collect(Stats *stats, const TemplateParam *arguments) {
    const char *rest = vorn_get_param_value(arguments, "of");
    if (stats == NULL || rest == NULL) return STATS_FAILED;
    stats->count = 0;
    while (*(rest += strspn(rest, " ")) != '\0') {
        const size_t length = strcspn(rest, " ");
        const int result = appendItem(stats, rest, (int)length, arguments);
        if (result != 0) return result;
        rest += length;
    }
    return 0;
}

static int compareNumbers(const void *a, const void *b) {
    const double x = *(const double *)a;
    const double y = *(const double *)b;
    return (x > y) - (x < y);
}

static void sort(Stats *stats) {
    if (stats->count > 0)
        qsort(stats->numbers, stats->count, sizeof *stats->numbers, compareNumbers);
}

/* ---- values ---- */

/* Gives a value a copy of its data, which the engine frees once the row is written. */
static int32_t giveCopy(ItemValue *value, uint32_t type, const void *data, size_t size) {
    value->data = malloc(size);
    if (value->data == NULL) return STATS_FAILED;
    memcpy(value->data, data, size);
    value->type = type;
    value->flags = VORN_VALUE_OWNED;
    return 0;
}

static int32_t giveDouble(ItemValue *value, double number) {
    return giveCopy(value, VORN_TYPE_DOUBLE, &number, sizeof number);
}

int32_t statsMin(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const int result = collect(stats, arguments);
    if (result != 0 || stats->count == 0) return result; /* empty: the value stays absent, "----" */
    sort(stats);
    return giveDouble(value, stats->numbers[0]);
}

int32_t statsMax(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const int result = collect(stats, arguments);
    if (result != 0 || stats->count == 0) return result;
    sort(stats);
    return giveDouble(value, stats->numbers[stats->count - 1]);
}

int32_t statsMean(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const int result = collect(stats, arguments);
    double sum = 0;
    size_t i;
    if (result != 0 || stats->count == 0) return result;
    for (i = 0; i < stats->count; ++i) sum += stats->numbers[i];
    return giveDouble(value, sum / (double)stats->count);
}

/* Nearest rank: with 95 percent, the smallest number that is at least as large as 95 % of them. */
int32_t statsPercentile(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const char *text = vorn_get_param_value(arguments, "percent");
    const int result = collect(stats, arguments);
    double percent;
    double reached;
    size_t rank;
    if (text == NULL) return STATS_FAILED;
    if (result != 0 || stats->count == 0) return result;
    percent = strtod(text, NULL);
    if (!(percent >= 0 && percent <= 100)) return STATS_FAILED;
    sort(stats);
    reached = percent * (double)stats->count / 100;
    rank = (size_t)reached;
    if ((double)rank < reached) ++rank;
    return giveDouble(value, stats->numbers[rank == 0 ? 0 : rank - 1]);
}

int32_t statsCount(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const int result = collect(stats, arguments);
    int32_t count;
    if (result != 0) return result;
    count = (int32_t)stats->count;
    return giveCopy(value, VORN_TYPE_INT32, &count, sizeof count);
}

int32_t statsWithin(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Stats *stats = pluginData;
    const char *atLeast = vorn_get_param_value(arguments, "atleast");
    const char *atMost = vorn_get_param_value(arguments, "atmost");
    const int result = collect(stats, arguments);
    uint32_t verdict = 1;
    size_t i;
    if (result != 0) return result;
    for (i = 0; i < stats->count; ++i) {
        if (atLeast != NULL && stats->numbers[i] < strtod(atLeast, NULL)) verdict = 0;
        if (atMost != NULL && stats->numbers[i] > strtod(atMost, NULL)) verdict = 0;
    }
    return giveCopy(value, VORN_TYPE_UINT32, &verdict, sizeof verdict);
}

int32_t statsTime(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    const Stats *stats = pluginData;
    const char *which = vorn_get_param_value(arguments, "time");
    const Results *app;
    char text[32];
    struct tm utc;
    time_t seconds;

    if (stats == NULL || which == NULL) return STATS_FAILED;
    app = stats->results;
    while (app != NULL && stats->app[0] != '\0' && strcmp(app->name, stats->app) != 0)
        app = app->next;
    if (app == NULL) return VORN_ITEM_MISSING;
    if (strcmp(which, "start") != 0 && strcmp(which, "stop") != 0) return STATS_FAILED;
    seconds = (time_t)(strcmp(which, "start") == 0 ? app->startTime : app->stopTime);
    if (gmtime_r(&seconds, &utc) == NULL) return STATS_FAILED;
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return giveCopy(value, VORN_TYPE_STRING, text, strlen(text) + 1);
}

/* ---- begin and end ---- */

/* Null when memory ran out; the value functions then fail. */
void *statsInit(const Results *results, const TemplateParam *arguments, DictResolver *dict) {
    Stats *stats = calloc(1, sizeof *stats);
    const char *app = vorn_get_param_value(arguments, "app");
    (void)dict;
    if (stats == NULL) return NULL;
    stats->results = results;
    if (app != NULL) snprintf(stats->app, sizeof stats->app, "%.15s", app);
    return stats;
}

void statsEnd(void *pluginData, const TemplateParam *arguments) {
    Stats *stats = pluginData;
    (void)arguments;
    if (stats == NULL) return;
    free(stats->numbers);
    free(stats);
}
