// SPDX-License-Identifier: MIT
#include "report_scaffold.h"

#include <algorithm>
#include <string_view>

#include <nlohmann/json.hpp>

#include "item_list.h"
#include "type_format.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t LONGEST_LABEL = 32;

std::string row(const std::string &label, std::string_view format, const std::string &value) {
    return "<row cstyle='%-" + std::to_string(LONGEST_LABEL) + "s " + std::string(format) +
           "'><value>" + label.substr(0, LONGEST_LABEL) + "</value><value " + value +
           "></value></row>\n";
}

std::string timeRow(const Json &time) {
    if (time["global"].is_null()) return {};
    const std::string name = time["name"].get<std::string>().substr(1);
    const std::string conversion = name == "elapsed-time" ? "time" : "dateTime";
    return row(name, "%s", "global=" + time["global"].get<std::string>() + ", conv=" + conversion);
}

// Whether an array's bytes are a text, as far as one can tell.
bool isText(const Json &value) {
    if (!value.is_string()) return false;
    const std::string text = value;
    const bool isShown = std::none_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
    });
    return isShown && !text.empty() && text.find("\uFFFD") == std::string::npos;
}

// The elements in a loop; an array of a few bytes is a text, and one that may be is both.
std::string arrayRows(const std::string &name, const Json &links) {
    const std::string link = links[0]["link"].get<std::string>();
    std::string textRow = row(name, "%s", "link=" + link);
    if (links.size() < 2) return textRow;
    return (isText(links[0]["value"]) ? textRow : "") +
           "<iterate var=i, from=0, to=" + std::to_string(links.size() - 2) + ">\n" +
           row(name + "[${i}]", "%u", "link=" + link + "[${i}]") + "</iterate>\n";
}

// A comment that says that a template cannot show something.
std::string unreached(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return c == '<' || c == '>' || static_cast<unsigned char>(c) < ' '; }, '?');
    return "<!-- no link reaches " + name + " -->\n";
}

std::string registerRows(const Json &reg) {
    const std::string name = reg["name"];
    const Json &links = reg["links"];
    if (links.empty() || links[0]["link"].is_null()) return unreached(name);
    if (reg["kind"] == "array") return arrayRows(name, links);
    std::string rows;
    for (const Json &link : links) {
        const std::string text = link["link"];
        rows += row(text.substr(text.find('@') + 1), formatOfType(std::string(link["type"])),
                    "link=" + text);
    }
    return rows;
}

}  // namespace

std::string scaffoldFor(const Results *results) {
    const Json list = Json::parse(itemListJson(results));
    std::string text = "<!-- One row a value: keep what the report is to show. -->\n<report>\n";
    for (const Json &app : list["applications"]) {
        const std::string name = app["name"];
        std::string rows;
        for (const Json &time : app["times"]) rows += timeRow(time);
        for (const Json &reg : app["registers"]) rows += registerRows(reg);
        if (rows.find("<row") == std::string::npos) {
            text.append("\n").append(unreached(name));
            continue;
        }
        text.append("\n<section id=").append(name, 0, 19);
        text.append(">\n<row cstyle='%s'><value>").append(name);
        text.append("</value></row>\n").append(rows).append("</section>\n");
    }
    return text + "\n</report>\n";
}
