// SPDX-License-Identifier: MIT
// Takes the value of a register, by link text, out of the results.
#pragma once

#include <string_view>

#include "report/template_context.h"

// Fills `value` with the item that a link names: [application@]item[:field] or
// [application@]item[index]. Numbers point into the results; labels and whole arrays are texts that
// the value owns, with four bytes or more behind them. A register that holds nothing gives type
// none.
//   link   is expanded; may be ctx->expansion
//   value  is overwritten without being released; after a failure it owns nothing
// MERGE_OK, MERGE_TEMPLATE_ERROR, MERGE_ITEM_NOT_FOUND or MERGE_NO_SUCH_FIELD, after a message.
int fetchItemValue(TemplateContext *ctx, std::string_view link, ItemValue *value);
