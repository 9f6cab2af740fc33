// SPDX-License-Identifier: MIT
// Parameter lists, the splitting of clause arguments, and the expansion of ${name}.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "report/template_context.h"

// Sets a parameter of a list, or appends it; blanks at both ends of name and value are dropped, and
// both are cut to their fields. An empty name does nothing. MERGE_OK, or MERGE_TEMPLATE_ERROR,
// without a message, when there is no memory. parseParamPieces makes its lists by the first;
// iterations set their variable by the second.
int setTemplateParam(TemplateParam **list, std::string_view name, std::string_view value);
int setTemplateParamInt(TemplateParam **list, std::string_view name, std::int32_t number);

// The node of a name, compared whole, or null. Adds the steps of a long way.
TemplateParam *findTemplateParam(TemplateParam *first, std::string_view name, std::int64_t *steps);

// Frees a list; null is allowed.
void freeTemplateParams(TemplateParam *first);

// The current file's parameters, or null when no file is open.
TemplateParam **currentParams(TemplateContext *ctx);

// One argument of a clause or a call. The name is a part of the text that was split; the value
// stands in the buffer and a NUL follows it.
struct ParsedArg {
    std::string_view name;
    std::string_view value;
    char buffer[TEMPLATE_TEXT_SIZE];
};

// Splits one argument, name and value around a separator, and expands the value. A name has at most
// 15 characters; what is more goes on as the start of the value. valueSize is the value's limit,
// its NUL included, TEMPLATE_TEXT_SIZE or less. MERGE_OK, or MERGE_TEMPLATE_ERROR after the
// expansion's message: the value is then the unexpanded one, and the caller goes on with it. Called
// by parseParamPieces; the arguments of a clause are split with their tag, and expanded by
// expandArg.
int parseClauseArg(TemplateContext *ctx, std::string_view text, char separator,
                   std::size_t valueSize, ParsedArg *arg);

// The same for an argument that was split before.
int expandArg(TemplateContext *ctx, const RawArg &raw, std::size_t valueSize, ParsedArg *arg);

// Replaces each ${name} by the value of that parameter of the current file. Returns `text` itself
// when it holds no reference, else a text in ctx->expansion, ended by a NUL, which the next call
// overwrites; data() is null after a message.
std::string_view expandTemplateString(TemplateContext *ctx, std::string_view text);

// Reads a list name:value;name:value into an empty list; the caller frees it. valueSize is that of
// the buffer that a value passes through, TEMPLATE_TEXT_SIZE or less. MERGE_OK, or
// MERGE_TEMPLATE_ERROR after a message when there is no memory.
int parseParamPieces(TemplateContext *ctx, std::string_view text, std::size_t valueSize,
                     TemplateParam **list);

// The same into the parameters of an include clause, over those that are there.
int parseParamList(TemplateContext *ctx, std::string_view text, IncludeSpec *spec);
