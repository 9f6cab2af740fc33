// SPDX-License-Identifier: MIT
// Cutting and rewriting formats, and what prints when a conversion does not fit its value. Formats
// that fit are compared with the C library in c_format_random_test.cpp.
#include "output/c_format.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/case_value.h"
#include "output/text_output.h"
#include "support/case_runner.h"

TEST(CFormat, IsCutIntoOnePieceAConversion) {
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"", {}},
        {"100%% text", {}},
        {"%s = %d kB", {"%s = ", "%d kB"}},
        {"100%% %d", {"100%% %d"}},
        {"%d%", {"%d", "%"}},
        {"%5%d", {"%5", "%d"}},
    };
    for (const auto &[format, pieces] : cases) {
        SCOPED_TRACE(format);
        ASSERT_EQ(countCFormatFields(format), static_cast<std::int32_t>(pieces.size()));
        const char *cursor = format;
        for (const std::string &piece : pieces) {
            char out[64];
            cursor = getNextCFormat(out, sizeof out, cursor);
            EXPECT_EQ(out, piece);
        }
        EXPECT_STREQ(cursor, pieces.empty() ? format : "");
    }
    char out[] = "xxxxxxx";
    EXPECT_STREQ(getNextCFormat(out, 4, "ab %d and %d"), "%d");  // the cursor is not cut
    EXPECT_EQ(std::string(out, 7), std::string("ab \0xxx", 7));
}

TEST(CFormat, GetsOtherLettersInEachConversion) {
    const struct {
        const char *format, *newType, *changed;
        std::size_t size;
    } cases[] = {
        {"%-10.3lf|%%*", "s", "%-10.3s|%%*", 64},
        {"%%%d", "s", "%%%d", 64},  // a run of % is copied whole
        {"%d %08llu%%", "s", "%s %08s%%", 64},
        {"%5y", "s", "%5ys", 64},
        {"%", "s", "%s", 64},
        {"ab%08d", "ls", "ab%08l", 7},
        {"%d tail", "s", "", 1},
    };
    for (const auto &c : cases) {
        char out[64];
        EXPECT_EQ(changeCFormatDataType(out, c.size, c.format, c.newType), std::strlen(c.changed));
        EXPECT_STREQ(out, c.changed);
    }
}

TEST(CFormat, PrintsAValueByItsTypeWhateverTheConversion) {
    runCases("output/cases/c_format.txt", 2, [](const CaseFields &row) -> CaseFields {
        const CaseValue value(row[1]);
        // Of exact size, so that a sanitizer sees a byte too many.
        std::string wide(CFORMAT_MAX_BYTES * VALUE_TEXT_SIZE, '\xAA');
        std::string bytes(VALUE_TEXT_SIZE, '\xAA');
        dumpTextWFormatVal(wide.data(), VALUE_TEXT_SIZE, row[0].c_str(), &value.get());
        dumpTextFormatVal(bytes.data(), VALUE_TEXT_SIZE, row[0].c_str(), &value.get());
        wide.resize(std::strlen(wide.c_str()));
        bytes.resize(std::strlen(bytes.c_str()));
        return {wide, bytes == wide ? "" : bytes};
    });
}
