// SPDX-License-Identifier: MIT
#include "report/plugin_clause.h"

#include "report/clause_args.h"
#include "report/plugins.h"
#include "report/template_hints.h"
#include "results/report_findings.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

// A plugin clause as it was read.
struct PluginClause {
    TemplatePlugin plugin;
    char lib[TEMPLATE_PATH_SIZE];
    char initCall[TEMPLATE_TEXT_SIZE];
};

int setName(TemplateContext *ctx, std::string_view value, PluginClause *clause) {
    hintCut(value, sizeof clause->plugin.name, "the plug-in's name");
    copyPiece(clause->plugin.name, value);
    if (findPlugin(ctx, clause->plugin.name) == nullptr) return MERGE_OK;
    return templateError(ctx, MERGE_TEMPLATE_ERROR, "plugin '%s' already declared.",
                         clause->plugin.name);
}

int setLib(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPath(clause->lib, sizeof clause->lib, value.data(), tellCutPath);
    return MERGE_OK;
}

int setInit(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPiece(clause->initCall, value);
    return MERGE_OK;
}

int setEnd(TemplateContext *, std::string_view value, PluginClause *clause) {
    copyPiece(clause->plugin.endCall, value);
    return MERGE_OK;
}

constexpr ClauseArg<PluginClause> pluginArgs[] = {
    {"name", "missing plugin 'name' in template.", setName},
    {"lib", "missing plugin 'lib' in template.", setLib},
    {"init", "missing plugin 'init' in template.", setInit},
    {"end", "missing plugin 'end' in template.", setEnd},
};

int readPluginClause(TemplateContext *ctx, std::string_view args, PluginClause *clause) {
    const int result = parseClauseArgs(ctx, args, "plugin", pluginArgs, clause);
    if (result != MERGE_OK) return result;
    if (clause->plugin.name[0] == '\0')
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "No name assigned to this plugin.");
    if (clause->lib[0] == '\0')
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "no library specified for plugin.");
    return MERGE_OK;
}

}  // namespace

int declarePlugin(TemplateContext *ctx, std::string_view args) {
    if (ctx->pluginCount == TEMPLATE_MAX_PLUGINS)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "too many plugins.");
    PluginClause clause{};
    int result = readPluginClause(ctx, args, &clause);
    if (result == MERGE_OK) result = startPlugin(ctx, &clause.plugin, clause.lib, clause.initCall);
    // Its calls are no mistakes of their own.
    if (result != MERGE_OK && readsOn() && findPlugin(ctx, clause.plugin.name) == nullptr) {
        clause.plugin.handle = nullptr;
        ctx->plugins[ctx->pluginCount++] = clause.plugin;
    }
    return result;
}
