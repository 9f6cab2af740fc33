// SPDX-License-Identifier: MIT
#include "report/template_params.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "report/template_error.h"
#include "report/template_hints.h"
#include "storage/strings.h"

namespace {

// A text being expanded, with a byte kept for the NUL.
struct Expansion {
    char *out;
    std::size_t length;
};

// Appends a piece; false, after a message, when it does not fit.
bool appendPiece(TemplateContext *ctx, Expansion *expansion, std::string_view piece) {
    if (piece.size() >= TEMPLATE_TEXT_SIZE - expansion->length) {
        templateError(ctx, MERGE_TEMPLATE_ERROR, "Expanded string is too long.");
        return false;
    }
    piece.copy(expansion->out + expansion->length, piece.size());
    expansion->length += piece.size();
    return true;
}

// Takes a reference "${name}" off the front of `rest` and appends its parameter's value; false
// after a message.
bool appendReference(TemplateContext *ctx, Expansion *expansion, std::string_view *rest) {
    const std::size_t end = rest->find('}');
    if (end == std::string_view::npos) {
        templateError(ctx, MERGE_TEMPLATE_ERROR, "Missing '}' in expression.");
        return false;
    }
    const std::string_view name = rest->substr(2, end - 2);
    rest->remove_prefix(end + 1);
    TemplateParam **params = currentParams(ctx);
    const TemplateParam *param =
        params != nullptr ? findTemplateParam(*params, name, &ctx->steps) : nullptr;
    if (param != nullptr) return appendPiece(ctx, expansion, param->value);
    templateError(ctx, MERGE_TEMPLATE_ERROR, "Parameter '%.*s' not defined.",
                  static_cast<int>(name.size()), name.data());
    return false;
}

// Expands a text into a buffer and puts a NUL behind it. Null after a message.
std::string_view expandInto(TemplateContext *ctx, std::string_view text,
                            char (&out)[TEMPLATE_TEXT_SIZE]) {
    Expansion expansion{out, 0};
    bool failed = false;  // on a name; a check looks at the others too
    for (;;) {
        const std::size_t reference = std::min(text.find("${"), text.size());
        if (!appendPiece(ctx, &expansion, text.substr(0, reference))) return {};
        text.remove_prefix(reference);
        if (text.empty()) break;
        const std::size_t before = text.size();
        if (appendReference(ctx, &expansion, &text)) continue;
        if (!readsOn() || text.size() == before) return {};
        failed = true;
    }
    if (failed) return {};
    out[expansion.length] = '\0';
    return {out, expansion.length};
}

}  // namespace

// Names in lists are trimmed and at most 15 characters long.
TemplateParam *findTemplateParam(TemplateParam *first, std::string_view name, std::int64_t *steps) {
    if (name.size() >= TEMPLATE_NAME_SIZE) return nullptr;
    std::int64_t passed = 0;
    TemplateParam *param = first;
    for (; param != nullptr; param = param->next, ++passed)
        if (std::memcmp(param->name, name.data(), name.size()) == 0 &&
            param->name[name.size()] == '\0')
            break;
    *steps += passed / STEPS_PARAMETERS;
    return param;
}

int setTemplateParam(TemplateParam **list, std::string_view name, std::string_view value) {
    if (wantsHints())
        tellCut(withoutBlanks(value), sizeof TemplateParam::value, "a parameter's value");
    name = withoutBlanks(withoutBlanks(name).substr(0, TEMPLATE_NAME_SIZE - 1));
    if (name.empty()) return MERGE_OK;
    std::int64_t steps = 0;
    TemplateParam *param = findTemplateParam(*list, name, &steps);
    if (param == nullptr) {
        param = static_cast<TemplateParam *>(std::calloc(1, sizeof *param));
        if (param == nullptr) return MERGE_TEMPLATE_ERROR;
        copyPiece(param->name, name);
        while (*list != nullptr) list = &(*list)->next;
        *list = param;
    }
    copyPiece(param->value, withoutBlanks(withoutBlanks(value).substr(0, sizeof param->value - 1)));
    return MERGE_OK;
}

int setTemplateParamInt(TemplateParam **list, std::string_view name, std::int32_t number) {
    char text[12];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, number);
    const std::string_view digits(text, static_cast<std::size_t>(end.ptr - text));
    std::int64_t steps = 0;
    TemplateParam *param = name.empty() ? nullptr : findTemplateParam(*list, name, &steps);
    if (param == nullptr) return setTemplateParam(list, name, digits);
    copyPiece(param->value, digits);
    return MERGE_OK;
}

void freeTemplateParams(TemplateParam *first) {
    while (first != nullptr) {
        TemplateParam *next = first->next;
        std::free(first);
        first = next;
    }
}

TemplateParam **currentParams(TemplateContext *ctx) {
    TemplateFile *file = currentFile(ctx);
    return file != nullptr ? &file->params : nullptr;
}

int expandArg(TemplateContext *ctx, const RawArg &raw, std::size_t valueSize, ParsedArg *arg) {
    arg->name = raw.name;
    const std::string_view value = raw.value.substr(0, valueSize - 1);
    bool failed = false;
    if (raw.hasReference) {
        arg->value = expandInto(ctx, value, arg->buffer).substr(0, valueSize - 1);
        failed = arg->value.data() == nullptr;
    }
    if (!raw.hasReference || failed)
        arg->value = {arg->buffer, value.copy(arg->buffer, value.size())};
    arg->buffer[arg->value.size()] = '\0';
    return failed ? MERGE_TEMPLATE_ERROR : MERGE_OK;
}

int parseClauseArg(TemplateContext *ctx, std::string_view text, char separator,
                   std::size_t valueSize, ParsedArg *arg) {
    return expandArg(ctx, splitArg(text, separator), valueSize, arg);
}

std::string_view expandTemplateString(TemplateContext *ctx, std::string_view text) {
    if (text.size() < sizeof ctx->expansion && text.find("${") == std::string_view::npos)
        return text;
    ctx->steps += STEPS_EXPANSION * static_cast<std::int64_t>(text.size() / 8);
    return expandInto(ctx, text, ctx->expansion);
}

int parseParamPieces(TemplateContext *ctx, std::string_view text, std::size_t valueSize,
                     TemplateParam **list) {
    ParsedArg arg;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        if (wantsHints())
            tellCut(withoutBlanks(text.substr(0, text.find_first_of(":;"))), TEMPLATE_NAME_SIZE,
                    "a parameter's name");
        // A failed expansion was reported; the parameter keeps the unexpanded text.
        static_cast<void>(parseClauseArg(ctx, text.substr(0, end), ':', valueSize, &arg));
        if (setTemplateParam(list, arg.name, arg.value) != MERGE_OK) return templateNoMemory(ctx);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return MERGE_OK;
}

int parseParamList(TemplateContext *ctx, std::string_view text, IncludeSpec *spec) {
    freeTemplateParams(spec->params);
    spec->params = nullptr;
    return parseParamPieces(ctx, text, TEMPLATE_TEXT_SIZE, &spec->params);
}
