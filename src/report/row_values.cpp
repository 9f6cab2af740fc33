// SPDX-License-Identifier: MIT
#include "report/row_values.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/item_values.h"
#include "report/plugins.h"
#include "report/template_params.h"
#include "report/template_reader.h"
#include "report/user_vars.h"
#include "results/dict_resolver.h"
#include "storage/strings.h"

namespace {

template <ValueSource SOURCE>
int setSource(TemplateContext *, std::string_view value, ValueClause *clause) {
    clause->source = SOURCE;
    copyPiece(clause->sourceText, value);
    return MERGE_OK;
}

// Conversion names in the order in which they are tried.
struct ConversionName {
    std::string_view name;
    bool whole;     // the value is the name; else it only begins with it
    bool argument;  // takes an argument in parentheses
    ConversionKind kind;
};
constexpr ConversionName conversionNames[] = {
    {"dateTime", true, false, CONV_DATE_TIME},     {"time", true, false, CONV_TIME},
    {"bitmap", false, true, CONV_BITMAP},          {"units", false, true, CONV_UNITS},
    {"mac-addr", false, false, CONV_MAC_ADDR},     {"ipv4-addr", false, false, CONV_IPV4_ADDR},
    {"arrayFloat", true, false, CONV_ARRAY_FLOAT},
};

int setConversion(TemplateContext *ctx, std::string_view value, ValueClause *clause) {
    const auto *known = std::find_if(
        std::begin(conversionNames), std::end(conversionNames), [value](const ConversionName &row) {
            return row.whole ? value == row.name : value.starts_with(row.name);
        });
    if (known == std::end(conversionNames)) {
        dmon_log(1, "Error in %s: unknown conversion type '%s' in template.\n",
                 getTemplateLine(ctx), value.data());
        return MERGE_TEMPLATE_ERROR;
    }
    clause->convType = known->kind;
    if (known->argument) {
        const std::size_t open = value.find('(');
        const std::string_view argument =
            open != std::string_view::npos ? value.substr(open + 1) : std::string_view();
        copyPiece(clause->convArg, argument.substr(0, argument.find(')')));
    }
    return MERGE_OK;
}

int setDict(TemplateContext *, std::string_view, ValueClause *clause) {
    clause->flags |= VALUE_USE_DICT;
    return MERGE_OK;
}

constexpr ClauseArg<ValueClause> valueArgs[] = {
    {"link", "Error in %s: missing 'link' value in template.\n", setSource<SOURCE_LINK>},
    {"global", "Error in %s: missing 'global' value in template.\n", setSource<SOURCE_GLOBAL>},
    {"var", "Error in %s: missing 'var' value in template.\n", setSource<SOURCE_VAR>},
    {"plugin", "Error in %s: missing 'plugin' value in template.\n", setSource<SOURCE_PLUGIN>},
    {"conv", "Error in %s: missing 'type' value in template.\n", setConversion},
    {"dict", nullptr, setDict},
};

// The row's next slot, not counted yet; null, after a message, when the row is full.
ItemValue *nextSlot(TemplateContext *ctx, ReportRow *row) {
    if (row->count < ROW_MAX_VALUES) return &row->values[row->count];
    dmon_log(1, "Error in %s: too many values in row clause.\n", getTemplateLine(ctx));
    return nullptr;
}

struct GlobalVariable {
    std::string_view name;
    std::size_t offset;  // in the application record
};
constexpr GlobalVariable globalVariables[] = {
    {"%start-time", offsetof(Results, startTime)},
    {"%stop-time", offsetof(Results, stopTime)},
    {"%restart-time", offsetof(Results, restartTime)},
    {"%elapsed-time", offsetof(Results, elapsedTime)},
    {"%powerfail-time", offsetof(Results, powerfailTime)},
};

// The application that a global variable's text names, and the variable's name in it.
int findApplication(TemplateContext *ctx, const char *text, const Results **app,
                    std::string_view *variable) {
    *app = ctx->results;
    *variable = text;
    const std::size_t at = variable->find('@');
    if (at != std::string_view::npos) {
        const std::string_view prefix = variable->substr(0, at);
        while (*app != nullptr && !std::string_view((*app)->name).starts_with(prefix))
            *app = (*app)->next;
        if (*app == nullptr) {
            dmon_log(1, "Error in %s: application '%s' not found in result file.\n",
                     getTemplateLine(ctx), text);
            return MERGE_NO_APPLICATION;
        }
        variable->remove_prefix(at + 1);
    }
    if (*app == nullptr) {
        dmon_log(1, "Error in %s: No global variables available.\n", getTemplateLine(ctx));
        return MERGE_UNKNOWN_GLOBAL;
    }
    return MERGE_OK;
}

// Puts the translation of a plug-in's text in its place.
int translatePluginText(TemplateContext *ctx, ItemValue *value) {
    const std::string_view text = expandTemplateString(ctx, static_cast<const char *>(value->data));
    if (text.data() == nullptr) return MERGE_TEMPLATE_ERROR;
    char *translation = dictResolvGetCopy(&ctx->dict, text.data());
    releaseItemValue(value);
    // The size, if any, was that of the old bytes.
    *value = {VORN_TYPE_STRING, translation, 0, VORN_VALUE_OWNED};
    return MERGE_OK;
}

// Calls the plug-in into a slot and makes the value ready for the row.
int fillPluginValue(TemplateContext *ctx, const ValueClause *clause, ItemValue *value) {
    int result = callPlugin(ctx, clause->sourceText, value);
    if (result == MERGE_OK) result = checkPluginValue(ctx, clause->sourceText, value);
    if (result != MERGE_OK) {
        dmon_log(1, "Error in %s: plugin returned error.\n", getTemplateLine(ctx));
        return result;
    }
    if (value->type == VORN_TYPE_STRING && (clause->flags & VALUE_USE_DICT) != 0) {
        result = translatePluginText(ctx, value);
        if (result != MERGE_OK) return result;
    }
    return applyDataConversions(ctx, clause, value);
}

}  // namespace

