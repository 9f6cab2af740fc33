// SPDX-License-Identifier: MIT
#include "report/item_values.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_params.h"
#include "results/dict_resolver.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

constexpr std::int32_t FIELD_COUNT = VORN_FIELD_MAX + 1;
constexpr std::int32_t KIND_COUNT = VORN_REG_ARRAY + 1;
constexpr std::size_t LABEL_LIST_SIZE = 64;  // of a bit set's labels joined by ","

// What a field of a register kind is: a number inside the record, or a text that has to be made.
struct FieldSource {
    std::uint32_t type;  // VORN_TYPE_...; none: the kind has no such field
    std::size_t offset;  // of the number in the record
};

#define AT(type, member) \
    { VORN_TYPE_##type, offsetof(RegisterRecord, as.member) }
constexpr FieldSource NO_FIELD = {VORN_TYPE_NONE, 0};
constexpr FieldSource MADE_TEXT = {VORN_TYPE_STRING, 0};

// By kind, then by field: value, secs, rate, min, max.
constexpr FieldSource fieldSources[][FIELD_COUNT] = {
    {MADE_TEXT, NO_FIELD, NO_FIELD, NO_FIELD, NO_FIELD},  // selection
    {MADE_TEXT, NO_FIELD, NO_FIELD, NO_FIELD, NO_FIELD},  // bit set
    {AT(UINT32, u32.value), NO_FIELD, NO_FIELD, AT(UINT32, u32.min), AT(UINT32, u32.max)},
    {AT(INT32, i32.value), NO_FIELD, NO_FIELD, AT(INT32, i32.min), AT(INT32, i32.max)},
    {AT(UINT64, u64.value), NO_FIELD, NO_FIELD, AT(UINT64, u64.min), AT(UINT64, u64.max)},
    {AT(FLOAT, f32.value), NO_FIELD, NO_FIELD, NO_FIELD, NO_FIELD},
    {AT(DOUBLE, f64.value), NO_FIELD, NO_FIELD, NO_FIELD, NO_FIELD},
    {AT(UINT64, counter.value), AT(UINT32, counter.secs), AT(DOUBLE, counter.rate), NO_FIELD,
     NO_FIELD},
    {AT(UINT32, u32Secs.value), AT(UINT32, u32Secs.secs), NO_FIELD, NO_FIELD, NO_FIELD},
    {MADE_TEXT, NO_FIELD, NO_FIELD, NO_FIELD, NO_FIELD},  // array
};
#undef AT
static_assert(std::size(fieldSources) == KIND_COUNT);

// Gives the value a copy of a text. A short one is filled up with NULs: an iteration bound reads a
// whole word of it.
int ownText(TemplateContext *ctx, ItemValue *value, std::string_view text) {
    const std::size_t size = std::max(text.size() + 1, sizeof(std::int32_t));
    auto *copy = static_cast<char *>(std::malloc(size));
    if (copy == nullptr) return templateNoMemory(ctx);
    text.copy(copy, text.size());
    std::memset(copy + text.size(), 0, size - text.size());
    value->type = VORN_TYPE_STRING;
    value->data = copy;
    value->flags = VORN_VALUE_OWNED;
    return MERGE_OK;
}

// A program that takes findings is not told that labels are as they are where the template names no
// dictionary.
const char *translateLabel(TemplateContext *ctx, const char *label) {
    if (reportSink != nullptr && ctx->dict.depth == 0) return label;
    return dictResolvGet(&ctx->dict, label);
}

// The label, or the entry's number when it has none.
int takeSelection(TemplateContext *ctx, const RegisterRecord *reg, ItemValue *value) {
    if (reg->as.selection.label != nullptr) {
        countLookup(ctx);
        value->type = VORN_TYPE_STRING;
        value->data = const_cast<char *>(translateLabel(ctx, reg->as.selection.label));
        return MERGE_OK;
    }
    char number[4];
    std::snprintf(number, sizeof number, "%u", static_cast<unsigned>(reg->as.selection.selValue));
    return ownText(ctx, value, number);
}

// The labels of the set bits, joined by ",": as many as fit. A bit without a label shows its
// number.
int takeBitSet(TemplateContext *ctx, const RegisterRecord *reg, ItemValue *value) {
    char text[LABEL_LIST_SIZE];
    char *cursor = text;
    std::size_t room = sizeof text;
    text[0] = '\0';
    std::uint32_t bits = reg->as.bitSet.bits;
    for (std::int32_t i = 0; i < reg->as.bitSet.labelCount && bits != 0; ++i, bits &= bits - 1) {
        char number[4];
        const char *label = reg->as.bitSet.labels[i];
        if (label == nullptr) {
            std::snprintf(number, sizeof number, "%d", std::countr_zero(bits));
            label = number;
        } else {
            countLookup(ctx);
            label = translateLabel(ctx, label);
        }
        const std::size_t length = std::strlen(label);
        if (length + 2 > room) {
            tellHint("of the labels of a bit set only those show that fit %zu characters.",
                     sizeof text - 1);
            break;
        }
        if (i > 0) safe_strncat_size(&cursor, &room, ",", 1);
        safe_strncat_size(&cursor, &room, label, length);
    }
    return ownText(ctx, value, text);
}

int takeArrayElement(TemplateContext *ctx, const RegisterRecord *reg, std::int32_t index,
                     ItemValue *value) {
    const std::size_t offset = static_cast<std::size_t>(index) * sizeof(std::uint32_t);
    if (index < 0 || index > reg->as.array.length ||
        offset + sizeof(std::uint32_t) > resultsArrayBytes(reg))
        return templateError(ctx, MERGE_ITEM_NOT_FOUND, "array element out of range (%d).", index);
    value->type = VORN_TYPE_UINT32;
    value->data = reg->as.array.data + offset;
    return MERGE_OK;
}

int takeWholeArray(TemplateContext *ctx, const RegisterRecord *reg, ItemValue *value) {
    const auto length = std::min<std::size_t>(reg->as.array.length, resultsArrayBytes(reg));
    ctx->steps += STEPS_ARRAY * static_cast<std::int64_t>(length / 128);
    value->size = static_cast<std::uint8_t>(reg->as.array.length);
    return ownText(ctx, value, {reinterpret_cast<const char *>(reg->as.array.data), length});
}

// Values of the kinds whose text has to be made.
int takeText(TemplateContext *ctx, const RegisterRecord *reg, std::int32_t index,
             ItemValue *value) {
    if (reg->kind == VORN_REG_SELECTION) return takeSelection(ctx, reg, value);
    if (reg->kind == VORN_REG_BITSET) return takeBitSet(ctx, reg, value);
    if (index != -1) return takeArrayElement(ctx, reg, index, value);
    return takeWholeArray(ctx, reg, value);
}

}  // namespace

