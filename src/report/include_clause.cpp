// SPDX-License-Identifier: MIT
#include "report/include_clause.h"

#include <algorithm>

#include "report/clause_args.h"
#include "report/template_params.h"
#include "report/template_reader.h"
#include "results/report_findings.h"
#include "storage/files.h"
#include "storage/strings.h"

namespace {

// name[(parameters)]; a later one replaces name and parameters.
int setIncludeFile(TemplateContext *ctx, std::string_view value, IncludeSpec *spec) {
    const std::size_t open = std::min(value.find('('), value.size());
    char untrimmed[TEMPLATE_TEXT_SIZE];
    char name[TEMPLATE_TEXT_SIZE];
    copyPiece(untrimmed, value.substr(0, open));
    trimcpy(name, untrimmed, sizeof name);
    copyPath(spec->file, sizeof spec->file, name, tellCutPath);

    const std::string_view params =
        open < value.size() ? value.substr(open + 1) : std::string_view();
    return parseParamList(ctx, params.substr(0, params.find(')')), spec);
}

int setIncludeOptional(TemplateContext *, std::string_view, IncludeSpec *spec) {
    spec->flags |= INCLUDE_OPTIONAL;
    return MERGE_OK;
}

constexpr ClauseArg<IncludeSpec> includeArgs[] = {
    {"file", "missing section 'file' in template.", setIncludeFile},
    {"optional", nullptr, setIncludeOptional},
};

}  // namespace

int includeTemplate(TemplateContext *ctx, std::string_view args) {
    IncludeSpec spec{};
    int result = parseClauseArgs(ctx, args, "include", includeArgs, &spec);
    if (result == MERGE_OK) result = pushTemplateFile(ctx, &spec, nullptr);
    freeTemplateParams(spec.params);  // empty when the file took them
    return result;
}
