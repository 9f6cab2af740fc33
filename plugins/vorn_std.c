/* SPDX-License-Identifier: MIT */
/* The standard plug-in: what reports are most often asked for and a template cannot say itself.
 *
 *   <plugin name=std, lib=vorn-std, init=std_init(app:port1), end=std_end()>
 *   <value plugin=std.verdict(item:rxErrors;low:0;high:10), dict></value>
 */
/* clang-format off */
/*   within(item; low; high)     INT32, 1 when low <= item <= high, else 0; one limit may be left out
 *   compare(item; op; number)   INT32, 1 when it holds, else 0; op is lt, le, eq, ne, ge or gt
 *   verdict(item; low; high)    string, "pass" or "fail": keys for a dictionary
 *   present(item)               INT32, 1 when the item holds a value, else 0
 *   count(item)                 INT32, how many numbers there are
 *   last(array)                 INT32, index of the last, for a loop from 0; -1 without any
 *   sum, mean, min, max (item)  DOUBLE, of all numbers
 *   percentile(array; p)        DOUBLE, the smallest that is at least as large as p percent
 *   ratio(a; b)                 DOUBLE, a / b; absent when b is 0
 *   difference(a; b)            DOUBLE, a - b
 *   iso_time(item)              string, seconds since 1970 as 2023-11-14T22:13:20Z */
/* clang-format on */
/* An item is [application@]item[:field], or [application@]item[index] for an element of an array.
 * The application of one that names none is the argument `app` of the call, then that of std_init,
 * then the file's first: in `enabled-by`, `from` and `to` a text with "@" is no call, so `app` is
 * how an application is named there. iso_time takes the times of an application too: %start-time,
 * %stop-time, %restart-time, %powerfail-time.
 *
 * Elements of arrays are unsigned, a selection counts as the number of its entry, a bit set as that
 * of its bits. Where all numbers count, `item` (or `array`) lists items with blanks between them,
 * and an array counts with all its elements. What holds no value, or no number (NaN), is left out
 * there; everywhere else it makes the result absent, "----" in the report. Numbers are DOUBLE, and
 * exact up to 2^53. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <vorn/plugin.h>

#define EXPORTED __attribute__((visibility("default")))

extern EXPORTED int vorn_plugin_abi;
int vorn_plugin_abi = VORN_PLUGIN_ABI;

/* What the functions return; all but the first two end the report. */
enum {
    STD_OK = 0,
    STD_ABSENT = 1,        /* inside this file only: the item holds no value */
    STD_BAD_ARGUMENT = -1, /* an argument is missing, no number, or makes no sense */
    STD_NO_NUMBER = -2,    /* the item has no such field, or is an array where one number counts */
    STD_NO_MEMORY = -4,
    STD_NO_ELEMENT = -5, /* the array ends before the index */
};

enum {
    VALUE_SIZE = sizeof(((TemplateParam *)0)->value),
    ITEM_SIZE = 2 * VALUE_SIZE, /* of an application, "@" and an item */
    MAX_DIGITS = 9,             /* of an index */
};

/* What std_init makes. Two reports may be made at once, so nothing lives outside it. */
typedef struct {
    const Results *results;
    char app[VALUE_SIZE];
    int isWrong; /* an argument of std_init has another name: no item is found then */
} Std;

/* ---- arguments ---- */

/* Whether all arguments have one of the names, which have blanks around them: a misspelt limit must
 * not pass for one that is left out. */
static int areKnown(const TemplateParam *arguments, const char *names) {
    for (; arguments != NULL; arguments = arguments->next) {
        char name[sizeof arguments->name + 2];
        snprintf(name, sizeof name, " %s ", arguments->name);
        if (strchr(arguments->name, ' ') != NULL || strstr(names, name) == NULL) return 0;
    }
    return 1;
}

/* Reads a number that has to be the argument's whole text. */
static int readNumber(const TemplateParam *arguments, const char *name, double *number) {
    const char *text = vorn_get_param_value(arguments, name);
    char *end;
    if (text == NULL || *text == '\0') return STD_BAD_ARGUMENT;
    *number = strtod(text, &end);
    return *end == '\0' && !isnan(*number) ? STD_OK : STD_BAD_ARGUMENT;
}

