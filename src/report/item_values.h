// SPDX-License-Identifier: MIT
// Takes the value of a register, by link text, out of the results.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Fills `value` with the item that a link names: [application@]item[:field] or
// [application@]item[index]. Numbers point into the results. The label of a selection is a text of
// the results or of a dictionary; other texts belong to the value and have four bytes or more. A
// register that holds nothing gives type none.
//   link   is expanded; may be ctx->expansion
//   value  is overwritten without being released; after a failure it owns nothing
// MERGE_OK, MERGE_TEMPLATE_ERROR, MERGE_ITEM_NOT_FOUND or MERGE_NO_SUCH_FIELD, after a message.
int fetchItemValue(TemplateContext *ctx, std::string_view link, ItemValue *value);

// A result of takeItemValue: the register's kind has no such field, which nothing was said about.
constexpr int ITEM_HAS_NO_FIELD = 1;

// The same for a register that was found before. MERGE_OK, ITEM_HAS_NO_FIELD, or
// MERGE_ITEM_NOT_FOUND after a message.
int takeItemValue(TemplateContext *ctx, const RegisterRecord *reg, std::int32_t field,
                  std::int32_t index, ItemValue *value);
