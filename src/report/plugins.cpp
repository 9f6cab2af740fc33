// SPDX-License-Identifier: MIT
#include "report/plugins.h"

#include <cstdlib>
#include <cstring>

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/template_params.h"
#include "report/template_reader.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

constexpr std::size_t FUNCTION_NAME_SIZE = 32;
constexpr std::size_t CALL_VALUE_SIZE = sizeof(TemplateParam::value);
constexpr char ABI_SYMBOL[] = "vorn_plugin_abi";

// A plugin clause as it was read.
struct PluginClause {
    TemplatePlugin plugin;
    char lib[TEMPLATE_PATH_SIZE];
    char initCall[TEMPLATE_TEXT_SIZE];
};

TemplatePlugin *findPlugin(TemplateContext *ctx, std::string_view name) {
    for (std::int32_t i = 0; i < ctx->pluginCount; ++i)
        if (ctx->plugins[i].name == name) return &ctx->plugins[i];
    return nullptr;
}

int setName(TemplateContext *ctx, std::string_view value, PluginClause *clause) {
    copyPiece(clause->plugin.name, value);
    if (findPlugin(ctx, clause->plugin.name) == nullptr) return MERGE_OK;
    dmon_log(1, "Error in %s: plugin '%s' already declared.\n", getTemplateLine(ctx),
             clause->plugin.name);
    return MERGE_TEMPLATE_ERROR;
}

int setLib(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPath(clause->lib, sizeof clause->lib, value.data());
    return MERGE_OK;
}

int setInit(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPiece(clause->initCall, value);
    return MERGE_OK;
}

int setEnd(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPiece(clause->plugin.endCall, value);
    return MERGE_OK;
}

constexpr ClauseArg<PluginClause> pluginArgs[] = {
    {"name", "Error in %s: missing plugin 'name' in template.\n", setName},
    {"lib", "Error in %s: missing plugin 'lib' in template.\n", setLib},
    {"init", "Error in %s: missing plugin 'init' in template.\n", setInit},
    {"end", "Error in %s: missing plugin 'end' in template.\n", setEnd},
};

