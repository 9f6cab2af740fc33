// SPDX-License-Identifier: MIT
#include "report_advice.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "output/conversions.h"
#include "report_findings.h"
#include "results/results.h"

namespace {

struct Advice {
    std::string_view message, advice;
};

constexpr std::string_view LIST_ITEMS = "'vorn-report --items RESULTS' lists what there is";
constexpr std::string_view NEEDS_VALUE = "write it as name=value";

constexpr Advice advices[] = {
    {"too many nested files.", "a file includes itself, or includes go deeper than 4 files"},
    {"file '%s%s' not found.", "the name counts from the folder of the file that includes it"},
    {"unknown argument '%.*s' in '%s' clause.", "look for a misspelt name, or a ',' in a value"},
    {"Expanded string is too long.", "at most 511 characters"},
    {"Missing '}' in expression.", "close the reference: ${name}"},
    {"Parameter '%.*s' not defined.", "hand it to this file where it is included"},
    {"missing dictionary group ID in 'dict' argument.", "write dict=name[1]"},
    {"missing ']' in 'dict' argument.", "write dict=name[1]"},
    {UNREADABLE_DICT, "it needs a file in the report's language and in the default one"},
    {"too many nested 'section' clauses.", "at most 8; a closing tag may be missing"},
    {"too many nested 'iterate' clauses.", "at most 8; a closing tag may be missing"},
    {"not in an 'iteration' clause.", "take the tag out, or open the loop in this file"},
    {"not in a 'section' clause.", "take the tag out, or open a section before it"},
    {"application item '%s' not found.", LIST_ITEMS},
    {"application item not found.", LIST_ITEMS},
    {"application '%s' not found in result file.", LIST_ITEMS},
    {"application item '%s' has no '%s' field.", LIST_ITEMS},
    {"array element out of range (%d).", "indices start at 0"},
    {"incompatible data type for 'units' conversion.", "it converts numbers only"},
    {"bad arguments to 'units' conversion.", "separate the units with ';'"},
    {"no units defined in 'units' conversion.", "write units(NAME=FACTOR;...)"},
    {"too many values in row clause.", "at most 16"},
    {"Could not format output.", "give the cstyle one conversion a value"},
    {"unknown style argument '%.*s' in css clause.", "font-family, font-size or font-weight"},
    {"plugin '%.*s' not declared.", "declare it with a 'plugin' clause before"},
    {"plugin function '%s' not found.", "look for a misspelt name"},
    {"plugin returned error.", "look at the arguments of the call"},
    {"could not find library file '%s'.", "give its path, or the name of a standard plug-in"},
    {"user variable '%s' not defined.", "set it with --var; a client sets it for the service"},
    {MISSING_KEY, "add it to the dictionary"},
    {"nested '%s' clause.", "a closing tag is missing before"},
    {"template ends with open clauses: %s.", "close them"},
    {"clause '%.*s' does not count %s and is passed over.",
     "a tag before it is missing or left over"},
    {"text behind the '%.*s' clause on its line is not read.", "begin a new line after the tag"},
    {"a '<' without '>' before the next tag.", "end the tag; a plain '<' cannot be written"},
    {"a '<' without '>' on its line drops the rest of the line.",
     "end the tag on its line; a plain '<' cannot be written"},
    {"a value's quote is not closed before '>'.", "close it; a value cannot hold a '>'"},
    {"a ',' splits a value in quotes.", "a value cannot hold a ','"},
    {"'%.*s:%.*s' has no effect.",
     "sizes are numbers above 0; for bold, name a face such as Courier-Bold"},
    {"'%.*s' is no number and counts as %d.",
     "an item is written application@item, a call NAME.FUNCTION()"},
    {"'enabled=%s' counts as no.", "yes or no"},
    {"a 'bitmap' conversion without '?' and ':' changes nothing.", "write bitmap(MASK?TEXT:TEXT)"},
    {"units after the eighth are left out.", "at most 8"},
    {"in a PDF characters of the row are shown as '?', the first is %s.",
     "PDF reports have the letters of Western Europe"},
    {"path '%s' was cut at %zu characters.", "shorten it, or move the file"},
    {"'%s' is no font of a PDF report.", "Courier, Helvetica, Times-Roman and their faces are"},
    {"value %d is a %s, which its conversion '%%%s%c' does not fit.", LIST_ITEMS},
    {"no conversion that prints stands behind the '%%' of value %d.",
     "%s, %d, %u, %x, %f and the like print"},
    {"in a PDF the row leaves the page from column %zu on.", "use fewer columns or a smaller font"},
    {"the template has no 'report' clause.", "put the rows between <report> and </report>"},
    {"the report is not closed.", "end it with </report>"},
};

// Advice that lists what a table of the engine has.
struct Choice {
    std::string_view message;
    std::vector<std::string_view> (*names)();
};

std::vector<std::string_view> globalNames() {
    std::vector<std::string_view> names;
    for (const GlobalVariable &variable : globalVariables) names.push_back(variable.name);
    return names;
}

std::vector<std::string_view> conversionNames() {
    std::vector<std::string_view> names;
    for (std::uint8_t kind = CONV_NONE + 1; !conversionName(kind).empty(); ++kind)
        names.push_back(conversionName(kind));
    return names;
}

constexpr Choice choices[] = {
    {"unknown global variable '%s'.", globalNames},
    {"unknown conversion type '%s' in template.", conversionNames},
};

// "a, b or c".
std::string listed(const std::vector<std::string_view> &names) {
    std::string list;
    for (const std::string_view &name : names) {
        if (!list.empty()) list += &name == &names.back() ? " or " : ", ";
        list += name;
    }
    return list;
}

// The row of a message, or null.
template <class Row, std::size_t N>
const Row *rowOf(const Row (&rows)[N], std::string_view message) {
    const Row *row = std::find_if(std::begin(rows), std::end(rows),
                                  [message](const Row &r) { return r.message == message; });
    return row != std::end(rows) ? row : nullptr;
}

}  // namespace

std::string adviceFor(std::string_view message) {
    if (const Choice *choice = rowOf(choices, message)) return listed(choice->names());
    if (const Advice *known = rowOf(advices, message)) return std::string(known->advice);
    return message.starts_with("missing ") ? std::string(NEEDS_VALUE) : std::string();
}
