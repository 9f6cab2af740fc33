// SPDX-License-Identifier: MIT
// A tag of a template taken apart. All of it follows from the tag's text alone: what the tag means
// is the merge's business and may change from pass to pass of a loop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Room for the name of an argument, a parameter or a variable.
constexpr std::size_t TEMPLATE_NAME_SIZE = 16;

// TemplateTag.clause, where it is no row of the merge's table.
constexpr std::int16_t CLAUSE_UNREAD = -1;   // found, and not looked at yet
constexpr std::int16_t CLAUSE_UNKNOWN = -2;  // a comment, or a tag of another program

// One argument as it stands in its clause, "name=value" or a bare name: the value is without its
// quotes, its references are not expanded.
struct RawArg {
    std::string_view name;  // what does not fit a name's room is the start of the value
    std::string_view value;
    bool hasReference;  // the value holds "${"
};

// Clauses that loops are made of have no more arguments.
constexpr std::int32_t TAG_SPLIT_ARGS = 3;

// The fields behind `clause` count when it is a row.
struct TemplateTag {
    std::string_view text;  // between "<" and ">"
    std::int16_t clause;    // the first row of its name in the merge's table, or CLAUSE_...
    std::string_view args;  // behind the clause's name and the blank or tab that ends it

    std::int32_t argCount;         // of `split`
    RawArg split[TAG_SPLIT_ARGS];  // the first arguments
    std::string_view furtherArgs;  // those behind them, as text
};

// Takes the clause's name, the first word, and the blank or tab that ends it off a tag's text.
std::string_view takeClauseName(std::string_view *text);

// Splits the arguments of a tag whose `args` are known.
void splitTagArgs(TemplateTag *tag);

// Splits one argument at a separator, which a blank may stand for.
RawArg splitArg(std::string_view text, char separator);

// Takes the first argument off a list that is separated by ",".
RawArg takeArg(std::string_view *args);
