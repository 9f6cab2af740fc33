// SPDX-License-Identifier: MIT
#include "report/plugins.h"

#include <cstdlib>
#include <cstring>

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_params.h"
#include "results/report_findings.h"
#include "storage/strings.h"

namespace {

constexpr std::size_t FUNCTION_NAME_SIZE = 32;
constexpr std::size_t CALL_VALUE_SIZE = sizeof TemplateParam::value;
constexpr char ABI_SYMBOL[] = "vorn_plugin_abi";

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
bool speaksOurAbi(TemplateContext *ctx, void *handle, const char *path) {
    const auto *abi = static_cast<const int *>(findSymbol(handle, ABI_SYMBOL));
    if (abi == nullptr || *abi == VORN_PLUGIN_ABI) return true;
    templateError(ctx, MERGE_TEMPLATE_ERROR,
                  "library '%s' is built for plug-in interface %d, not %d.", path, *abi,
                  VORN_PLUGIN_ABI);
    return false;
}

int loadLibrary(TemplateContext *ctx, const char *path, void **handle) {
    *handle = dlopen(path, RTLD_NOW);
    if (*handle == nullptr) {
        const char *reason = dlerror();
        templateError(ctx, MERGE_TEMPLATE_ERROR, "could not find library file '%s'.", path);
        templateFinding(ctx, FINDING_DETAIL, "%s.", reason != nullptr ? reason : "unknown error");
        return MERGE_TEMPLATE_ERROR;
    }
    if (speaksOurAbi(ctx, *handle, path)) return MERGE_OK;
    dlclose(*handle);
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
    if (withoutResults()) return MERGE_OK;
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
    tellHiddenCause("function '%s' returned %d", function->name, static_cast<int>(result));
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
        return templateError(ctx, MERGE_PLUGIN_FAILED, "plugin function '%s' threw an exception.",
                             function->name);
    }
}

}  // namespace

TemplatePlugin *findPlugin(TemplateContext *ctx, std::string_view name) {
    for (std::int32_t i = 0; i < ctx->pluginCount; ++i)
        if (ctx->plugins[i].name == name) return &ctx->plugins[i];
    return nullptr;
}

int startPlugin(TemplateContext *ctx, TemplatePlugin *plugin, const char *library,
                const char *initCall) {
    int result = loadLibrary(ctx, library, &plugin->handle);
    if (result != MERGE_OK) return result;
    ctx->plugins[ctx->pluginCount++] = *plugin;
    result = callPluginFunction(ctx, plugin->name, initCall, PLUGIN_INIT, nullptr);
    if (result == MERGE_OK) return MERGE_OK;
    --ctx->pluginCount;
    dlclose(plugin->handle);
    return pluginFailed(ctx, result);
}

int callPluginFunction(TemplateContext *ctx, std::string_view pluginName, std::string_view call,
                       PluginMode mode, ItemValue *value) {
    char text[TEMPLATE_TEXT_SIZE];
    copyPiece(text, call);
    const std::string_view argumentText = unclose_str(text, '(', ')');
    PluginFunction function{};
    hintCut(withoutBlanks(text), sizeof function.name, "the function's name");
    trimcpy(function.name, text, sizeof function.name);

    function.plugin = findPlugin(ctx, pluginName);
    if (function.plugin != nullptr && function.plugin->handle == nullptr) return MERGE_LEFT_OUT;
    if (function.plugin == nullptr)
        return templateError(ctx, MERGE_PLUGIN_FAILED, "plugin '%.*s' not declared.",
                             static_cast<int>(pluginName.size()), pluginName.data());
    if (function.name[0] != '\0')
        function.symbol = findFunction(function.plugin->handle, function.name);
    if (function.symbol == nullptr)
        return templateError(ctx, MERGE_PLUGIN_FAILED, "plugin function '%s' not found.",
                             function.name);
    CallArguments arguments;
    const int parsed = parseParamPieces(ctx, argumentText, CALL_VALUE_SIZE, &arguments.first);
    if (parsed != MERGE_OK) return parsed;
    return runFunction(ctx, &function, mode, arguments.first, value);
}

int callPlugin(TemplateContext *ctx, const char *text, ItemValue *value) {
    ctx->steps += STEPS_PLUGIN_CALL;
    const std::string_view whole = text;
    const std::size_t dot = whole.find('.');
    if (dot >= TEMPLATE_NAME_SIZE)
        return templateError(ctx, MERGE_PLUGIN_FAILED, "no plugin name in function call.");
    const int result =
        callPluginFunction(ctx, whole.substr(0, dot), whole.substr(dot + 1), PLUGIN_VALUE, value);
    if ((value->flags & ~VORN_VALUE_OWNED) == 0) return result;
    // Most likely a record that was never filled: its data is not for us to read or to free.
    if (result == MERGE_OK)
        templateError(ctx, MERGE_PLUGIN_FAILED,
                      "plugin call '%s' gave a value with unknown flags 0x%02X.", text,
                      static_cast<unsigned>(value->flags));
    *value = ItemValue{};
    return result != MERGE_OK ? result : MERGE_PLUGIN_FAILED;
}

int pluginFailed(TemplateContext *ctx, int code) {
    if (code == MERGE_LEFT_OUT) return code;
    return templateError(ctx, code, "plugin returned error.");
}

int checkPluginValue(TemplateContext *ctx, const char *text, const ItemValue *value) {
    const bool needsData = value->type != VORN_TYPE_NONE && value->type <= VORN_TYPE_DOUBLE;
    if (needsData && value->data == nullptr)
        return templateError(ctx, MERGE_PLUGIN_FAILED,
                             "plugin call '%s' gave a value without data.", text);
    return MERGE_OK;
}

void unloadPlugins(TemplateContext *ctx) {
    for (std::int32_t i = 0; i < ctx->pluginCount; ++i) {
        TemplatePlugin *plugin = &ctx->plugins[i];
        if (plugin->handle == nullptr) continue;
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