static const char *applicationOf(const Std *std, const TemplateParam *arguments) {
    const char *app = vorn_get_param_value(arguments, "app");
    return app != NULL ? app : std->app;
}

/* ---- items ---- */

typedef struct {
    const RegisterRecord *reg;
    int32_t field; /* VORN_FIELD_... */
    long index;    /* of an element; -1: none is asked for */
} Item;

/* Reads the index of an item text "item[index]", which the look-up only cuts off. */
static int readIndex(const char *text, long *index) {
    const char *at = strchr(text, '@');
    const char *name = at != NULL ? at + 1 : text;
    const char *digits = strchr(name, '[');
    size_t count;
    *index = -1;
    if (digits == NULL || strchr(name, ':') != NULL) return STD_OK; /* "[" is part of the name */
    count = strspn(++digits, "0123456789");
    if (count == 0 || count > MAX_DIGITS || strcmp(digits + count, "]") != 0)
        return STD_BAD_ARGUMENT;
    *index = strtol(digits, NULL, 10);
    return STD_OK;
}

/* Finds one item of `length` bytes of text: STD_OK, STD_ABSENT, STD_BAD_ARGUMENT, STD_NO_ELEMENT,
 * STD_NO_NUMBER for an index of what is no array, or VORN_ITEM_MISSING after the program's message.
 */
static int findItem(const Std *std, const TemplateParam *arguments, const char *text, size_t length,
                    Item *found) {
    char item[ITEM_SIZE]; /* a copy: the look-up cuts it into its parts */
    const char *app = applicationOf(std, arguments);
    if (std->isWrong) return STD_BAD_ARGUMENT;
    if (memchr(text, '@', length) != NULL || *app == '\0')
        snprintf(item, sizeof item, "%.*s", (int)length, text);
    else
        snprintf(item, sizeof item, "%s@%.*s", app, (int)length, text);
    if (readIndex(item, &found->index) != STD_OK) return STD_BAD_ARGUMENT;
    found->field = VORN_FIELD_VALUE;
    found->reg = vorn_get_result_item(item, std->results, &found->field);
    if (found->reg == NULL) return VORN_ITEM_MISSING;
    if (!found->reg->valid) return STD_ABSENT;
    if (found->index < 0) return STD_OK;
    if (found->reg->kind != VORN_REG_ARRAY) return STD_NO_NUMBER;
    return found->index < found->reg->as.array.length ? STD_OK : STD_NO_ELEMENT;
}

/* An element of an array that has it; the program keeps the size in bytes right before the data. */
static double elementOf(const RegisterRecord *reg, size_t index) {
    uint64_t size;
    uint16_t half;
    uint32_t word;
    size_t width;
    const uint8_t *element;
    memcpy(&size, reg->as.array.data - sizeof size, sizeof size);
    width = (size_t)size / reg->as.array.length;
    element = reg->as.array.data + index * width; /* need not be aligned */
    if (width == sizeof word) {
        memcpy(&word, element, sizeof word);
        return word;
    }
    if (width == sizeof half) {
        memcpy(&half, element, sizeof half);
        return half;
    }
    return *element;
}

/* Fields that a kind of register has, bit n: VORN_FIELD n. An array has elements. */
enum {
    HAS_VALUE = 1 << VORN_FIELD_VALUE,
    HAS_SECS = 1 << VORN_FIELD_SECS,
    HAS_RATE = 1 << VORN_FIELD_RATE,
    HAS_RANGE = 1 << VORN_FIELD_MIN | 1 << VORN_FIELD_MAX
};
static const unsigned char fieldsOf[] = {
    [VORN_REG_SELECTION] = HAS_VALUE,
    [VORN_REG_BITSET] = HAS_VALUE,
    [VORN_REG_UINT32] = HAS_VALUE | HAS_RANGE,
    [VORN_REG_INT32] = HAS_VALUE | HAS_RANGE,
    [VORN_REG_UINT64] = HAS_VALUE | HAS_RANGE,
    [VORN_REG_FLOAT] = HAS_VALUE,
    [VORN_REG_DOUBLE] = HAS_VALUE,
    [VORN_REG_COUNTER] = HAS_VALUE | HAS_RATE | HAS_SECS,
    [VORN_REG_UINT32_SECS] = HAS_VALUE | HAS_SECS,
    [VORN_REG_ARRAY] = 0,
};

