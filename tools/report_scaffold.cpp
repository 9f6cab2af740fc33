// SPDX-License-Identifier: MIT
#include "report_scaffold.h"

#include <nlohmann/json.hpp>

#include "item_list.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t LONGEST_LABEL = 32;

std::string formatFor(const std::string &type) {
    if (type == "string") return "%s";
    if (type == "INT32") return "%d";
    if (type == "UINT32") return "%u";
    return type == "UINT64" ? "%llu" : "%f";
}

std::string row(const std::string &label, const std::string &format, const std::string &value) {
    return "<row cstyle='%-" + std::to_string(LONGEST_LABEL) + "s " + format + "'><value>" +
           label.substr(0, LONGEST_LABEL) + "</value><value " + value + "></value></row>\n";
}

std::string timeRow(const Json &time) {
    if (time["global"].is_null()) return {};
    const std::string name = time["name"].get<std::string>().substr(1);
    const std::string conversion = name == "elapsed-time" ? "time" : "dateTime";
    return row(name, "%s", "global=" + time["global"].get<std::string>() + ", conv=" + conversion);
}

// The elements in a loop; an array of a few bytes is a text.
std::string arrayRows(const std::string &name, const Json &links) {
    const std::string link = links[0]["link"].get<std::string>();
    if (links.size() < 2) return row(name, "%s", "link=" + link);
    return "<iterate var=i, from=0, to=" + std::to_string(links.size() - 2) + ">\n" +
           row(name + "[${i}]", "%u", "link=" + link + "[${i}]") + "</iterate>\n";
}

std::string registerRows(const Json &reg) {
    const std::string name = reg["name"];
    const Json &links = reg["links"];
    if (links.empty() || links[0]["link"].is_null()) return {};
    if (reg["kind"] == "array") return arrayRows(name, links);
    std::string rows;
    for (const Json &link : links) {
        const std::string text = link["link"];
        rows += row(text.substr(text.find('@') + 1), formatFor(link["type"]), "link=" + text);
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
        if (rows.empty()) continue;
        text.append("\n<section id=").append(name, 0, 19);
        text.append(">\n<row cstyle='%s'><value>").append(name);
        text.append("</value></row>\n").append(rows).append("</section>\n");
    }
    return text + "\n</report>\n";
}
