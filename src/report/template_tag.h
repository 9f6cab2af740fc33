// SPDX-License-Identifier: MIT
// A tag of a template taken apart. All of it follows from the tag's text alone: what the tag means
// is the merge's business and may change from pass to pass of a loop.
#pragma once

#include <cstdint>
#include <string_view>

enum ClauseName : std::uint8_t {
    CLAUSE_REPORT,
    CLAUSE_REPORT_END,
    CLAUSE_SECTION,
    CLAUSE_SECTION_END,
    CLAUSE_ROW,
    CLAUSE_ROW_END,
    CLAUSE_VALUE,
    CLAUSE_VALUE_END,
    CLAUSE_ITERATE,
    CLAUSE_ITERATE_END,
    CLAUSE_CSS,
    CLAUSE_PLUGIN,
    CLAUSE_INCLUDE,
    CLAUSE_UNKNOWN,  // a comment, or a tag of another program
};

// One argument as it stands in its clause, "name=value" or a bare name: the value is without its
// quotes, its references are not expanded.
struct RawArg {
    std::string_view name;  // at most 15 characters; what is more is the start of the value
    std::string_view value;
    bool hasReference;  // the value holds "${"
};

// Clauses that loops are made of have no more arguments.
constexpr std::int32_t TAG_SPLIT_ARGS = 3;

struct TemplateTag {
    std::string_view text;  // between "<" and ">"
    std::string_view args;  // behind the clause's name and the blank or tab that ends it
    ClauseName clause;

    std::int32_t argCount;         // of `split`
    RawArg split[TAG_SPLIT_ARGS];  // the first arguments
    std::string_view furtherArgs;  // those behind them, as text
};

// Takes a tag apart. The name is the first word; words are separated by blanks and tabs.
void splitTag(std::string_view text, TemplateTag *tag);

// Splits one argument at a separator, which a blank may stand for.
RawArg splitArg(std::string_view text, char separator);

// Takes the first argument off a list that is separated by ",".
RawArg takeArg(std::string_view *args);
