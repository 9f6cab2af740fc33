// SPDX-License-Identifier: MIT
// Text reports as files, through the back-end that the template engine uses.
#include "output/text_output.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "output/dump_backend.h"
#include "support/log_capture.h"
#include "support/temp_dir.h"

namespace {

ItemValue stringValue(const char *text) {
    return {VORN_TYPE_STRING, const_cast<char *>(text), 0, 0};
}

ReportRow makeRow(const char *cstyle, std::initializer_list<ItemValue> values) {
    ReportRow row{};
    std::strncpy(row.cstyle, cstyle, sizeof row.cstyle - 1);
    for (const ItemValue &value : values) row.values[row.count++] = value;
    return row;
}

}  // namespace

TEST(TextOutput, WritesRowsAndBlankLinesAfterTheByteOrderMark) {
    std::uint32_t number = 12;
    const ItemValue value{VORN_TYPE_UINT32, &number, 0, 0};
    const ReportRow rows[] = {
        makeRow("%s = %d kB", {stringValue("r\u00E9x"), value}),
        makeRow("not written", {}),
        makeRow("", {}),
        makeRow("%8d|%-6s|%%", {ItemValue{}, stringValue("\u20AC")}),
    };
    const TempDir dir;
    FileGuard file(std::fopen(dir.path("report.txt").c_str(), "wt"));
    DumpBackend backend{};
    ASSERT_EQ(dumpInit(&backend, file.get(), RPT_FMT_TXT), DUMP_OK);
    const OutputStyle style{"Courier", 12};
    EXPECT_EQ(dumpOutputStyle(&backend, &style), DUMP_OK);
    TemplateSection section{"s", 1, 2, 1, -1};
    EXPECT_EQ(dumpSectionHeader(&backend, &section), DUMP_OK);
    for (const ReportRow &row : rows) EXPECT_EQ(dumpRow(&backend, &row), DUMP_OK);
    EXPECT_EQ(dumpSectionFooter(&backend, &section), DUMP_OK);
    section = {"s", 2, 5, 5, -1};  // enabled is exactly 1, or not at all
    EXPECT_EQ(dumpSectionHeader(&backend, &section), DUMP_OK);
    section = {"s", 1, -5, 0, -1};
    EXPECT_EQ(dumpSectionHeader(&backend, &section), DUMP_OK);
    EXPECT_EQ(dumpSectionFooter(&backend, &section), DUMP_OK);
    EXPECT_EQ(dumpFree(&backend), DUMP_OK);
    ASSERT_TRUE(closeWritten(&file));
    EXPECT_EQ(dir.read("report.txt"),
              "\uFEFF\r\n\r\nr\u00E9x = 12 kB\r\n\r\n\r\n    ----|\u20AC     |%\r\n\r\n");
}

TEST(TextOutput, RefusesRowsThatDoNotMatch) {
    const TempDir dir;
    FileGuard file(std::fopen(dir.path("report.txt").c_str(), "wt"));
    LogCapture log;
    const ReportRow tooFew = makeRow("%s%% %s", {stringValue("a")});
    const ReportRow tooMany = makeRow("%s%%", {stringValue("a"), stringValue("b")});
    EXPECT_EQ(dumpTextRow(file.get(), &tooFew), DUMP_ROW_MISMATCH);
    EXPECT_EQ(dumpTextRow(file.get(), &tooMany), DUMP_ROW_MISMATCH);
    const std::string line = "Error: number of values in row doesn't match 'cstyle' arguments.\n";
    EXPECT_EQ(log.text(), line + line);

    ASSERT_TRUE(closeWritten(&file));
    EXPECT_EQ(dir.read("report.txt"), "");
}

TEST(TextOutput, TellsEveryFailedWrite) {
    const FileGuard full(std::fopen("/dev/full", "wt"));
    std::setvbuf(full.get(), nullptr, _IONBF, 0);
    void *state = nullptr;
    const ReportRow row = makeRow("%s", {stringValue("a")});
    const TemplateSection section{"s", 1, 2000000000, 2000000000, -1};
    EXPECT_EQ(dumpTextInit(&state, full.get()), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextRow(full.get(), &row), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextSectionHeader(full.get(), &section), DUMP_WRITE_FAILED);
    EXPECT_EQ(dumpTextSectionFooter(full.get(), &section), DUMP_WRITE_FAILED);
}
