// SPDX-License-Identifier: MIT
#include "report/dict_argument.h"

#include <algorithm>
#include <cstring>

#include "base/numbers.h"
#include "report/template_error.h"
#include "report/template_hints.h"
#include "results/dict_resolver.h"
#include "storage/strings.h"

namespace {

constexpr std::size_t DICT_ENTRY_SIZE = 8;  // "group:subgroup" is cut to 7 characters

// Pushes one group of a dictionary; as dictResolvPush, with the message that the resolver leaves to
// us.
int pushDictEntry(TemplateContext *ctx, const char *dictName, const char *entry) {
    const std::uint32_t group = toUint32(entry);
    const char *colon = std::strchr(entry, ':');
    const std::uint32_t subgroup = colon != nullptr ? toUint32(colon + 1) : 0;

    const int level = dictResolvPush(&ctx->dict, dictName, group, subgroup);
    const char *shown = dictName[0] != '\0' ? dictName : ctx->dict.name;
    if (level == DICT_FULL)
        return templateError(ctx, level, "too many dictionaries or dictionary groups at '%s'.",
                             shown);
    if (level < 0) return templateError(ctx, level, "dictionary '%s' could not be opened.", shown);
    return level;
}

}  // namespace

int parseDictSpec(TemplateContext *ctx, std::string_view rest) {
    const std::size_t open = rest.find('[');
    if (open == std::string_view::npos)
        return templateError(ctx, MERGE_TEMPLATE_ERROR,
                             "missing dictionary group ID in 'dict' argument.");
    char untrimmed[TEMPLATE_TEXT_SIZE];
    char dictName[TEMPLATE_NAME_SIZE];
    copyPiece(untrimmed, rest.substr(0, open));
    hintCut(withoutBlanks(untrimmed), sizeof dictName, "the dictionary's name");
    trimcpy(dictName, untrimmed, sizeof dictName);

    rest.remove_prefix(open + 1);
    const std::size_t close = rest.find(']');
    if (close == std::string_view::npos)
        return templateError(ctx, MERGE_TEMPLATE_ERROR, "missing ']' in 'dict' argument.");
    rest = rest.substr(0, close);

    int firstLevel = DICT_NOTHING_PUSHED;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        char entry[DICT_ENTRY_SIZE];
        copyPiece(untrimmed, rest.substr(0, end));
        hintCut(withoutBlanks(untrimmed), sizeof entry, "a dictionary's group");
        trimcpy(entry, untrimmed, sizeof entry);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (entry[0] == '\0') continue;
        const int level = pushDictEntry(ctx, dictName, entry);
        if (level < 0) return level;
        if (firstLevel == DICT_NOTHING_PUSHED) firstLevel = level;
    }
    return firstLevel;
}