/* Takes value, min or max of a kind that has all three. */
#define PICK_FIELD(numbers, field)                         \
    ((field) == VORN_FIELD_VALUE ? (double)(numbers).value \
     : (field) == VORN_FIELD_MIN ? (double)(numbers).min   \
                                 : (double)(numbers).max)

/* The number in a field that the register has. */
static double readField(const RegisterRecord *reg, int32_t field) {
    switch (reg->kind) {
        case VORN_REG_SELECTION:
            return reg->as.selection.selValue;
        case VORN_REG_BITSET:
            return reg->as.bitSet.bits;
        case VORN_REG_UINT32:
            return PICK_FIELD(reg->as.u32, field);
        case VORN_REG_INT32:
            return PICK_FIELD(reg->as.i32, field);
        case VORN_REG_UINT64:
            return PICK_FIELD(reg->as.u64, field);
        case VORN_REG_FLOAT:
            return (double)reg->as.f32.value;
        case VORN_REG_DOUBLE:
            return reg->as.f64.value;
        case VORN_REG_COUNTER:
            return field == VORN_FIELD_VALUE  ? (double)reg->as.counter.value
                   : field == VORN_FIELD_RATE ? reg->as.counter.rate
                                              : reg->as.counter.secs;
        default: /* VORN_REG_UINT32_SECS */
            return field == VORN_FIELD_VALUE ? reg->as.u32Secs.value : reg->as.u32Secs.secs;
    }
}

/* The one number of an item that was found: STD_OK, STD_ABSENT, STD_NO_NUMBER. */
static int readFound(const Item *found, double *number) {
    const RegisterRecord *reg = found->reg;
    if (found->index >= 0) {
        *number = elementOf(reg, (size_t)found->index);
        return STD_OK;
    }
    if (reg->kind >= sizeof fieldsOf || (fieldsOf[reg->kind] >> found->field & 1) == 0)
        return STD_NO_NUMBER;
    *number = readField(reg, found->field);
    return isnan(*number) ? STD_ABSENT : STD_OK;
}

/* The number of the item that an argument names. */
static int readItem(const Std *std, const TemplateParam *arguments, const char *name,
                    double *number) {
    const char *text = vorn_get_param_value(arguments, name);
    Item found;
    int result;
    if (std == NULL) return STD_NO_MEMORY;
    if (text == NULL || *text == '\0') return STD_BAD_ARGUMENT;
    result = findItem(std, arguments, text, strlen(text), &found);
    return result == STD_OK ? readFound(&found, number) : result;
}

/* ---- what the functions give ---- */

/* Gives a value a copy of its data, which the engine frees once the row is written. */
static int32_t give(ItemValue *value, uint32_t type, const void *data, size_t size) {
    value->data = malloc(size);
    if (value->data == NULL) return STD_NO_MEMORY;
    memcpy(value->data, data, size);
    value->type = type;
    value->flags = VORN_VALUE_OWNED;
    return STD_OK;
}

static int32_t giveInt(ItemValue *value, int32_t number) {
    return give(value, VORN_TYPE_INT32, &number, sizeof number);
}

/* What comes of infinite numbers may be none: it is absent, too. */
static int32_t giveDouble(ItemValue *value, double number) {
    return isnan(number) ? STD_OK : give(value, VORN_TYPE_DOUBLE, &number, sizeof number);
}

static int32_t giveText(ItemValue *value, const char *text) {
    return give(value, VORN_TYPE_STRING, text, strlen(text) + 1);
}

/* An absent item leaves the value as it came, absent; anything else that failed ends the report. */
static int32_t giveNothing(int result) {
    return result == STD_ABSENT ? STD_OK : result;
}

