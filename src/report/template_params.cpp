// SPDX-License-Identifier: MIT
#include "report/template_params.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "dmon/dmon.h"
#include "storage/strings.h"

namespace {

std::string_view trimBlanks(std::string_view text) {
    const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
    text.remove_prefix(start);
    text.remove_suffix(text.size() - (text.find_last_not_of(' ') + 1));
    return text;
}

// The node of a name, or null. Names in lists are trimmed and at most 15 characters long.
TemplateParam *findParam(TemplateParam *first, std::string_view name) {
    if (name.size() >= TEMPLATE_NAME_SIZE) return nullptr;
    for (TemplateParam *param = first; param != nullptr; param = param->next)
        if (std::memcmp(param->name, name.data(), name.size()) == 0 &&
            param->name[name.size()] == '\0')
            return param;
    return nullptr;
}

// Appends a piece to the expansion; false, after a message, when it does not fit.
bool appendExpansion(TemplateContext *ctx, char **cursor, std::size_t *room,
                     std::string_view piece) {
    if (safe_strncat_size(cursor, room, piece.data(), piece.size()) == 0) return true;
    dmon_log(1, "Error in %s: Expanded string is too long.\n", getTemplateLine(ctx));
    return false;
}

}  // namespace

int setTemplateParam(TemplateParam **list, std::string_view name, std::string_view value) {
    name = trimBlanks(trimBlanks(name).substr(0, TEMPLATE_NAME_SIZE - 1));
    if (name.empty()) return 0;
    TemplateParam *param = findParam(*list, name);
    if (param == nullptr) {
        param = static_cast<TemplateParam *>(std::calloc(1, sizeof *param));
        if (param == nullptr) return 0;  // a reference to it will say that it is not defined
        copyPiece(param->name, name);
        while (*list != nullptr) list = &(*list)->next;
        *list = param;
    }
    copyPiece(param->value, trimBlanks(trimBlanks(value).substr(0, sizeof param->value - 1)));
    return 0;
}

int setTemplateParamInt(TemplateParam **list, std::string_view name, std::int32_t number) {
    char text[12];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, number);
    return setTemplateParam(list, name, {text, static_cast<std::size_t>(end.ptr - text)});
}

void freeTemplateParams(TemplateParam *first) {
    while (first != nullptr) {
        TemplateParam *next = first->next;
        std::free(first);
        first = next;
    }
}

int parseClauseArg(TemplateContext *ctx, std::string_view text, char separator,
                   std::size_t valueSize, ParsedArg *arg) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::size_t nameLength = 0;
    while (nameLength < text.size() && nameLength < TEMPLATE_NAME_SIZE - 1 &&
           text[nameLength] != ' ' && text[nameLength] != separator)
        ++nameLength;
    arg->name = text.substr(0, nameLength);

    text.remove_prefix(nameLength);
    while (!text.empty() && (text.front() == ' ' || text.front() == separator))
        text.remove_prefix(1);
    if (!text.empty() && (text.front() == '\'' || text.front() == '"')) {
        const char quote = text.front();
        text.remove_prefix(1);
        text = text.substr(0, text.find(quote));
    }
    text = text.substr(0, valueSize - 1);
    const std::string_view expanded = expandTemplateString(ctx, text);
    const bool failed = expanded.data() == nullptr && !text.empty();
    arg->value = (failed ? text : expanded).substr(0, valueSize - 1);
    arg->value.copy(arg->buffer, arg->value.size());
    arg->buffer[arg->value.size()] = '\0';
    arg->value = {arg->buffer, arg->value.size()};
    return failed ? MERGE_TEMPLATE_ERROR : MERGE_OK;
}

std::string_view expandTemplateString(TemplateContext *ctx, std::string_view text) {
    std::size_t reference = text.find("${");
    if (reference == std::string_view::npos && text.size() < sizeof ctx->expansion) return text;

    char *cursor = ctx->expansion;
    std::size_t room = sizeof ctx->expansion;
    for (; reference != std::string_view::npos; reference = text.find("${")) {
        if (!appendExpansion(ctx, &cursor, &room, text.substr(0, reference))) return {};
        text.remove_prefix(reference + 2);
        const std::size_t end = text.find('}');
        if (end == std::string_view::npos) {
            dmon_log(1, "Error in %s: Missing '}' in expression.\n", getTemplateLine(ctx));
            return {};
        }
        const std::string_view name = text.substr(0, end);
        TemplateParam **params = currentParams(ctx);
        const TemplateParam *param = params != nullptr ? findParam(*params, name) : nullptr;
        if (param == nullptr) {
            dmon_log(1, "Error in %s: Parameter '%.*s' not defined.\n", getTemplateLine(ctx),
                     static_cast<int>(name.size()), name.data());
            return {};
        }
        if (!appendExpansion(ctx, &cursor, &room, param->value)) return {};
        text.remove_prefix(end + 1);
    }
    if (!appendExpansion(ctx, &cursor, &room, text)) return {};
    return {ctx->expansion, static_cast<std::size_t>(cursor - ctx->expansion)};
}

int parseParamPieces(TemplateContext *ctx, std::string_view text, std::size_t valueSize,
                     TemplateParam **list) {
    ParsedArg arg;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        // A failed expansion was reported; the parameter keeps the unexpanded text.
        static_cast<void>(parseClauseArg(ctx, text.substr(0, end), ':', valueSize, &arg));
        setTemplateParam(list, arg.name, arg.value);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return 0;
}

int parseParamList(TemplateContext *ctx, std::string_view text, IncludeSpec *spec) {
    freeTemplateParams(spec->params);
    spec->params = nullptr;
    return parseParamPieces(ctx, text, TEMPLATE_TEXT_SIZE, &spec->params);
}
