// SPDX-License-Identifier: MIT
// The include clause: reads another template file with parameters of its own.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Opens the file that the clause's arguments name; the merge goes on in it. MERGE_OK, also when an
// optional file is missing, or MERGE_TEMPLATE_ERROR after a message.
int includeTemplate(TemplateContext *ctx, std::string_view args);
