// SPDX-License-Identifier: MIT
// What a service answers to the control socket's word `stats`, for people and for a monitor.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

// A line a group of numbers. Throws a nlohmann::json::exception for an answer that lacks some.
std::string statsText(const nlohmann::ordered_json &stats);

// The text format of Prometheus, as node_exporter's folder of text files takes it. Throws alike.
std::string statsPrometheus(const nlohmann::ordered_json &stats);