/* ---- one item ---- */

/* Whether the item lies within its limits; STD_OK, STD_ABSENT or what went wrong. */
static int isWithin(const Std *std, const TemplateParam *arguments, int *within) {
    double number;
    double low = -INFINITY;
    double high = INFINITY;
    const int hasLow = vorn_get_param_value(arguments, "low") != NULL;
    const int hasHigh = vorn_get_param_value(arguments, "high") != NULL;
    int result;
    if (!areKnown(arguments, " item low high app ")) return STD_BAD_ARGUMENT;
    if (!hasLow && !hasHigh) return STD_BAD_ARGUMENT;
    if (hasLow && readNumber(arguments, "low", &low) != STD_OK) return STD_BAD_ARGUMENT;
    if (hasHigh && readNumber(arguments, "high", &high) != STD_OK) return STD_BAD_ARGUMENT;
    if (low > high) return STD_BAD_ARGUMENT;
    result = readItem(std, arguments, "item", &number);
    if (result == STD_OK) *within = number >= low && number <= high;
    return result;
}

EXPORTED int32_t within(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    int isIn = 0;
    const int result = isWithin(pluginData, arguments, &isIn);
    return result == STD_OK ? giveInt(value, isIn) : giveNothing(result);
}

EXPORTED int32_t verdict(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    int isIn = 0;
    const int result = isWithin(pluginData, arguments, &isIn);
    return result == STD_OK ? giveText(value, isIn ? "pass" : "fail") : giveNothing(result);
}

/* Bits of the relations for which a comparison holds. */
enum { LESS = 1, EQUAL = 2, GREATER = 4 };

static const struct {
    const char *name;
    int holds;
} operators[] = {
    {"lt", LESS},           {"le", LESS | EQUAL},    {"eq", EQUAL},
    {"ne", LESS | GREATER}, {"ge", EQUAL | GREATER}, {"gt", GREATER},
};

EXPORTED int32_t compare(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    const char *op = vorn_get_param_value(arguments, "op");
    double number;
    double other;
    size_t i = 0;
    int result;
    if (!areKnown(arguments, " item op number app ")) return STD_BAD_ARGUMENT;
    while (op != NULL && i < sizeof operators / sizeof *operators &&
           strcmp(op, operators[i].name) != 0)
        ++i;
    if (op == NULL || i == sizeof operators / sizeof *operators) return STD_BAD_ARGUMENT;
    if (readNumber(arguments, "number", &other) != STD_OK) return STD_BAD_ARGUMENT;
    result = readItem(pluginData, arguments, "item", &number);
    if (result != STD_OK) return giveNothing(result);
    result = number < other ? LESS : number > other ? GREATER : EQUAL;
    return giveInt(value, (operators[i].holds & result) != 0);
}

EXPORTED int32_t present(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    const char *text = vorn_get_param_value(arguments, "item");
    Item found;
    int result;
    if (pluginData == NULL) return STD_NO_MEMORY;
    if (!areKnown(arguments, " item app ")) return STD_BAD_ARGUMENT;
    if (text == NULL || *text == '\0') return STD_BAD_ARGUMENT;
    result = findItem(pluginData, arguments, text, strlen(text), &found);
    if (result != STD_OK && result != STD_ABSENT) return result;
    return giveInt(value, result == STD_OK);
}

static int readPair(const Std *std, const TemplateParam *arguments, double *a, double *b) {
    int result = areKnown(arguments, " a b app ") ? STD_OK : STD_BAD_ARGUMENT;
    if (result == STD_OK) result = readItem(std, arguments, "a", a);
    if (result == STD_OK) result = readItem(std, arguments, "b", b);
    return result;
}

EXPORTED int32_t ratio(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    double a;
    double b;
    int result = readPair(pluginData, arguments, &a, &b);
    if (result != STD_OK) return giveNothing(result);
    return b == 0 ? STD_OK : giveDouble(value, a / b);
}

EXPORTED int32_t difference(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    double a;
    double b;
    int result = readPair(pluginData, arguments, &a, &b);
    return result == STD_OK ? giveDouble(value, a - b) : giveNothing(result);
}