int readPluginClause(TemplateContext *ctx, std::string_view args, PluginClause *clause) {
    const int result = parseClauseArgs(
        ctx, args, pluginArgs, "Error in %s: unknown argument '%s' in 'plugin' clause.\n", clause);
    if (result != MERGE_OK) return result;
    if (clause->plugin.name[0] == '\0') {
        dmon_log(1, "Error in %s: No name assigned to this plugin.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    if (clause->lib[0] == '\0') {
        dmon_log(1, "Error in %s: no library specified for plugin.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    return MERGE_OK;
}

// Looks a symbol up in the library itself. dlsym goes on to the libraries that it depends on, whose
// functions are not written to be called from a template: exit is one of them.
void *findSymbol(void *handle, const char *name) {
    void *symbol = dlsym(handle, name);
    if (symbol == nullptr) return nullptr;
    link_map *library = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &library) != 0) return nullptr;
    Dl_info info{};
    void *home = nullptr;
    if (dladdr1(symbol, &info, &home, RTLD_DL_LINKMAP) == 0) return nullptr;
    return home == library ? symbol : nullptr;
}

// The same for a function: a variable that a template names is not called.
void *findFunction(void *handle, const char *name) {
    void *symbol = findSymbol(handle, name);
    Dl_info info{};
    void *entry = nullptr;  // of the library's symbol table; null for what it does not list
    if (symbol == nullptr || dladdr1(symbol, &info, &entry, RTLD_DL_SYMENT) == 0) return nullptr;
    const auto *described = static_cast<const ElfW(Sym) *>(entry);
    // The type is the low four bits of the info byte in ELF of either size.
    const bool variable = described != nullptr && ELF32_ST_TYPE(described->st_info) == STT_OBJECT;
    return variable ? nullptr : symbol;
}

// A library may say which interface it was built for; one that says another is not called.
bool speaksOurAbi(TemplateContext *ctx, const PluginClause *clause) {
    const auto *abi = static_cast<const int *>(findSymbol(clause->plugin.handle, ABI_SYMBOL));
    if (abi == nullptr || *abi == VORN_PLUGIN_ABI) return true;
    dmon_log(1, "Error in %s: library '%s' is built for plug-in interface %d, not %d.\n",
             getTemplateLine(ctx), clause->lib, *abi, VORN_PLUGIN_ABI);
    return false;
}

int loadLibrary(TemplateContext *ctx, PluginClause *clause) {
    clause->plugin.handle = dlopen(clause->lib, RTLD_NOW);
    if (clause->plugin.handle == nullptr) {
        const char *reason = dlerror();
        dmon_log(1, "Error in %s: could not find library file '%s'.\n", getTemplateLine(ctx),
                 clause->lib);
        dmon_log(1, "%s.\n", reason != nullptr ? reason : "unknown error");
        return MERGE_TEMPLATE_ERROR;
    }
    if (speaksOurAbi(ctx, clause)) return MERGE_OK;
    dlclose(clause->plugin.handle);
    return MERGE_TEMPLATE_ERROR;
}

// dlsym hands out an object pointer; POSIX lets it be a function's.
template <class Function>
Function asFunction(void *symbol) {
    Function function = nullptr;
    static_assert(sizeof function == sizeof symbol);
    std::memcpy(&function, &symbol, sizeof function);
    return function;
}

// A function of a declared plug-in.
struct PluginFunction {
    TemplatePlugin *plugin;
    char name[FUNCTION_NAME_SIZE];
    void *symbol;
};

// The arguments of a call, freed on every way out of it.
struct CallArguments {
    CallArguments() = default;
    CallArguments(const CallArguments &) = delete;
    CallArguments &operator=(const CallArguments &) = delete;
    ~CallArguments() { freeTemplateParams(first); }

    TemplateParam *first = nullptr;
};

int runUnguarded(TemplateContext *ctx, const PluginFunction *function, PluginMode mode,
                 const TemplateParam *arguments, ItemValue *value) {
    TemplatePlugin *plugin = function->plugin;
    void *symbol = function->symbol;
    if (mode == PLUGIN_INIT) {
        plugin->pluginData = asFunction<PluginInitFn>(symbol)(ctx->results, arguments, &ctx->dict);
        return MERGE_OK;
    }
    if (mode == PLUGIN_END) {
        asFunction<PluginEndFn>(symbol)(plugin->pluginData, arguments);
        return MERGE_OK;
    }
    const std::int32_t result =
        asFunction<PluginValueFn>(symbol)(plugin->pluginData, arguments, value);
    if (result == 0) return MERGE_OK;
    return result == VORN_ITEM_MISSING ? MERGE_ITEM_NOT_FOUND : MERGE_PLUGIN_FAILED;
}

// Functions must not throw; the program outlives one that does. Only the unwinding of a cancelled
// thread goes on, whose handler the C++ library gives a reference to nothing: no fault of ours.
__attribute__((no_sanitize("undefined"))) int runFunction(TemplateContext *ctx,
                                                          const PluginFunction *function,
                                                          PluginMode mode,
                                                          const TemplateParam *arguments,
                                                          ItemValue *value) {
    try {
        return runUnguarded(ctx, function, mode, arguments, value);
    } catch (abi::__forced_unwind &) {
        throw;
    } catch (...) {
        dmon_log(1, "Error in %s: plugin function '%s' threw an exception.\n", getTemplateLine(ctx),
                 function->name);
        return MERGE_PLUGIN_FAILED;
    }
}

}  // namespace

