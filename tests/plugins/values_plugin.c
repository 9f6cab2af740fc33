/* SPDX-License-Identifier: MIT */
/* A plug-in that does what its arguments say, right or wrong, and writes what it was called with
 * into trace.txt. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vorn/plugin.h"

#ifdef VORN_TEST_ABI
extern int vorn_plugin_abi;
int vorn_plugin_abi = VORN_TEST_ABI;
#endif

struct Plugin {
    const Results *results;
    DictResolver *dict;
    uint32_t calls;
};

static void trace(const char *what, const TemplateParam *arguments) {
    FILE *file = fopen("trace.txt", "a");
    if (file == NULL) return;
    fprintf(file, "%s", what);
    for (; arguments != NULL; arguments = arguments->next)
        fprintf(file, " [%s]=[%s]", arguments->name, arguments->value);
    fprintf(file, "\n");
    fclose(file);
}

static long long numberOf(const TemplateParam *arguments, const char *name) {
    const char *text = vorn_get_param_value(arguments, name);
    return text == NULL ? 0 : strtoll(text, NULL, 0);
}

void *start(const Results *results, const TemplateParam *arguments, DictResolver *dict) {
    struct Plugin *plugin = calloc(1, sizeof *plugin);
    if (plugin != NULL) {
        plugin->results = results;
        plugin->dict = dict;
    }
    trace("start", arguments);
    return plugin;
}

/* Data that must not be freed: only a plug-in with an end function may return it. */
void *startStatic(const Results *results, const TemplateParam *arguments, DictResolver *dict) {
    static struct Plugin plugin;
    plugin.results = results;
    plugin.dict = dict;
    trace("static", arguments);
    return &plugin;
}

void *startNothing(const Results *results, const TemplateParam *arguments, DictResolver *dict) {
    (void)results;
    (void)dict;
    trace("nothing", arguments);
    return NULL;
}

void finish(void *pluginData, const TemplateParam *arguments) {
    trace("finish", arguments);
    free(pluginData);
}

void finishStatic(void *pluginData, const TemplateParam *arguments) {
    (void)pluginData;
    trace("finishStatic", arguments);
}

/* type, number, text, owned, flags, size, null, result: what to leave behind and to return. */
int32_t give(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    static union {
        uint32_t u32;
        int32_t i32;
        uint64_t u64;
        float f32;
        double f64;
        char text[64];
    } data;
    struct Plugin *plugin = pluginData;
    const char *text = vorn_get_param_value(arguments, "text");
    const long long number = numberOf(arguments, "number");

    if (plugin != NULL) ++plugin->calls;
    if (value->type != 0 || value->data != NULL || value->size != 0 || value->flags != 0) return 99;
    value->type = (uint32_t)numberOf(arguments, "type");
    if (value->type == VORN_TYPE_STRING && text != NULL) strcpy(data.text, text);
    if (value->type == VORN_TYPE_UINT32) data.u32 = (uint32_t)number;
    if (value->type == VORN_TYPE_INT32) data.i32 = (int32_t)number;
    if (value->type == VORN_TYPE_UINT64) data.u64 = (uint64_t)number << 32;
    if (value->type == VORN_TYPE_FLOAT) data.f32 = (float)number / 2;
    if (value->type == VORN_TYPE_DOUBLE) data.f64 = (double)number / 4;
    value->data = numberOf(arguments, "null") != 0 ? NULL : &data;
    if (numberOf(arguments, "owned") != 0) {
        value->data = malloc(sizeof data);
        if (value->data != NULL) memcpy(value->data, &data, sizeof data);
        value->flags = VORN_VALUE_OWNED;
    }
    value->flags |= (uint8_t)numberOf(arguments, "flags");
    value->size = (uint8_t)numberOf(arguments, "size");
    return (int32_t)numberOf(arguments, "result");
}

/* The number of calls of `give` so far. */
int32_t count(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    struct Plugin *plugin = pluginData;
    (void)arguments;
    value->type = VORN_TYPE_UINT32;
    value->data = &plugin->calls;
    return 0;
}

/* Writes its arguments into the trace and gives no value. */
int32_t note(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    (void)pluginData;
    (void)value;
    trace("note", arguments);
    return 0;
}

/* What the service functions say of the item `item` and the dictionary key `key`. */
int32_t ask(void *pluginData, const TemplateParam *arguments, ItemValue *value) {
    const struct Plugin *plugin = pluginData;
    char item[64];
    int32_t field = -1;
    const RegisterRecord *reg;
    char *label;

    strcpy(item, vorn_get_param_value(arguments, "item"));
    reg = vorn_get_result_item(item, plugin->results, &field);
    if (reg == NULL) return VORN_ITEM_MISSING;
    label = vorn_copy_dict_value(plugin->dict, vorn_get_param_value(arguments, "key"));
    if (label == NULL) return -1;
    value->data = malloc(128);
    if (value->data != NULL)
        snprintf(value->data, 128, "%s kind=%d field=%d %s", reg->name, reg->kind, (int)field,
                 label);
    free(label);
    value->type = VORN_TYPE_STRING;
    value->flags = VORN_VALUE_OWNED;
    return value->data == NULL ? -1 : 0;
}
