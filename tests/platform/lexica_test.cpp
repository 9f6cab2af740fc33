// SPDX-License-Identifier: MIT
// Dictionary files: what they may hold, what they must not, and how entries are found.
#include "lexica/lexica.h"

#include <string>

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

// The text of a key, "(none)" without one.
std::string look(LexicaDict *dict, std::uint32_t group, std::uint32_t subgroup, const char *key) {
    std::uint32_t word = group;
    if (lexica_locate_entry(dict, &word, subgroup, key) != 0) return "(none)";
    EXPECT_EQ(word, group);
    return lexica_get_value(dict);
}

}  // namespace

TEST(Lexica, FindsEveryEntryByGroupSubgroupAndKey) {
    const TempDir dir;
    const std::string path =
        dir.write("a.lxc",
                  "\xEF\xBB\xBF# a comment\r\n\n[0x10]\r\n  rx frames\t=  Empfangene Rahmen \t\r\n"
                  "\" led \" = \" text = \\\"\nempty =\nequation = a = \"b\"\n\"a = b\" = both\n"
                  "  # another comment\ninches = 5\" tube\n[ 010 : 3 ]\nrx frames = subgroup\n"
                  "[4294967295:4294967295]\n\"#\" = hash\n\"[1]\" = bracket\n"
                  "[16]\nrx frames = a second one\nlate = \xE2\x82\xAC");
    struct Case {
        std::uint32_t group, subgroup;
        const char *key, *text;
    };
    const Case cases[] = {
        {16, 0, "rx frames", "Empfangene Rahmen"},
        {16, 0, " led ", " text = \\"},
        {16, 0, "led", "(none)"},
        {16, 0, "empty", ""},
        {16, 0, "equation", "a = \"b\""},
        {16, 0, "a = b", "both"},
        {16, 0, "inches", "5\" tube"},
        {8, 3, "rx frames", "subgroup"},
        {8, 0, "rx frames", "(none)"},
        {4294967295u, 4294967295u, "#", "hash"},
        {4294967295u, 4294967295u, "[1]", "bracket"},
        {16, 0, "late", "\xE2\x82\xAC"},  // the same group, begun again
        {16, 1, "late", "(none)"},
        {16, 0, "", "(none)"},
    };
    const LogCapture log;
    LexicaDict dict;
    ASSERT_EQ(lexica_open(&dict, path.c_str()), 0) << log.text();
    EXPECT_STREQ(lexica_get_value(&dict), "");
    for (const Case &c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(look(&dict, c.group, c.subgroup, c.key), c.text);
    }
    lexica_close(&dict);
    EXPECT_EQ(look(&dict, 16, 0, "late"), "(none)");
    lexica_close(&dict);  // nothing is open: nothing happens
    EXPECT_EQ(log.text(), "");
}

TEST(Lexica, RefusesAFileThatBreaksARuleAndNamesThePlace) {
    const std::pair<std::string, const char *> cases[] = {
        {"[1]\na = b\nabc\n", ":3]: there is no '='."},
        {"a = b\n", ":1]: the entry stands before the first group."},
        {"[1]\n = b\n", ":2]: the key is empty."},
        {"[1]\n\"a = b\n", ":2]: a quote is not closed."},
        {"[1]\na = \"\n", ":2]: a quote is not closed."},
        {"[1]\na = \"b\" c\n", ":2]: something follows a closing quote."},
        {"[1] # one\n", ":1]: nothing but a ']' may end a group's line."},
        {"[4294967296]\n", ":1]: the group is no number from 0 to 4294967295."},
        {"[1:]\n", ":1]: the subgroup is no number from 0 to 4294967295."},
        {"[1]\na = \xFF\n", ":2]: the line is no UTF-8 text."},
    };
    const TempDir dir;
    for (const auto &[content, message] : cases) {
        SCOPED_TRACE(content);
        const std::string path = dir.write("a.lxc", content);
        const LogCapture log;
        LexicaDict dict;
        EXPECT_LT(lexica_open(&dict, path.c_str()), 0);
        EXPECT_EQ(log.text(), "Error in [" + path + message + "\n");
        EXPECT_EQ(look(&dict, 1, 0, "a"), "(none)");
    }
    const LogCapture log;
    LexicaDict dict;
    EXPECT_LT(lexica_open(&dict, dir.path().c_str()), 0);
    EXPECT_LT(lexica_open(&dict, dir.path("none").c_str()), 0);
    EXPECT_EQ(log.text(), "Error opening dictionary '" + dir.path() + "': Is a directory\n" +
                              "Error opening dictionary '" + dir.path("none") +
                              "': No such file or directory\n");
}