int declarePlugin(TemplateContext *ctx, std::string_view args) {
    if (ctx->pluginCount == TEMPLATE_MAX_PLUGINS) {
        dmon_log(1, "Error in %s: too many plugins.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    PluginClause clause{};
    int result = readPluginClause(ctx, args, &clause);
    if (result == MERGE_OK) result = loadLibrary(ctx, &clause);
    if (result != MERGE_OK) return result;

    ctx->plugins[ctx->pluginCount++] = clause.plugin;
    result = callPluginFunction(ctx, clause.plugin.name, clause.initCall, PLUGIN_INIT, nullptr);
    if (result != MERGE_OK) {
        dmon_log(1, "Error in %s: plugin returned error.\n", getTemplateLine(ctx));
        --ctx->pluginCount;
        dlclose(clause.plugin.handle);
    }
    return result;
}

int callPluginFunction(TemplateContext *ctx, std::string_view pluginName, std::string_view call,
                       PluginMode mode, ItemValue *value) {
    char text[TEMPLATE_TEXT_SIZE];
    copyPiece(text, call);
    const std::string_view argumentText = unclose_str(text, '(', ')');
    PluginFunction function{};
    trimcpy(function.name, text, sizeof function.name);

    function.plugin = findPlugin(ctx, pluginName);
    if (function.plugin == nullptr) {
        dmon_log(1, "Error in %s: plugin '%.*s' not declared.\n", getTemplateLine(ctx),
                 static_cast<int>(pluginName.size()), pluginName.data());
        return MERGE_PLUGIN_FAILED;
    }
    if (function.name[0] != '\0')
        function.symbol = findFunction(function.plugin->handle, function.name);
    if (function.symbol == nullptr) {
        dmon_log(1, "Error in %s: plugin function '%s' not found.\n", getTemplateLine(ctx),
                 function.name);
        return MERGE_PLUGIN_FAILED;
    }
    CallArguments arguments;
    parseParamPieces(ctx, argumentText, CALL_VALUE_SIZE, &arguments.first);
    return runFunction(ctx, &function, mode, arguments.first, value);
}

int callPlugin(TemplateContext *ctx, const char *text, ItemValue *value) {
    const std::string_view whole = text;
    const std::size_t dot = whole.find('.');
    if (dot >= TEMPLATE_NAME_SIZE) {
        dmon_log(1, "Error in %s: no plugin name in function call.\n", getTemplateLine(ctx));
        return MERGE_PLUGIN_FAILED;
    }
    const int result =
        callPluginFunction(ctx, whole.substr(0, dot), whole.substr(dot + 1), PLUGIN_VALUE, value);
    if ((value->flags & ~VORN_VALUE_OWNED) == 0) return result;
    // Most likely a record that was never filled: its data is not for us to read or to free.
    if (result == MERGE_OK)
        dmon_log(1, "Error in %s: plugin call '%s' gave a value with unknown flags 0x%02X.\n",
                 getTemplateLine(ctx), text, static_cast<unsigned>(value->flags));
    *value = ItemValue{};
    return result != MERGE_OK ? result : MERGE_PLUGIN_FAILED;
}

int checkPluginValue(TemplateContext *ctx, const char *text, const ItemValue *value) {
    if (value->type > VORN_TYPE_DOUBLE) {
        dmon_log(1, "Error in %s: plugin call '%s' gave a value of unknown type %u.\n",
                 getTemplateLine(ctx), text, static_cast<unsigned>(value->type));
        return MERGE_PLUGIN_FAILED;
    }
    const bool needsData = value->type != VORN_TYPE_NONE || value->flags != 0;
    if (needsData && value->data == nullptr) {
        dmon_log(1, "Error in %s: plugin call '%s' gave a value without data.\n",
                 getTemplateLine(ctx), text);
        return MERGE_PLUGIN_FAILED;
    }
    return MERGE_OK;
}

void unloadPlugins(TemplateContext *ctx) {
    for (std::int32_t i = 0; i < ctx->pluginCount; ++i) {
        TemplatePlugin *plugin = &ctx->plugins[i];
        if (plugin->endCall[0] != '\0')
            static_cast<void>(
                callPluginFunction(ctx, plugin->name, plugin->endCall, PLUGIN_END, nullptr));
        else
            std::free(plugin->pluginData);
        plugin->pluginData = nullptr;
        dlclose(plugin->handle);
        plugin->handle = nullptr;
    }
    ctx->pluginCount = 0;
}
