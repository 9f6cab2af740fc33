// SPDX-License-Identifier: MIT
// Where programs of one machine meet, behind the root of base/root_path.h.
#pragma once

constexpr char RUN_FOLDER[] = "/run/tarix";
constexpr char CONTROL_SOCKET[] = "/run/tarix/vorn.ctl";
constexpr char REGISTRY_FOLDER[] = "/run/tarix/kelp";
constexpr char MANAGER_FOLDER[] = "/run/tarix/okra";