/* ---- times ---- */

/* Seconds that a time of an application is, as a value clause's `global` names it. */
static int readTime(const Std *std, const TemplateParam *arguments, const char *text,
                    double *seconds) {
    const char *at = strchr(text, '@');
    const char *name = at != NULL ? at + 1 : text;
    const char *app = at != NULL ? text : applicationOf(std, arguments);
    const size_t length = at != NULL ? (size_t)(at - text) : strlen(app);
    const Results *found = std->results;
    if (std->isWrong) return STD_BAD_ARGUMENT;
    while (found != NULL && length > 0 &&
           (strlen(found->name) != length || strncmp(found->name, app, length) != 0))
        found = found->next;
    if (found == NULL) { /* the look-up says so */
        Item none;
        return findItem(std, arguments, text, strlen(text), &none);
    }
    if (strcmp(name, "%start-time") == 0)
        *seconds = found->startTime;
    else if (strcmp(name, "%stop-time") == 0)
        *seconds = found->stopTime;
    else if (strcmp(name, "%restart-time") == 0)
        *seconds = found->restartTime;
    else if (strcmp(name, "%powerfail-time") == 0)
        *seconds = found->powerfailTime;
    else
        return STD_BAD_ARGUMENT;
    return STD_OK;
}

EXPORTED int32_t iso_time(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    const char *item = vorn_get_param_value(arguments, "item");
    char text[80]; /* what the compiler thinks the numbers could take */
    double number = 0;
    struct tm utc;
    int64_t whole;
    time_t seconds;
    int result;
    if (pluginData == NULL) return STD_NO_MEMORY;
    if (item == NULL || !areKnown(arguments, " item app ")) return STD_BAD_ARGUMENT;
    result = strchr(item, '%') != NULL ? readTime(pluginData, arguments, item, &number)
                                       : readItem(pluginData, arguments, "item", &number);
    if (result != STD_OK) return giveNothing(result);
    /* the years 0 to 9999: what the format has four digits for */
    if (!(number >= -62167219200.0 && number < 253402300800.0)) return STD_NO_NUMBER;
    whole = (int64_t)floor(number);
    seconds = (time_t)whole;
    if (seconds != whole || gmtime_r(&seconds, &utc) == NULL) return STD_NO_NUMBER;
    snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", utc.tm_year + 1900,
             utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
    return giveText(value, text);
}

/* ---- many numbers ---- */

typedef struct {
    double *numbers;
    size_t count;
    size_t room;
} Series;

static int append(Series *series, double number) {
    if (series->count == series->room) {
        const size_t room = series->room == 0 ? 64 : 2 * series->room;
        double *numbers = realloc(series->numbers, room * sizeof *numbers);
        if (numbers == NULL) return STD_NO_MEMORY;
        series->numbers = numbers;
        series->room = room;
    }
    series->numbers[series->count++] = number;
    return STD_OK;
}

/* The numbers of one item: of an array all that the index leaves. */
static int appendItem(Series *series, const Item *found) {
    double number;
    size_t i;
    int result = STD_OK;
    if (found->reg->kind == VORN_REG_ARRAY && found->index < 0 &&
        found->field == VORN_FIELD_VALUE) {
        for (i = 0; i < found->reg->as.array.length && result == STD_OK; ++i)
            result = append(series, elementOf(found->reg, i));
        return result;
    }
    result = readFound(found, &number);
    return result == STD_OK ? append(series, number) : result;
}

/* Collects the numbers of all items that `item`, or `array`, lists. The caller frees them, also
 * after a failure. A list that fills an argument was most likely cut there. */
