// SPDX-License-Identifier: MIT
#include "listener/result_names.h"

#include <string>

#include <gtest/gtest.h>

#include "core/options.h"
#include "output/dump_backend.h"
#include "storage/strings.h"

namespace {

TEST(ResultNames, FollowTheOptions) {
    const std::string longest(31, 'r');
    const struct {
        std::int32_t format, sequence;
        std::string reference, base, file;
    } cases[] = {
        {0, 7, "run", "2023-11-14-221320", "2023-11-14-221320"},
        {1, 7, longest, longest + "00007", longest + "00007"},
        {1, 8, "a/b", "a/b00008", "a_b00008"},
        {1, INT32_MIN, "", "-2147483648", "-2147483648"},
        {2, 7, "run", "report", "report"},
    };
    Subscription subscription{};
    copyPiece(subscription.resultsDir, "/d");
    copyPiece(opt_rptdir, "/r");
    for (const auto &c : cases) {
        char base[BASE_NAME_SIZE];
        char path[RESULT_PATH_SIZE];
        makeBaseName(base, c.format, 1700000000, c.reference.c_str(), c.sequence);
        EXPECT_EQ(base, c.base);
        EXPECT_TRUE(makeResultsPath(path, &subscription, base));
        EXPECT_EQ(path, "/d/" + c.file + ".res");
        makeReportPath(path, ("/d/" + c.file + ".res_1.res").c_str(), RPT_FMT_PDF);
        EXPECT_EQ(path, "/r/" + c.file + ".pdf");
    }
}

}  // namespace
