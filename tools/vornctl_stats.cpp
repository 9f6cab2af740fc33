// SPDX-License-Identifier: MIT
#include "vornctl_stats.h"

#include <ctime>

#include "utc_time.h"

namespace {

using Json = nlohmann::ordered_json;

// Groups whose every member is a counter of one metric, told apart by a label.
struct Counters {
    const char *group;
    const char *help;
};
constexpr Counters counters[] = {
    {"saves", "Results files, by what became of them."},
    {"reports", "Reports, by what became of them."},
    {"events", "Events of the instrument."},
};

// One metric with a sample a row: labels in braces, if any, and the value.
class Exposition {
public:
    void metric(const std::string &name, const char *type, const std::string &help) {
        name_ = "vorn_" + name;
        text_ += "# HELP " + name_ + " " + help + "\n# TYPE " + name_ + " " + type + "\n";
    }
    void sample(const Json &value, const std::string &labels = "") {
        text_ += name_ + (labels.empty() ? "" : "{" + labels + "}") + " " + value.dump() + "\n";
    }
    [[nodiscard]] const std::string &text() const { return text_; }

private:
    std::string name_;
    std::string text_;
};

// A label with its value; JSON escapes what the format wants escaped, and bytes that are no UTF-8
// are gone already.
std::string label(const char *name, const Json &value) {
    return std::string(name) + "=" + value.dump();
}

}  // namespace

std::string statsText(const Json &stats) {
    std::string text = "vorn " + stats.at("version").get<std::string>() + ", running since " +
                       utcTime(stats.at("start").get<std::time_t>()) + "\n";
    for (const char *group : {"saves", "reports", "events", "queue"}) {
        text += group + std::string(":");
        const char *before = " ";
        for (const auto &[key, value] : stats.at(group).items()) {
            text += before + key + " " + value.dump();
            before = ", ";
        }
        text += "\n";
    }
    for (const Json &quota : stats.at("quotas"))
        text += "quota " + quota.at("name").dump() + ": " + quota.at("files").dump() + " of " +
                quota.at("max").dump() + ", " + quota.at("action").get<std::string>() + "\n";
    const Json &error = stats.at("last_error");
    const auto time = error.at("time").get<std::time_t>();
    return text + "last error: " +
           (time == 0 ? "none" : utcTime(time) + ", " + error.at("text").get<std::string>()) + "\n";
}

std::string statsPrometheus(const Json &stats) {
    Exposition out;
    out.metric("info", "gauge", "Always 1; the label tells the version.");
    out.sample(1, label("version", stats.at("version")));
    out.metric("start_time_seconds", "gauge", "When the service started.");
    out.sample(stats.at("start"));
    for (const Counters &row : counters) {
        out.metric(std::string(row.group) + "_total", "counter", row.help);
        for (const auto &[key, value] : stats.at(row.group).items())
            out.sample(value, label("result", key));
    }
    out.metric("commands_waiting_highest", "gauge", "Most commands that waited at once.");
    out.sample(stats.at("queue").at("highest"));
    out.metric("quota_files", "gauge", "Files that a quota counts.");
    for (const Json &quota : stats.at("quotas"))
        out.sample(quota.at("files"), label("quota", quota.at("name")));
    out.metric("quota_max_files", "gauge", "Most files that a quota allows.");
    for (const Json &quota : stats.at("quotas"))
        out.sample(quota.at("max"),
                   label("quota", quota.at("name")) + "," + label("action", quota.at("action")));
    out.metric("last_error_time_seconds", "gauge", "When the log last told an error; 0: never.");
    out.sample(stats.at("last_error").at("time"));
    return out.text();
}
