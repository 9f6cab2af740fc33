// SPDX-License-Identifier: MIT
#include "report/template_tag.h"

#include <algorithm>

#include "base/words.h"

RawArg splitArg(std::string_view text, char separator) {
    RawArg arg{};
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    std::size_t length = 0;
    while (length < text.size() && length < TEMPLATE_NAME_SIZE - 1 && text[length] != ' ' &&
           text[length] != separator)
        ++length;
    arg.name = text.substr(0, length);

    text.remove_prefix(length);
    while (!text.empty() && (text.front() == ' ' || text.front() == separator))
        text.remove_prefix(1);
    if (!text.empty() && (text.front() == '\'' || text.front() == '"')) {
        const char quote = text.front();
        text.remove_prefix(1);
        text = text.substr(0, text.find(quote));
    }
    arg.value = text;
    arg.hasReference = text.find("${") != std::string_view::npos;
    return arg;
}

RawArg takeArg(std::string_view *args) {
    const std::size_t end = std::min(args->find(','), args->size());
    const RawArg arg = splitArg(args->substr(0, end), '=');
    args->remove_prefix(std::min(end + 1, args->size()));
    return arg;
}

std::string_view takeClauseName(std::string_view *text) {
    const auto *start = std::find_if_not(text->begin(), text->end(), isBlank);
    const auto *end = std::find_if(start, text->end(), isBlank);
    *text = std::string_view(end == text->end() ? end : end + 1, text->end());
    return {start, end};
}

void splitTagArgs(TemplateTag *tag) {
    tag->furtherArgs = tag->args;
    tag->argCount = 0;
    while (!tag->furtherArgs.empty() && tag->argCount < TAG_SPLIT_ARGS)
        tag->split[tag->argCount++] = takeArg(&tag->furtherArgs);
}
