// SPDX-License-Identifier: MIT
#include "report/row_values.h"

#include <algorithm>
#include <cstring>

#include "output/conversions.h"
#include "report/item_values.h"
#include "report/plugins.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "report/template_params.h"
#include "report/user_vars.h"
#include "results/dict_resolver.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

// The row's next slot, not counted yet; null, after a message, when the row is full.
ItemValue *nextSlot(TemplateContext *ctx, ReportRow *row) {
    if (row->count < ROW_MAX_VALUES) return &row->values[row->count];
    templateError(ctx, MERGE_TOO_MANY_VALUES, "too many values in row clause.");
    return nullptr;
}

// The application that a global variable's text names, and the variable's name in it.
int findApplication(TemplateContext *ctx, const char *text, const Results **app,
                    std::string_view *variable) {
    static const Results nothing{};
    *app = withoutResults() ? &nothing : ctx->results;
    *variable = text;
    const std::size_t at = variable->find('@');
    if (at != std::string_view::npos) {
        const std::string_view prefix = variable->substr(0, at);
        while (!withoutResults() && *app != nullptr &&
               !std::string_view((*app)->name).starts_with(prefix))
            *app = (*app)->next;
        if (*app == nullptr)
            return templateError(ctx, MERGE_NO_APPLICATION,
                                 "application '%s' not found in result file.", text);
        variable->remove_prefix(at + 1);
    }
    if (*app == nullptr)
        return templateError(ctx, MERGE_UNKNOWN_GLOBAL, "No global variables available.");
    return MERGE_OK;
}

// Logs what a converter says, line by line.
int reportRefusal(TemplateContext *ctx, std::string_view refusal) {
    const std::size_t end = std::min(refusal.find('\n'), refusal.size());
    templateError(ctx, CONV_BAD_TYPE, "%.*s", static_cast<int>(end), refusal.data());
    if (end < refusal.size()) templateFinding(ctx, FINDING_DETAIL, "%s", refusal.data() + end + 1);
    return CONV_BAD_TYPE;
}

// Puts the translation of a plug-in's text in its place.
int translatePluginText(TemplateContext *ctx, ItemValue *value) {
    const std::string_view text = expandTemplateString(ctx, static_cast<const char *>(value->data));
    if (text.data() == nullptr) return MERGE_TEMPLATE_ERROR;
    countLookup(ctx);
    char *translation = dictResolvGetCopy(&ctx->dict, text.data());
    releaseItemValue(value);
    // The size, if any, was that of the old bytes.
    *value = {VORN_TYPE_STRING, translation, 0, VORN_VALUE_OWNED};
    return translation != nullptr ? MERGE_OK : templateNoMemory(ctx);
}

// Calls the plug-in into a slot and makes the value ready for the row.
int fillPluginValue(TemplateContext *ctx, const ValueClause *clause, ItemValue *value) {
    int result = callPlugin(ctx, clause->sourceText, value);
    if (result == MERGE_OK) result = checkPluginValue(ctx, clause->sourceText, value);
    if (result != MERGE_OK) return pluginFailed(ctx, result);
    if (value->type == VORN_TYPE_STRING && (clause->flags & VALUE_USE_DICT) != 0) {
        result = translatePluginText(ctx, value);
        if (result != MERGE_OK) return result;
    }
    return applyDataConversions(ctx, clause, value);
}

}  // namespace

int applyDataConversions(TemplateContext *ctx, const ValueClause *clause, ItemValue *value) {
    if (clause->convType == CONV_NONE || value->type == VORN_TYPE_NONE) return CONV_OK;
    const bool translated = (clause->flags & VALUE_USE_DICT) != 0;
    if (translated) countLookup(ctx);
    ctx->steps += STEPS_CONVERSION;
    const char *refusal =
        convertValue(clause->convType, clause->convArg, translated ? &ctx->dict : nullptr, value);
    if (refusal == nullptr) return CONV_OK;
    return refusal == CONVERSION_NO_MEMORY ? templateNoMemory(ctx) : reportRefusal(ctx, refusal);
}

