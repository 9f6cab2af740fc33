// SPDX-License-Identifier: MIT
// What the numbers in the service's replies mean, in words for people.
#pragma once

#include <string>

// Of a result, param1 of a REPLY_RESULT; a report's own codes count when the request was one.
enum class ResultOf { REQUEST, REPORT };
std::string resultText(ResultOf kind, int code);

// Of a reply of type 0, which the server library sends in place of the service's own.
std::string libraryText(int code);
