// SPDX-License-Identifier: MIT
// Which dictionary answers for a key, and what a resolver refuses.
#include "results/dict_resolver.h"

#include <string>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "core/options.h"
#include "storage/strings.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

class DictResolverTest : public testing::Test {
protected:
    DictResolverTest() { safe_strncpy(opt_dictdir, dir_.path().c_str(), sizeof opt_dictdir); }
    ~DictResolverTest() override { dictResolvFree(&resolver_); }

    std::string get(const char *key) { return dictResolvGet(&resolver_, key); }

    TempDir dir_;
    DictResolver resolver_{};
};

}  // namespace

TEST_F(DictResolverTest, SearchesNewestFirstInTheReportLanguageAndThenInTheDefaultOne) {
    dir_.write("A_fr.lxc", "[1]\nboth = A1\nlow = bas\n[1:5]\nsub = sous\n");
    dir_.write("A_en.lxc", "[1]\nboth = english\nonly = A in English\n");
    dir_.write("B_fr.lxc", "[2]\nboth = B2\n[4294967295]\nbig = grand\n");
    dir_.write("B_en.lxc", "[2]\nonly = B in English\n");
    dictResolvCreate(&resolver_, "A", "fr", "en");
    EXPECT_EQ(dictResolvPush(&resolver_, nullptr, 1, 0), 0);
    EXPECT_EQ(dictResolvPush(&resolver_, "B", 2, 0), 1);
    EXPECT_EQ(dictResolvPush(&resolver_, "", 1, 0), 2);  // there already, and keeps its place

    const LogCapture log(3);
    EXPECT_EQ(get("both"), "B2");
    EXPECT_EQ(get("low"), "bas");
    EXPECT_EQ(get("only"), "B in English");
    EXPECT_EQ(get("sub"), "sub");
    dictResolvPop(&resolver_, 7);  // changes nothing
    EXPECT_EQ(resolver_.depth, 2);
    dictResolvPop(&resolver_, 1);
    EXPECT_EQ(get("both"), "A1");
    EXPECT_EQ(get("only"), "A in English");
    EXPECT_EQ(dictResolvAddDict(&resolver_, "A", 1, 5), DICT_OK);
    EXPECT_EQ(get("sub"), "sous");
    dir_.write("B_fr.lxc", "no dictionary any more");  // B is open still
    EXPECT_EQ(dictResolvPush(&resolver_, "B", 4294967295u, 0), 2);
    EXPECT_EQ(get("big"), "grand");
    EXPECT_EQ(log.text(),
              "  Key 'both' found in B[2].\n"
              "  Key 'low' found in A[1].\n"
              "  Key 'only' found in B[2] (dflt).\n"
              "Warning: dictionary key 'sub' not found.\n"
              "  Key 'both' found in A[1].\n"
              "  Key 'only' found in A[1] (dflt).\n"
              "  Key 'sub' found in A[1].\n"
              "  Key 'big' found in B[-1].\n");
}

TEST_F(DictResolverTest, RefusesAFifthDictionaryAndAThirtyThirdEntryAndChangesNothing) {
    for (const char *name : {"A", "B", "C", "D", "E"})
        dir_.write(std::string(name) + "_eng.lxc", "[1]\nk = " + std::string(name) + "\n");
    dictResolvCreate(&resolver_, "A", "english", "english");  // cut, and equal
    for (std::uint32_t i = 0; i < 32; ++i)
        EXPECT_EQ(dictResolvAddDict(&resolver_, "A", 1, i), DICT_OK);
    EXPECT_EQ(dictResolvPush(&resolver_, "A", 1, 32), DICT_FULL);
    EXPECT_EQ(dictResolvPush(&resolver_, "A", 1, 31), 32);  // there already: no room needed
    EXPECT_EQ(dictResolvPush(&resolver_, "B", 1, 0), DICT_FULL);
    EXPECT_EQ(resolver_.numDicts, 1);
    dictResolvPop(&resolver_, 0);
    for (const char *name : {"B", "C", "D"})
        EXPECT_EQ(dictResolvAddDict(&resolver_, name, 1, 0), DICT_OK);
    EXPECT_EQ(dictResolvAddDict(&resolver_, "E", 1, 0), DICT_FULL);
    EXPECT_EQ(dictResolvAddDict(&resolver_, "A", 1, 0), DICT_OK);
    EXPECT_EQ(resolver_.numDicts, 4);
    EXPECT_EQ(resolver_.depth, 4);
    EXPECT_EQ(get("k"), "A");
}

TEST_F(DictResolverTest, TriesAFileThatCannotBeOpenedAgainAtTheNextRequest) {
    dir_.write("abcdefghijklmno_fr.lxc", "[1]\nk = texte\n");
    const char *name = "abcdefghijklmnopq";  // two more than are kept
    const LogCapture log;
    dictResolvCreate(&resolver_, "", "fr", "en");
    EXPECT_EQ(dictResolvPush(&resolver_, name, 1, 0), DICT_NOT_OPEN);
    EXPECT_EQ(log.text(), "Error opening dictionary '" + dir_.path("abcdefghijklmno_en.lxc") +
                              "': No such file or directory\n");
    dir_.write("abcdefghijklmno_en.lxc", "");
    EXPECT_EQ(dictResolvPush(&resolver_, name, 1, 0), 0);
    EXPECT_EQ(dictResolvPush(&resolver_, name, 1, 0), 1);
    EXPECT_EQ(resolver_.numDicts, 1);
    for (const auto &[resolver, text] : {std::pair{&resolver_, "texte"}, {nullptr, "k"}})
        EXPECT_STREQ(HeapGuard<char>(dictResolvGetCopy(resolver, "k")).get(), text);
}