int addTextValue(TemplateContext *ctx, ReportRow *row, const char *text,
                 const ValueClause *clause) {
    if (row->count >= ROW_MAX_VALUES) {
        templateFinding(ctx, FINDING_ROW_ERROR, "too many values in row clause.");
        return MERGE_TOO_MANY_VALUES;
    }
    ItemValue *value = &row->values[row->count++];
    *value = ItemValue{};
    value->type = VORN_TYPE_STRING;
    value->flags = VORN_VALUE_OWNED;
    const std::string_view expanded = expandTemplateString(ctx, text);
    if (expanded.data() == nullptr) return MERGE_TEMPLATE_ERROR;
    const bool translated = (clause->flags & VALUE_USE_DICT) != 0;
    if (translated) countLookup(ctx);
    value->data =
        translated ? dictResolvGetCopy(&ctx->dict, expanded.data()) : strdup(expanded.data());
    return value->data != nullptr ? MERGE_OK : templateNoMemory(ctx);
}

int addLinkValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause) {
    ItemValue *value = nextSlot(ctx, row);
    if (value == nullptr) return MERGE_TOO_MANY_VALUES;
    ++row->count;
    const int result = fetchItemValue(ctx, clause->sourceText, value);
    if (withoutResults() && result == MERGE_OK) *value = sampleValue(clause->convType);
    return result == MERGE_OK ? applyDataConversions(ctx, clause, value) : result;
}

int addGlobalValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause) {
    const Results *app = nullptr;
    std::string_view name;
    const int result = findApplication(ctx, clause->sourceText, &app, &name);
    if (result != MERGE_OK) return result;
    ItemValue *value = nextSlot(ctx, row);
    if (value == nullptr) return MERGE_TOO_MANY_VALUES;
    ++row->count;
    *value = ItemValue{};

    const auto *known = std::find_if(std::begin(globalVariables), std::end(globalVariables),
                                     [name](const auto &global) { return global.name == name; });
    if (known == std::end(globalVariables))
        return templateError(ctx, MERGE_UNKNOWN_GLOBAL, "unknown global variable '%s'.",
                             name.data());
    value->type = VORN_TYPE_UINT32;
    value->data = const_cast<std::uint32_t *>(&(app->*known->seconds));
    return applyDataConversions(ctx, clause, value);
}

int addUserVarValue(TemplateContext *ctx, ReportRow *row, KvStore *userVars,
                    const ValueClause *clause) {
    const char *name = expandTemplateString(ctx, clause->sourceText).data();
    if (name == nullptr) return MERGE_TEMPLATE_ERROR;
    char text[TEMPLATE_TEXT_SIZE + 1];  // one that is too long shows as that when it is expanded
    if (ctx->reportName != nullptr && std::strcmp(name, "report-name") == 0)
        safe_strncpy(text, ctx->reportName, sizeof text);
    else if (!copyUserVar(userVars, name, text, sizeof text))
        templateWarning(ctx, "user variable '%s' not defined.", name);
    return addTextValue(ctx, row, text, clause);
}

int addPluginValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause) {
    ItemValue *value = nextSlot(ctx, row);
    if (value == nullptr) return MERGE_TOO_MANY_VALUES;
    *value = ItemValue{};
    const int result = fillPluginValue(ctx, clause, value);
    if (result == MERGE_OK) {
        ++row->count;
    } else {
        releaseItemValue(value);
        *value = ItemValue{};
    }
    return result;
}

int addRowValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause, KvStore *userVars,
                const char *text) {
    switch (clause->source) {
        case SOURCE_LINK:
            return addLinkValue(ctx, row, clause);
        case SOURCE_GLOBAL:
            return addGlobalValue(ctx, row, clause);
        case SOURCE_VAR:
            return addUserVarValue(ctx, row, userVars, clause);
        case SOURCE_PLUGIN:
            return addPluginValue(ctx, row, clause);
        default:
            break;
    }
    // What fails was reported, and the report goes on without the text.
    if (text != nullptr) static_cast<void>(addTextValue(ctx, row, text, clause));
    return MERGE_OK;
}

void releaseRowValues(ReportRow *row) {
    for (std::int32_t i = 0; i < row->count; ++i) releaseItemValue(&row->values[i]);
    row->count = 0;
}