int parseValueClause(TemplateContext *ctx, const TemplateTag *tag, ValueClause *clause) {
    // Field by field: the texts are long, and what stands behind their NUL does not count.
    clause->convType = CONV_NONE;
    clause->convArg[0] = '\0';
    clause->source = SOURCE_TEXT;
    clause->flags = 0;
    clause->sourceText[0] = '\0';
    return parseClauseArgs(ctx, tag, valueArgs,
                           "Error in %s: unknown argument '%s' in 'value' clause.\n", clause);
}

int applyDataConversions(TemplateContext *ctx, const ValueClause *clause, ItemValue *value) {
    if (clause->convType == CONV_NONE || value->type == VORN_TYPE_NONE) return CONV_OK;
    return convertValue(getTemplateLine(ctx), &ctx->dict, clause, value);
}

int addTextValue(TemplateContext *ctx, ReportRow *row, const char *text,
                 const ValueClause *clause) {
    if (row->count >= ROW_MAX_VALUES) {
        dmon_log(1, "Error: too many values in row clause.\n");
        return MERGE_TOO_MANY_VALUES;
    }
    ItemValue *value = &row->values[row->count++];
    *value = ItemValue{};
    value->type = VORN_TYPE_STRING;
    value->flags = VORN_VALUE_OWNED;
    const std::string_view expanded = expandTemplateString(ctx, text);
    if (expanded.data() == nullptr) return MERGE_TEMPLATE_ERROR;
    value->data = (clause->flags & VALUE_USE_DICT) != 0
                      ? dictResolvGetCopy(&ctx->dict, expanded.data())
                      : strdup(expanded.data());
    return MERGE_OK;
}

int addLinkValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause) {
    ItemValue *value = nextSlot(ctx, row);
    if (value == nullptr) return MERGE_TOO_MANY_VALUES;
    ++row->count;
    const int result = fetchItemValue(ctx, clause->sourceText, value);
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
    if (known == std::end(globalVariables)) {
        dmon_log(1, "Error in %s: unknown global variable '%s'.\n", getTemplateLine(ctx),
                 name.data());
        return MERGE_UNKNOWN_GLOBAL;
    }
    value->type = VORN_TYPE_UINT32;
    value->data = const_cast<char *>(reinterpret_cast<const char *>(app)) + known->offset;
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
        dmon_log(2, "Warning in %s: user variable '%s' not defined.\n", getTemplateLine(ctx), name);
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

int addRowValue(TemplateContext *ctx, ReportRow *row, const ValueClause *clause,
                KvStore *userVars) {
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
    char text[TEMPLATE_TEXT_SIZE];
    // What fails was reported, and the report goes on without the text.
    if (readTemplateText(ctx, text, sizeof text) == 0)
        static_cast<void>(addTextValue(ctx, row, text, clause));
    return MERGE_OK;
}

void releaseRowValues(ReportRow *row) {
    for (std::int32_t i = 0; i < row->count; ++i) releaseItemValue(&row->values[i]);
    row->count = 0;
}
