// SPDX-License-Identifier: MIT
#include "support/case_runner.h"

#include <algorithm>
#include <fstream>
#include <string_view>

#include <gtest/gtest.h>

#include "support/build_paths.h"

namespace {

struct CaseRow {
    int line = 0;
    CaseFields fields;
};

std::string unescape(std::string_view text) {
    std::string plain;
    for (; !text.empty(); text.remove_prefix(1)) {
        if (text.front() != '\\' || text.size() == 1) {
            plain += text.front();
            continue;
        }
        text.remove_prefix(1);
        constexpr std::string_view letters = "nrts";
        const std::size_t letter = letters.find(text.front());
        if (letter != std::string_view::npos) {
            plain += "\n\r\t "[letter];
        } else if (text.front() == 'x') {
            plain += static_cast<char>(std::stoi(std::string(text.substr(1, 2)), nullptr, 16));
            text.remove_prefix(2);
        } else if (text.front() == '(') {
            const std::string_view repeat = text.substr(1, text.find(')') - 1);
            const std::size_t star = repeat.find('*');
            for (int n = std::stoi(std::string(repeat.substr(0, star))); n > 0; --n)
                plain += unescape(repeat.substr(star + 1));
            text.remove_prefix(repeat.size() + 1);
        } else {
            plain += text.front();
        }
    }
    return plain;
}

CaseFields splitRow(std::string_view line) {
    constexpr std::string_view separator = " | ";
    CaseFields fields;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = line.find(separator);
        const std::string_view field = line.substr(0, end);
        fields.push_back(unescape(field.substr(0, field.find_last_not_of(' ') + 1)));
        if (end != std::string_view::npos) line.remove_prefix(end + separator.size());
    }
    return fields;
}

std::vector<CaseRow> readRows(const std::string &path) {
    std::vector<CaseRow> rows;
    std::ifstream file(path);
    bool inBlock = false;
    int number = 0;
    std::string emptyLines;  // of a block, until it is known that it goes on
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with("==")) {
            rows.push_back({number, {""}});
            inBlock = true;
            emptyLines.clear();
        } else if (inBlock && line == "--") {
            rows.back().fields.emplace_back();
            emptyLines.clear();
        } else if (inBlock && line.empty()) {
            emptyLines += '\n';
        } else if (inBlock) {
            rows.back().fields.back() += emptyLines + unescape(line) + '\n';
            emptyLines.clear();
        } else if (!line.empty() && line.front() != '#') {
            rows.push_back({number, splitRow(line)});
        }
    }
    return rows;
}

}  // namespace

void runCases(const std::string &file, std::size_t inputs,
              const std::function<CaseFields(const CaseFields &)> &run) {
    const std::string path = sourceDir() + "/tests/" + file;
    const std::vector<CaseRow> rows = readRows(path);
    EXPECT_FALSE(rows.empty()) << path;
    for (const CaseRow &row : rows) {
        const testing::ScopedTrace place(path.c_str(), row.line, "this row");
        CaseFields given = row.fields;
        given.resize(inputs);
        CaseFields expected(
            row.fields.begin() + static_cast<std::ptrdiff_t>(std::min(inputs, row.fields.size())),
            row.fields.end());
        const CaseFields actual = run(given);
        expected.resize(std::max(expected.size(), actual.size()));
        EXPECT_EQ(actual, expected);
    }
}

std::string replaced(std::string text, const std::string &what, const std::string &with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}
