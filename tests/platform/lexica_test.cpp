// SPDX-License-Identifier: MIT
// Dictionary files: what they may hold, what they must not, and how entries are found.
#include "lexica/lexica.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "support/case_runner.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

TEST(Lexica, FindsEntriesByGroupSubgroupAndKeyOrNamesThePlaceOfAFault) {
    const TempDir dir;
    runCases("platform/cases/lexica.txt", 2, [&](const CaseFields &row) -> CaseFields {
        const std::string path = dir.write("a.lxc", row[0]);
        std::uint32_t group = 0;
        std::uint32_t subgroup = 0;
        int start = 0;
        std::sscanf(row[1].c_str(), "%u %u%n", &group, &subgroup, &start);
        const char *key = row[1].c_str() + start + 1;
        const LogCapture log;
        LexicaDict dict;
        const bool opened = lexica_open(&dict, path.c_str()) == 0;
        const std::uint32_t wanted = group;
        const bool found = lexica_locate_entry(&dict, &group, subgroup, key) == 0;
        EXPECT_EQ(group, wanted);
        const std::string text = found ? lexica_get_value(&dict) : "(none)";
        if (opened) lexica_close(&dict);
        group = wanted;
        EXPECT_NE(lexica_locate_entry(&dict, &group, subgroup, key), 0);  // nothing is open
        lexica_close(&dict);                                              // nor need it be
        const std::string place = "Error in [" + path;
        EXPECT_EQ(log.text().starts_with(place), !opened);
        return {text, opened ? log.text() : log.text().substr(place.size())};
    });
    const LogCapture log;
    LexicaDict dict;
    EXPECT_LT(lexica_open(&dict, dir.path().c_str()), 0);
    EXPECT_EQ(log.text(), "Error opening dictionary '" + dir.path() + "': Is a directory\n");
}
