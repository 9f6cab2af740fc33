// SPDX-License-Identifier: MIT
// Blank lines and failing writes of text reports; rows are seen in whole reports.
#include "output/text_output.h"

#include <gtest/gtest.h>

#include "base/guards.h"
#include "output/dump_backend.h"
#include "support/temp_dir.h"

TEST(TextOutput, AddsTheBlankLinesOfEnabledSections) {
    const TempDir dir;
    FileGuard file(std::fopen(dir.path("report.txt").c_str(), "wt"));
    // Enabled is exactly 1, or not at all.
    for (const TemplateSection &section : {TemplateSection{"s", 1, 2, 1, -1},
                                           {"s", 2, 5, 5, -1},
                                           {"s", 0, 5, 5, -1},
                                           {"s", 1, -5, 0, -1}}) {
        EXPECT_EQ(dumpTextSectionHeader(file.get(), &section), DUMP_OK);
        std::fputs("-", file.get());
        EXPECT_EQ(dumpTextSectionFooter(file.get(), &section), DUMP_OK);
    }
    ASSERT_TRUE(closeWritten(&file));
    EXPECT_EQ(dir.read("report.txt"), "\r\n\r\n-\r\n---");
}

TEST(TextOutput, TellsEveryFailedWrite) {
    const FileGuard full(std::fopen("/dev/full", "wt"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    void *state = nullptr;
    const ReportRow row{};
    const TemplateSection section{"s", 1, 2000000000, 2000000000, -1};
    EXPECT_EQ(dumpTextInit(&state, full.get()), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextRow(full.get(), &row), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextSectionHeader(full.get(), &section), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextSectionFooter(full.get(), &section), DUMP_WRITE_FAILED);
}
