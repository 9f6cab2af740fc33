// SPDX-License-Identifier: MIT
// The plugin clause: declares a plug-in under a name.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Loads and starts the plug-in of a plugin clause. MERGE_OK, MERGE_TEMPLATE_ERROR or
// MERGE_PLUGIN_FAILED after a message; the library is then closed again.
int declarePlugin(TemplateContext *ctx, std::string_view args);
