// SPDX-License-Identifier: MIT
// Tests that are text in and text out, as rows of a file tests/FOLDER/cases/NAME.txt:
//
//   # a comment; empty lines are skipped too
//   input | another | expected        blanks in front of " | " do not count, those behind it do
//
// Rows of many lines are blocks. Each line of a field ends in a line end; empty lines in front of
// the next block do not count.
//
//   == what the block shows
//   lines of the input
//   --
//   lines that are expected
//
// \n \r \t \\ \s (a blank) and \xHH stand for a byte, \(63*text) for a text 63 times.
#pragma once

#include <functional>
#include <string>
#include <vector>

using CaseFields = std::vector<std::string>;

// Hands the first `inputs` fields of each row to `run` and compares what it returns with the fields
// behind them, of which those that a row leaves out are empty. A row that fails is named by file
// and line.
//   file  under tests/, as "output/cases/c_format.txt"
void runCases(const std::string &file, std::size_t inputs,
              const std::function<CaseFields(const CaseFields &)> &run);

// A text with another one in the place of each that it holds.
std::string replaced(std::string text, const std::string &what, const std::string &with);
