// SPDX-License-Identifier: MIT
// The report clause: opens the report, with dictionaries for all of it.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Pushes the dictionaries of the whole report. MERGE_OK or a negative code after a message.
int parseReportClause(TemplateContext *ctx, std::string_view args);