int fetchItemValue(TemplateContext *ctx, std::string_view link, ItemValue *value) {
    *value = ItemValue{};
    const std::string_view expanded = expandTemplateString(ctx, link);
    if (expanded.data() == nullptr) return MERGE_TEMPLATE_ERROR;

    if (withoutResults()) return MERGE_OK;

    char item[TEMPLATE_TEXT_SIZE];
    copyPiece(item, expanded);
    std::int32_t field = VORN_FIELD_VALUE;
    std::int32_t index = -1;
    const RegisterRecord *reg = getAppItemResult(item, ctx->results, &field, &index);
    if (reg == nullptr)
        return templateError(ctx, MERGE_ITEM_NOT_FOUND, "application item not found.");
    const int result = takeItemValue(ctx, reg, field, index, value);
    if (result != ITEM_HAS_NO_FIELD) return result;
    // The look-up cut the text at each separator; the message shows it up to the field.
    const std::size_t at = expanded.find('@');
    if (at != std::string_view::npos) item[at] = '@';
    return templateError(ctx, MERGE_NO_SUCH_FIELD, "application item '%s' has no '%s' field.", item,
                         field == VORN_FIELD_VALUE ? "val" : fieldNames[field].data());
}

int takeItemValue(TemplateContext *ctx, const RegisterRecord *reg, std::int32_t field,
                  std::int32_t index, ItemValue *value) {
    *value = ItemValue{};
    if (reg->valid == 0) return MERGE_OK;
    const FieldSource source = reg->kind < KIND_COUNT ? fieldSources[reg->kind][field] : NO_FIELD;
    if (source.type == VORN_TYPE_NONE) return ITEM_HAS_NO_FIELD;
    if (source.type == VORN_TYPE_STRING) return takeText(ctx, reg, index, value);
    value->type = source.type;
    // The value only points at the number; nothing writes through it.
    value->data = const_cast<char *>(reinterpret_cast<const char *>(reg)) + source.offset;
    return MERGE_OK;
}
