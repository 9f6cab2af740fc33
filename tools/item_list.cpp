// SPDX-License-Identifier: MIT
#include "item_list.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/numbers.h"
#include "base/utf8_text.h"
#include "results/results.h"
#include "type_format.h"
#include "utc_time.h"

namespace {

using Json = nlohmann::ordered_json;

// Elements of an array that the text list shows one by one.
constexpr std::size_t ELEMENTS_SHOWN = 8;

constexpr const char *kindNames[] = {
    "selection",           "bit set", "UINT32", "INT32", "UINT64", "FLOAT", "DOUBLE", "counter",
    "UINT32 with seconds", "array"};
static_assert(std::size(kindNames) == VORN_REG_ARRAY + 1);

// ---- the list ----

// Results files hold what their maker wrote: nothing of it may drive the terminal. JSON escapes
// control characters and marks what is no UTF-8; DEL and the 8-bit controls are left to us. Quotes
// and backslashes stand as they are.
std::string printable(const std::string &text) {
    const std::string escaped = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string shown;
    for (std::size_t i = 1; i + 1 < escaped.size(); ++i) {
        if (escaped[i] == '\\' && (escaped[i + 1] == '\\' || escaped[i + 1] == '"')) ++i;
        const std::size_t control = controlLength(std::string_view(escaped).substr(i));
        shown += control > 0 ? '?' : escaped[i];
        if (control > 1) ++i;
    }
    return shown;
}

// Whether an argument holds the text as it is: some characters mean something else there, those
// that separate name and value are passed over before it, and others cannot be listed.
bool standsInArgument(const std::string &text) {
    return text.find_first_of(",<>'\"") == std::string::npos &&
           text.find("${") == std::string::npos && text.find_first_of("= ") != 0 &&
           printable(text) == text;
}

// The names of applications, or of one application's registers, so far: equal ones hide behind the
// first.
using Names = std::set<std::string_view>;

// Whether a link leads to the register: the first "@" ends the application's name, and a ":" or "["
// the register's.
bool reaches(bool firstOfName, const Results *app, const RegisterRecord *reg) {
    return firstOfName && std::string_view(app->name).find('@') == std::string_view::npos &&
           std::string_view(reg->name).find_first_of(":[") == std::string_view::npos &&
           standsInArgument(std::string(app->name) + '@' + reg->name);
}

// JSON has no number for these: they are the texts that a report shows.
Json number(double value) {
    if (std::isfinite(value)) return value;
    if (std::isnan(value)) return "nan";
    return value > 0 ? "inf" : "-inf";
}

// The double that reads like the float: 11.9 instead of 11.899999618530273.
double shortest(float value) {
    char digits[32];
    const char *end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return toDouble({digits, static_cast<std::size_t>(end - digits)});
}

// Labels as a report shows them before any translation: a missing one is its number.
std::string selectionText(const RegisterRecord &reg) {
    const auto &selection = reg.as.selection;
    return selection.label != nullptr ? selection.label : std::to_string(selection.selValue);
}

std::string bitSetText(const RegisterRecord &reg) {
    std::string joined;
    std::uint32_t bits = reg.as.bitSet.bits;
    for (std::int32_t i = 0; i < reg.as.bitSet.labelCount && bits != 0; ++i, bits &= bits - 1) {
        const char *label = reg.as.bitSet.labels[i];
        if (i > 0) joined += ',';
        joined += label != nullptr ? label : std::to_string(std::countr_zero(bits));
    }
    return joined;
}

// The texts and values of one register.
class LinkList {
public:
    LinkList(const Results *app, const RegisterRecord *reg, bool firstOfName)
        : base_(std::string(app->name) + '@' + reg->name),
          reachable_(reaches(firstOfName, app, reg)),
          valid_(reg->valid != 0) {}

