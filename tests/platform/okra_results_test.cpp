// SPDX-License-Identifier: MIT
// Results files as the library hands them to the service; where values stand in its records is
// compared in the results tests, whose loader has positions of its own.
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "okra/okra.h"
#include "support/temp_dir.h"

namespace {

template <class T>
T at(const void *record, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const char *>(record) + offset, sizeof value);
    return value;
}

// What the callbacks were given, a line each.
struct Seen {
    std::vector<std::string> lines;
    int elements;  // of the last register, when it is an array
};

// The labels of the first values, "-" for none.
std::string labelsOf(const void *app, std::uint16_t id) {
    const void *info = APX_Get_Reg_Info(static_cast<const char *>(app) + 56, id);
    std::string labels;
    for (std::uint32_t value = 0; value < 4; ++value) {
        const char *record = APX_Get_Sel_Label(info, value);
        labels += std::string(record == nullptr ? "-" : record + 1) + ",";
    }
    return labels;
}

int seeApp(const void *app, void *user) {
    std::ostringstream line;
    line << static_cast<const char *>(app) + 12;
    for (const std::size_t offset : {32, 36, 40, 44, 48})
        line << " " << at<std::uint32_t>(app, offset);
    line << " regs=" << at<std::int32_t>(app, 52);
    static_cast<Seen *>(user)->lines.push_back(line.str());
    return 1;  // carries no meaning
}

int seeReg(const void *app, const void *value, std::uint8_t type, std::uint16_t id,
           const char *name, void *user) {
    auto *seen = static_cast<Seen *>(user);
    std::ostringstream line;
    line << "  " << id << " " << int{type} << " " << name
         << " flags=" << at<std::uint16_t>(value, 0) << " " << labelsOf(app, id);
    seen->lines.push_back(line.str());
    seen->elements = at<std::uint16_t>(value, 8);
    return 1;
}

// Loads a file of this content; its error text, or "".
std::string load(const std::string &content, Seen *seen) {
    const TempDir dir;
    const int code =
        APX_Load_Results_File(dir.write("a.res", content).c_str(), seeApp, seeReg, seen);
    return code == 0 ? "" : APX_Error(code);
}

const std::string HEAD = "okra 1\napp ifstats\n";

}  // namespace

TEST(OkraResultsFile, NamesLineAndReasonOfTheFirstBrokenRule) {
    const std::string longName(64, 'n');
    const std::pair<std::string, const char *> files[] = {
        {"", "line 1: the first line is not 'okra 1'"},
        {"okra 1 x\n", "line 1: the first line is not 'okra 1'"},
        {"okra 1\nreg u8 x\n", "line 2: 'reg' before any 'app'"},
        {"okra 1\n\nfoo x\n", "line 3: unknown record 'foo'"},
        {"okra 1\napp\n", "line 2: an application without a name"},
        {"okra 1\napp x size=1\n", "line 2: unknown attribute 'size'"},
        {"okra 1\napp x status=256\n", "line 2: '256' of attribute 'status' is out of range"},
        {"okra 1\napp x start=-1\n", "line 2: '-1' of attribute 'start' is no number"},
        {"okra 1\napp x start\n", "line 2: attribute 'start' without a value"},
        {"okra 1\napp x start=1 stop=2 start=1\n", "line 2: attribute 'start' twice"},
        {HEAD + "reg u8 " + longName.substr(1) + "\nreg u8 " + longName + "\n",
         "line 4: the name of a register has more than 63 bytes"},
    };
    const std::pair<const char *, std::string> registers[] = {
        {"", "a register without a type"},
        {"u9 x", "unknown register type 'u9'"},
        {"u8", "a register without a name"},
        {"u8 \"x", "a quote that is not closed"},
        {"u8 \"x\\", "a backslash before something else than a quote or a backslash"},
        {"u8 \"x\"y", "no blank after a closing quote"},
        {"u8 x\"y\"", "a quote inside a word"},
        {"u8 x labels=a", "unknown attribute 'labels'"},
        {"u8 x invalid=1", "attribute 'invalid' takes no value"},
        {"u8 x value=", "'' of attribute 'value' is no number"},
        {"i8 x value=-129", "'-129' of attribute 'value' is out of range"},
        {"u64 x value=18446744073709551616",
         "'18446744073709551616' of attribute 'value' is out of range"},
        {"f32 x value=1e39", "'1e39' of attribute 'value' is out of range"},
        {"f64 x value=1,5", "'1,5' of attribute 'value' is no number"},
        {"a8 x data=1,256", "'256' of attribute 'data' is out of range"},
        {"a8 x data=1,,2", "'' of attribute 'data' is no number"},
        {"u8 x\xC0\x80", "not UTF-8 text"},
    };
    Seen seen{};
    for (const auto &[content, error] : files) EXPECT_EQ(load(content, &seen), error) << content;
    for (const auto &[words, error] : registers)
        EXPECT_EQ(load(HEAD + "reg " + words, &seen), "line 3: " + error);
}

TEST(OkraResultsFile, BoundsArraysAndLinesAndCountsRegistersAcrossThePiecesItReads) {
    std::string elements = "0xFFFFFFFF";
    for (int i = 1; i < 65535; ++i) elements += ",4294967295";
    Seen seen{};
    EXPECT_EQ(load(HEAD + "reg a32 x data=" + elements, &seen), "");
    EXPECT_EQ(seen.elements, 65535);
    EXPECT_EQ(load(HEAD + "reg a32 x data=" + elements + ",1", &seen),
              "line 3: more than 65535 elements in attribute 'data'");
    EXPECT_EQ(load(HEAD + "#" + std::string(1100000, '#'), &seen),
              "line 3: longer than 1048576 bytes");

    std::string many = "okra 1\n";
    for (int app = 1; app <= 20; ++app) {
        many += "app a\n";
        for (int reg = 0; reg < app * 50; ++reg) many += "reg u32 aRegister value=123456\n";
    }
    seen = {};
    ASSERT_EQ(load(many, &seen), "");
    for (std::size_t app = 1, line = 0; app <= 20; line += 1 + app++ * 50)
        EXPECT_EQ(seen.lines.at(line), "a 0 0 0 0 0 regs=" + std::to_string(app * 50));

    std::string most = HEAD;
    for (int reg = 0; reg < 65536; ++reg) most += "reg u8 x\n";
    EXPECT_EQ(load(most, &seen), "");
    EXPECT_EQ(load(most + "reg u8 x", &seen),
              "line 65539: more than 65536 registers in an application");
}
