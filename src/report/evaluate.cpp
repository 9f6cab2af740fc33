// SPDX-License-Identifier: MIT
#include "report/evaluate.h"

#include <cstring>

#include "report/item_values.h"
#include "report/plugins.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

// What conditions and bounds make of items and of what plug-ins return. Both give MERGE_OK and a
// number, or a negative code after a message.
struct Reading {
    int (*item)(TemplateContext *ctx, const char *text, std::int32_t *number);
    int (*called)(TemplateContext *ctx, const ItemValue *value, std::int32_t *number);
};

// The first four bytes of a value as a number. Numbers have as many, and texts that the value owns;
// of another text there may be fewer.
std::int32_t firstWord(const ItemValue *value) {
    std::int32_t word = 0;
    const bool isForeign =
        value->type == VORN_TYPE_STRING && (value->flags & VORN_VALUE_OWNED) == 0;
    const auto *text = static_cast<const char *>(value->data);
    std::memcpy(&word, text, isForeign ? strnlen(text, sizeof word) : sizeof word);
    return word;
}

// ---- conditions ----

int testItem(TemplateContext *ctx, const char *text, std::int32_t *number) {
    if (withoutResults()) return MERGE_OK;
    char item[TEMPLATE_TEXT_SIZE];
    copyPiece(item, text);
    const RegisterRecord *reg = getAppItemResult(item, ctx->results, nullptr, nullptr);
    if (reg == nullptr)
        return templateError(ctx, MERGE_ITEM_NOT_FOUND, "application item '%s' not found.", text);
    *number = reg->valid;
    return MERGE_OK;
}

int testCalled(TemplateContext *ctx, const ItemValue *value, std::int32_t *number) {
    if (value->data == nullptr)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "Plugin must return a value.");
    if (value->type != VORN_TYPE_UINT32 && value->type != VORN_TYPE_INT32)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "Plugin must return an U/INT32 value.");
    *number = firstWord(value);
    return MERGE_OK;
}

constexpr Reading condition = {testItem, testCalled};

// ---- bounds ----

int takeItem(TemplateContext *ctx, const char *text, std::int32_t *number) {
    ItemValue value{};
    const int result = fetchItemValue(ctx, text, &value);
    if (result == MERGE_OK) *number = value.data == nullptr ? 1 : firstWord(&value);
    releaseItemValue(&value);
    return result;
}

int takeCalled(TemplateContext *ctx, const ItemValue *value, std::int32_t *number) {
    if (value->type != VORN_TYPE_INT32 || value->data == nullptr)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "Plugin must return an INT32 value.");
    *number = firstWord(value);
    return MERGE_OK;
}

constexpr Reading bound = {takeItem, takeCalled};

int evaluateCall(TemplateContext *ctx, const char *text, const Reading *reading,
                 std::int32_t *number) {
    ItemValue value{};
    int result = callPlugin(ctx, text, &value);
    if (result != MERGE_OK)
        result = pluginFailed(ctx, result);
    else if (!withoutResults())
        result = reading->called(ctx, &value, number);
    releaseItemValue(&value);
    return result;
}

// An "@" tells an item, and counts before the "." that tells a plug-in call.
int evaluate(TemplateContext *ctx, const char *text, const Reading *reading, std::int32_t *number) {
    if (std::strchr(text, '@') != nullptr) return reading->item(ctx, text, number);
    if (std::strchr(text, '.') != nullptr) return evaluateCall(ctx, text, reading, number);
    *number = toInt32(text);
    hintNumber(text, *number);
    return MERGE_OK;
}

}  // namespace

int evalTemplateBool(TemplateContext *ctx, const char *text, std::uint8_t *flag) {
    const bool inverted = text[0] == '!';
    std::int32_t number = 0;
    const int result = evaluate(ctx, inverted ? text + 1 : text, &condition, &number);
    const bool isOpen = withoutResults() && std::strpbrk(text, "@.") != nullptr;
    if (result == MERGE_OK) *flag = isOpen || (number != 0) != inverted ? 1 : 0;
    return result;
}

int evalTemplateInt(TemplateContext *ctx, const char *text, std::int32_t *number) {
    return evaluate(ctx, text, &bound, number);
}
