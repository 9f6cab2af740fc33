// SPDX-License-Identifier: MIT
// Template plug-ins: shared libraries that a template loads and whose functions compute values.
#pragma once

#include <string_view>

#include "report/template_context.h"

// The declared plug-in of a name, or null.
TemplatePlugin *findPlugin(TemplateContext *ctx, std::string_view name);

// Loads a library, declares its plug-in and calls its init function. There is room for a plug-in.
//   plugin    name and end call; the rest is filled in
//   initCall  function(name:value;...)
// MERGE_OK, MERGE_TEMPLATE_ERROR or MERGE_PLUGIN_FAILED after a message; the library is then closed
// again.
int startPlugin(TemplateContext *ctx, TemplatePlugin *plugin, const char *library,
                const char *initCall);

// What callPluginFunction calls the function as.
enum PluginMode { PLUGIN_INIT = 0, PLUGIN_VALUE = 1, PLUGIN_END = 2 };

// Calls a function of a declared plug-in, for startPlugin, callPlugin and unloadPlugins; it must
// stand in the plug-in's own library. An exception that it lets out ends here, but the unwinding of
// a cancelled thread goes through.
//   call   function(name:value;...)
//   value  empty; the function fills it in mode PLUGIN_VALUE, and it may be null in the others
// MERGE_OK, MERGE_ITEM_NOT_FOUND (the function says so), or MERGE_PLUGIN_FAILED: no such plug-in or
// function, or one that threw, after a message; or a value function says so.
int callPluginFunction(TemplateContext *ctx, std::string_view pluginName, std::string_view call,
                       PluginMode mode, ItemValue *value);

// Calls plugin.function(name:value;...) as a value function. Results as above; MERGE_PLUGIN_FAILED,
// after a message, also for a value with flags that nobody knows. With such flags the value comes
// back empty. What it owns otherwise is the caller's, also after a failure.
int callPlugin(TemplateContext *ctx, const char *text, ItemValue *value);

// Logs, in the name of a call's place in the template, that the call failed, and returns `code`.
int pluginFailed(TemplateContext *ctx, int code);

// Refuses a value of a known type without data. One of an unknown type shows as no text.
// MERGE_OK, or MERGE_PLUGIN_FAILED after a message that names the call.
int checkPluginValue(TemplateContext *ctx, const char *text, const ItemValue *value);

// Ends every plug-in, in the order of declaration, and closes the libraries.
void unloadPlugins(TemplateContext *ctx);
