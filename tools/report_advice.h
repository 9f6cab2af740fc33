// SPDX-License-Identifier: MIT
// What an author does about a finding.
#pragma once

#include <string>
#include <string_view>

// The advice for a finding's message, as it stands in the program; empty when it says all itself.
std::string adviceFor(std::string_view message);