static int collect(const Std *std, const TemplateParam *arguments, Series *series) {
    const char *rest = vorn_get_param_value(arguments, "item");
    if (rest == NULL) rest = vorn_get_param_value(arguments, "array");
    if (std == NULL) return STD_NO_MEMORY;
    if (!areKnown(arguments, " item array p app ")) return STD_BAD_ARGUMENT;
    if (rest == NULL || *rest == '\0' || strlen(rest) >= VALUE_SIZE - 1) return STD_BAD_ARGUMENT;
    while (*(rest += strspn(rest, " ")) != '\0') {
        const size_t length = strcspn(rest, " ");
        Item found;
        int result = findItem(std, arguments, rest, length, &found);
        if (result == STD_OK) result = appendItem(series, &found);
        if (result != STD_OK && result != STD_ABSENT) return result;
        rest += length;
    }
    return STD_OK;
}

static double sumOf(const Series *series) {
    double sum = 0;
    size_t i;
    for (i = 0; i < series->count; ++i) sum += series->numbers[i];
    return sum;
}

static double meanOf(const Series *series) {
    return sumOf(series) / (double)series->count;
}

static double minOf(const Series *series) {
    double least = series->numbers[0];
    size_t i;
    for (i = 1; i < series->count; ++i)
        if (series->numbers[i] < least) least = series->numbers[i];
    return least;
}

static double maxOf(const Series *series) {
    double most = series->numbers[0];
    size_t i;
    for (i = 1; i < series->count; ++i)
        if (series->numbers[i] > most) most = series->numbers[i];
    return most;
}

/* Gives what a series comes to; an empty one comes to nothing. */
static int32_t giveOf(double (*function)(const Series *series), void *pluginData,
                      const TemplateParam *arguments, ItemValue *value) {
    Series series = {NULL, 0, 0};
    int result = collect(pluginData, arguments, &series);
    if (result == STD_OK && series.count > 0) result = giveDouble(value, function(&series));
    free(series.numbers);
    return result;
}

EXPORTED int32_t sum(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveOf(sumOf, pluginData, arguments, value);
}

EXPORTED int32_t mean(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveOf(meanOf, pluginData, arguments, value);
}

EXPORTED int32_t min(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveOf(minOf, pluginData, arguments, value);
}

EXPORTED int32_t max(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveOf(maxOf, pluginData, arguments, value);
}

static int32_t giveCount(int32_t less, void *pluginData, const TemplateParam *arguments,
                         ItemValue *value) {
    Series series = {NULL, 0, 0};
    int result = collect(pluginData, arguments, &series);
    if (result == STD_OK) result = giveInt(value, (int32_t)series.count - less);
    free(series.numbers);
    return result;
}

EXPORTED int32_t count(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveCount(0, pluginData, arguments, value);
}

EXPORTED int32_t last(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    return giveCount(1, pluginData, arguments, value);
}

static int orderNumbers(const void *a, const void *b) {
    const double x = *(const double *)a;
    const double y = *(const double *)b;
    return (x > y) - (x < y);
}

/* Nearest rank: with 95, the smallest number that is at least as large as 95 % of them. */
EXPORTED int32_t percentile(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    Series series = {NULL, 0, 0};
    double p;
    int result = collect(pluginData, arguments, &series);
    if (result == STD_OK && (readNumber(arguments, "p", &p) != STD_OK || p < 0 || p > 100))
        result = STD_BAD_ARGUMENT;
    if (result == STD_OK && series.count > 0) {
        const double rank = ceil(p * (double)series.count / 100 - 1e-9); /* 1.1 is none exactly */
        qsort(series.numbers, series.count, sizeof *series.numbers, orderNumbers);
        result = giveDouble(value, series.numbers[rank < 1 ? 0 : (size_t)rank - 1]);
    }
    free(series.numbers);
    return result;
}

/* ---- begin and end ---- */

/* Null when memory ran out; the other functions then say so. */
EXPORTED void *std_init(const Results *results, const TemplateParam *arguments,
                        DictResolver *dict) {
    const char *app = vorn_get_param_value(arguments, "app");
    Std *std = calloc(1, sizeof *std);
    (void)dict;
    if (std == NULL) return NULL;
    std->results = results;
    std->isWrong = !areKnown(arguments, " app ");
    if (app != NULL) snprintf(std->app, sizeof std->app, "%s", app);
    return std;
}

EXPORTED void std_end(void *pluginData, const TemplateParam *arguments) {
    (void)arguments;
    free(pluginData);
}