    void add(const std::string &suffix, const char *type, Json value) {
        links_.push_back({{"link", reachable_ ? Json(base_ + suffix) : Json()},
                          {"type", type},
                          {"value", valid_ ? std::move(value) : Json()}});
    }
    Json take() { return std::move(links_); }

private:
    std::string base_;
    bool reachable_;
    bool valid_;
    Json links_ = Json::array();
};

template <class Range>
void addRange(LinkList *links, const char *type, const Range &range) {
    links->add("", type, range.value);
    links->add(":min", type, range.min);
    links->add(":max", type, range.max);
}

void addArray(LinkList *links, const RegisterRecord &reg) {
    const auto *data = reinterpret_cast<const char *>(reg.as.array.data);
    links->add("", "string",
               data != nullptr ? std::string(data, strnlen(data, reg.as.array.length)) : "");
    if (data == nullptr) return;
    for (std::size_t i = 0; (i + 1) * sizeof(std::uint32_t) <= resultsArrayBytes(&reg); ++i) {
        std::uint32_t element = 0;
        std::memcpy(&element, data + i * sizeof element, sizeof element);
        links->add('[' + std::to_string(i) + ']', "UINT32", element);
    }
}

Json linksOf(const Results *app, const RegisterRecord &reg, bool firstOfName) {
    LinkList links(app, &reg, firstOfName);
    switch (reg.kind) {
        case VORN_REG_SELECTION:
            links.add("", "string", selectionText(reg));
            break;
        case VORN_REG_BITSET:
            links.add("", "string", bitSetText(reg));
            break;
        case VORN_REG_UINT32:
            addRange(&links, "UINT32", reg.as.u32);
            break;
        case VORN_REG_INT32:
            addRange(&links, "INT32", reg.as.i32);
            break;
        case VORN_REG_UINT64:
            addRange(&links, "UINT64", reg.as.u64);
            break;
        case VORN_REG_FLOAT:
            links.add("", "FLOAT", number(shortest(reg.as.f32.value)));
            break;
        case VORN_REG_DOUBLE:
            links.add("", "DOUBLE", number(reg.as.f64.value));
            break;
        case VORN_REG_COUNTER:
            links.add("", "UINT64", reg.as.counter.value);
            links.add(":rate", "DOUBLE", number(reg.as.counter.rate));
            links.add(":secs", "UINT32", reg.as.counter.secs);
            break;
        case VORN_REG_UINT32_SECS:
            links.add("", "UINT32", reg.as.u32Secs.value);
            links.add(":secs", "UINT32", reg.as.u32Secs.secs);
            break;
        case VORN_REG_ARRAY:
            addArray(&links, reg);
            break;
        default:
            break;
    }
    return links.take();
}

// A global variable names its application by the first letters, up to an "@": an earlier one may
// stand before it.
bool globalReaches(const Results *results, const Results *app) {
    const std::string_view name = app->name;
    for (; results != app; results = results->next)
        if (std::string_view(results->name).substr(0, name.size()) == name) return false;
    return name.find('@') == std::string_view::npos && standsInArgument(std::string(name) + '@');
}

Json timesOf(const Results *results, const Results *app) {
    const bool reachable = globalReaches(results, app);
    Json list = Json::array();
    for (const GlobalVariable &variable : globalVariables) {
        const std::string name(variable.name);
        list.push_back({{"name", name},
                        {"global", reachable ? Json(app->name + ('@' + name)) : Json()},
                        {"type", "UINT32"},
                        {"value", app->*variable.seconds}});
    }
    return list;
}

Json itemList(const Results *results) {
    Json apps = Json::array();
    Names appNames;
    for (const Results *app = results; app != nullptr; app = app->next) {
        Json registers = Json::array();
        Names registerNames;
        const bool firstApp = appNames.insert(app->name).second;
        for (std::int32_t i = 0; i < app->regCount; ++i) {
            const RegisterRecord &reg = app->regs[i];
            Json entry = {
                {"name", reg.name}, {"kind", kindNames[reg.kind]}, {"valid", reg.valid != 0}};
            if (reg.kind == VORN_REG_ARRAY) entry["length"] = reg.as.array.length;
            const bool firstRegister = registerNames.insert(reg.name).second;
            entry["links"] = linksOf(app, reg, firstApp && firstRegister);
            registers.push_back(std::move(entry));
        }
        apps.push_back({{"name", app->name},
                        {"status", app->status},
                        {"times", timesOf(results, app)},
                        {"registers", std::move(registers)}});
    }
    return {{"applications", std::move(apps)}};
}

// ---- for reading ----

std::string shownValue(const Json &value) {
    if (value.is_null()) return "----";
    return value.is_string() ? printable(value) : value.dump();
}

// A whole array is a text only if its maker stored one.
std::string shownArray(const Json &value) {
    const std::string shown = shownValue(value);
    return value.is_null() || (shown == value && !shown.empty()) ? shown : "(no text)";
}

void addLine(std::string *out, const std::string &argument, std::string_view kind,
             std::string_view conversion, const std::string &value) {
    char columns[256];
    std::snprintf(columns, sizeof columns, "  %-40s %-20.*s %-5.*s ", argument.c_str(),
                  static_cast<int>(kind.size()), kind.data(), static_cast<int>(conversion.size()),
                  conversion.data());
    *out += columns + value + '\n';
}

// The argument to write, or that there is none.
std::string shownArgument(const char *argument, const Json &text, const Json &name) {
    if (text.is_null())
        return printable("(no " + std::string(argument) + " reaches " + name.get<std::string>() +
                         ')');
    return printable(std::string(argument) + '=' + text.get<std::string>());
}

void addTimes(std::string *out, const Json &times) {
    for (const Json &time : times) {
        std::string shown = shownValue(time["value"]);
        const auto value = time["value"].get<std::uint32_t>();
        if (value != 0 && time["name"] != "%elapsed-time") shown += "  " + utcTime(value);
        addLine(out, shownArgument("global", time["global"], time["name"]), "time",
                formatOfType("UINT32"), shown);
    }
}

void addRegister(std::string *out, const Json &reg) {
    const Json &links = reg["links"];
    const std::size_t shown = links.size() > ELEMENTS_SHOWN + 2 ? ELEMENTS_SHOWN + 1 : links.size();
    for (std::size_t i = 0; i < shown; ++i) {
        const Json &link = links[i];
        const bool wholeArray = i == 0 && reg["kind"] == "array";
        addLine(out, shownArgument("link", link["link"], reg["name"]),
                reg["kind"].get<std::string>(), formatOfType(link["type"].get<std::string>()),
                wholeArray ? shownArray(link["value"]) : shownValue(link["value"]));
    }
    if (shown < links.size())
        addLine(out, "...", "", "", "up to index [" + std::to_string(links.size() - 2) + "]");
}

}  // namespace

std::string itemListJson(const Results *results) {
    return itemList(results).dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string itemListText(const Results *results) {
    const Json list = itemList(results);
    std::string out;
    for (const Json &app : list["applications"]) {
        out += "application " + printable(app["name"]) + ", status " + app["status"].dump() + '\n';
        addTimes(&out, app["times"]);
        for (const Json &reg : app["registers"]) addRegister(&out, reg);
    }
    return out;
}
