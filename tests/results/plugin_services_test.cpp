// SPDX-License-Identifier: MIT
// The functions that plug-ins call.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "results/dict_resolver.h"
#include "results/results.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"
#include "vorn/plugin.h"

TEST(PluginServices, ReadResultsParametersAndTexts) {
    const TempDir dir;
    const LogCapture log(2);
    Results *results = nullptr;
    ASSERT_EQ(
        loadResultsFile(dir.write("a.res", "okra 1\napp ifstats\nreg counter rxBytes\n").c_str(),
                        &results),
        RESULTS_OK);
    std::int32_t field = 0;
    std::string item = "ifstats@rxBytes:rate";
    EXPECT_EQ(vorn_get_result_item(item.data(), results, &field), &results->regs[0]);
    EXPECT_EQ(field, VORN_FIELD_RATE);
    freeResults(results);

    TemplateParam last = {"gain", "2", nullptr};
    TemplateParam first = {"gain", "1", &last};
    TemplateParam list = {"Gain", "0", &first};
    EXPECT_EQ(vorn_get_param_value(&list, "gain"), first.value);
    EXPECT_EQ(vorn_get_param_value(&list, "gai"), nullptr);
    EXPECT_EQ(vorn_get_param_value(nullptr, "gain"), nullptr);

    char *text = vorn_copy_dict_value(nullptr, "link.up");
    EXPECT_STREQ(text, "link.up");
    std::free(text);
    EXPECT_EQ(log.text(), "Warning: dictionary key 'link.up' not found.\n");
}
