// SPDX-License-Identifier: MIT
#include "report/sections.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <strings.h>

#include "dmon/dmon.h"
#include "report/clause_args.h"
#include "report/plugins.h"
#include "report/template_reader.h"
#include "results/results.h"
#include "storage/strings.h"

namespace {

constexpr int NOTHING_PUSHED = -1;
constexpr std::size_t DICT_ENTRY_SIZE = 8;  // "group:subgroup" is cut to 7 characters

int setId(TemplateContext *, std::string_view value, TemplateSection *section) {
    copyPiece(section->id, value);
    return MERGE_OK;
}

int setEnabledBy(TemplateContext *ctx, std::string_view value, TemplateSection *section) {
    return evalTemplateBool(ctx, value.data(), &section->enabled);
}

int setEnabled(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->enabled = strcasecmp(value.data(), "yes") == 0 ? 1 : 0;
    return MERGE_OK;
}

int setTop(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->top = toInt32(value);
    return MERGE_OK;
}

int setBottom(TemplateContext *, std::string_view value, TemplateSection *section) {
    section->bottom = toInt32(value);
    return MERGE_OK;
}

int pushDicts(TemplateContext *ctx, std::string_view value, TemplateSection *section) {
    const int level = parseDictSpec(ctx, value);
    if (level < NOTHING_PUSHED) return level;
    if (section->dictLevel == NOTHING_PUSHED) section->dictLevel = level;
    return MERGE_OK;
}

constexpr ClauseArg<TemplateSection> sectionArgs[] = {
    {"id", "Error in %s: missing section 'id' in template.\n", setId},
    {"enabled-by", "Error in %s: missing application item in 'enabled-by' argument.\n",
     setEnabledBy},
    {"enabled", "Error in %s: missing boolean in 'enabled' argument.\n", setEnabled},
    {"top", "Error in %s: missing line count in 'top' argument.\n", setTop},
    {"bottom", "Error in %s: missing line count in 'bottom' argument.\n", setBottom},
    {"dict", "Error in %s: missing dictionary specification in 'dict' argument.\n", pushDicts},
};

bool inDisabledSection(const TemplateContext *ctx) {
    return ctx->sectionLevel > 0 && ctx->sections[ctx->sectionLevel - 1].enabled == 0;
}

// Pushes one group of a dictionary; as dictResolvPush, with the message that the resolver leaves to
// us.
int pushDictEntry(TemplateContext *ctx, const char *dictName, const char *entry) {
    const auto group = static_cast<std::uint32_t>(std::strtoul(entry, nullptr, 0));
    const char *colon = std::strchr(entry, ':');
    const auto subgroup =
        colon != nullptr ? static_cast<std::uint32_t>(std::strtoul(colon + 1, nullptr, 0)) : 0;

    const int level = dictResolvPush(&ctx->dict, dictName, group, subgroup);
    const char *shown = dictName[0] != '\0' ? dictName : ctx->dict.name;
    if (level == DICT_FULL)
        dmon_log(1, "Error in %s: too many dictionaries or dictionary groups at '%s'.\n",
                 getTemplateLine(ctx), shown);
    else if (level < 0)
        dmon_log(1, "Error in %s: dictionary '%s' could not be opened.\n", getTemplateLine(ctx),
                 shown);
    return level;
}

// The truth of what a plug-in returned for a condition.
int testPluginValue(TemplateContext *ctx, const ItemValue *value, bool *flag) {
    if (value->data == nullptr) {
        dmon_log(1, "Error in %s: Plugin must return a value.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    if (value->type != VORN_TYPE_UINT32 && value->type != VORN_TYPE_INT32) {
        dmon_log(1, "Error in %s: Plugin must return an U/INT32 value.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    std::uint32_t number = 0;
    std::memcpy(&number, value->data, sizeof number);
    *flag = number != 0;
    return MERGE_OK;
}

int testItem(TemplateContext *ctx, const char *text, bool *flag) {
    char item[TEMPLATE_TEXT_SIZE];
    copyPiece(item, text);
    const RegisterRecord *reg = getAppItemResult(item, ctx->results, nullptr, nullptr);
    if (reg == nullptr) {
        dmon_log(1, "Error in %s: application item '%s' not found.\n", getTemplateLine(ctx), text);
        return MERGE_ITEM_NOT_FOUND;
    }
    *flag = reg->valid != 0;
    return MERGE_OK;
}

int testPlugin(TemplateContext *ctx, const char *text, bool *flag) {
    ItemValue value{};
    int result = callPlugin(ctx, text, &value);
    if (result != MERGE_OK)
        dmon_log(1, "Error in %s: plugin returned error.\n", getTemplateLine(ctx));
    else
        result = testPluginValue(ctx, &value, flag);
    releaseItemValue(&value);
    return result;
}

}  // namespace

int evalTemplateBool(TemplateContext *ctx, const char *text, std::uint8_t *flag) {
    const bool inverted = text[0] == '!';
    if (inverted) ++text;

    bool truth = false;
    int result = MERGE_OK;
    if (std::strchr(text, '@') != nullptr)
        result = testItem(ctx, text, &truth);
    else if (std::strchr(text, '.') != nullptr)
        result = testPlugin(ctx, text, &truth);
    else
        truth = toInt32(text) != 0;
    if (result == MERGE_OK) *flag = truth != inverted ? 1 : 0;
    return result;
}

int parseDictSpec(TemplateContext *ctx, std::string_view rest) {
    const std::size_t open = rest.find('[');
    if (open == std::string_view::npos) {
        dmon_log(1, "Error in %s: missing dictionary group ID in 'dict' argument.\n",
                 getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    char untrimmed[TEMPLATE_TEXT_SIZE];
    char dictName[TEMPLATE_NAME_SIZE];
    copyPiece(untrimmed, rest.substr(0, open));
    trimcpy(dictName, untrimmed, sizeof dictName);

    rest.remove_prefix(open + 1);
    const std::size_t close = rest.find(']');
    if (close == std::string_view::npos) {
        dmon_log(1, "Error in %s: missing ']' in 'dict' argument.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    rest = rest.substr(0, close);

    int firstLevel = NOTHING_PUSHED;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        char entry[DICT_ENTRY_SIZE];
        copyPiece(untrimmed, rest.substr(0, end));
        trimcpy(entry, untrimmed, sizeof entry);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (entry[0] == '\0') continue;
        const int level = pushDictEntry(ctx, dictName, entry);
        if (level < 0) return level;
        if (firstLevel == NOTHING_PUSHED) firstLevel = level;
    }
    return firstLevel;
}

int parseSectionClause(TemplateContext *ctx, std::string_view args, TemplateSection *section) {
    *section =
        TemplateSection{.id = "", .enabled = 1, .top = 1, .bottom = 1, .dictLevel = NOTHING_PUSHED};
    return parseClauseArgs(ctx, args, sectionArgs,
                           "Error in %s: unknown argument '%s' in 'section' clause.\n", section);
}

int pushSection(TemplateContext *ctx, std::string_view args) {
    if (ctx->sectionLevel == TEMPLATE_MAX_SECTIONS) {
        dmon_log(1, "Error in %s: too many nested 'section' clauses.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    const std::int32_t level = ctx->sectionLevel;
    TemplateSection *section = &ctx->sections[level];
    int result = MERGE_OK;
    if (inDisabledSection(ctx)) {
        *section = TemplateSection{
            .id = "", .enabled = 0, .top = 0, .bottom = 0, .dictLevel = NOTHING_PUSHED};
    } else {
        if (parseSectionClause(ctx, args, section) != MERGE_OK) return MERGE_TEMPLATE_ERROR;
        result = dumpSectionHeader(&ctx->backend, section);
    }
    dmon_log(3, "Push section '%s' at level %d.\n", section->id, level);
    ctx->sectionPlaces[level] = currentPlace(ctx);
    ctx->state = section->enabled != 0 ? MERGE_SECTION : MERGE_DISABLED;
    ++ctx->sectionLevel;
    return result;
}

int popSection(TemplateContext *ctx) {
    if (ctx->sectionLevel == 0) {
        dmon_log(1, "Error in %s: not in a 'section' clause.\n", getTemplateLine(ctx));
        return MERGE_TEMPLATE_ERROR;
    }
    --ctx->sectionLevel;
    const TemplateSection *section = &ctx->sections[ctx->sectionLevel];
    const int result = dumpSectionFooter(&ctx->backend, section);
    if (ctx->sectionLevel == 0)
        ctx->state = MERGE_REPORT;
    else if (ctx->state == MERGE_DISABLED && !inDisabledSection(ctx))
        ctx->state = MERGE_SECTION;
    if (section->dictLevel >= 0) dictResolvPop(&ctx->dict, section->dictLevel);
    dmon_log(3, "Pop section '%s' at level %d.\n", section->id, ctx->sectionLevel);
    return result;
}
