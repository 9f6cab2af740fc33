// SPDX-License-Identifier: MIT
// The `dict` argument of report and section clauses: dictionaries to translate with.
#pragma once

#include <string_view>

#include "report/template_context.h"

constexpr int DICT_NOTHING_PUSHED = -1;
constexpr char DICT_MISSING[] = "missing dictionary specification in 'dict' argument.";

// Pushes the dictionaries of name[entry;entry;...], each entry group or group:subgroup. Returns the
// dictionary level before the first push, DICT_NOTHING_PUSHED, or another negative code after a
// message: MERGE_TEMPLATE_ERROR or DictResult.
int parseDictSpec(TemplateContext *ctx, std::string_view text);
