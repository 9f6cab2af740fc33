// SPDX-License-Identifier: MIT
// Conversions of values: results and who owns what; vorn-report's tests see what is refused. Leaks
// and double frees are the sanitizers' part.
#include "output/conversions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "output/case_value.h"
#include "output/report_records.h"
#include "results/dict_resolver.h"
#include "support/case_runner.h"
#include "support/log_capture.h"

namespace {

const char *convert(std::string_view name, const char *argument, DictResolver *dict,
                    ItemValue *value) {
    std::string_view none;
    return convertValue(findConversion(name, &none), argument, dict, value);
}

}  // namespace

TEST(Conversions, MakeStringsOfNumbers) {
    setenv("TZ", "CET-1", 1);
    runCases("output/cases/conversions.txt", 2, [](const CaseFields &row) -> CaseFields {
        const std::size_t blank = std::min(row[0].find(' '), row[0].size());
        const char *argument = row[0].c_str() + std::min(blank + 1, row[0].size());
        const CaseValue given(row[1]);
        ItemValue value = given.get();
        const LogCapture log;
        EXPECT_EQ(convert(row[0].substr(0, blank), argument, nullptr, &value), nullptr);
        EXPECT_EQ(log.text(), "");
        if (value.data == given.get().data) {
            EXPECT_EQ(std::memcmp(&value, &given.get(), sizeof value), 0);
            return {};
        }
        EXPECT_EQ(value.type, static_cast<std::uint32_t>(VORN_TYPE_STRING));
        EXPECT_EQ(value.flags, VORN_VALUE_OWNED);
        const std::string text(static_cast<char *>(value.data));
        releaseItemValue(&value);
        return {text};
    });
}

TEST(Conversions, KeepOwnedDataOnceAndReleaseItOnce) {
    LogCapture log(2);
    const float number = 2.5F;
    char *bytes = static_cast<char *>(std::malloc(5));
    std::memcpy(bytes, &number, sizeof number);
    bytes[4] = '\0';
    ItemValue array{VORN_TYPE_STRING, bytes, 8, VORN_VALUE_OWNED};
    EXPECT_STREQ(convert("arrayFloat", "", nullptr, &array),
                 "'arrayFloat' conversion is only supported for ARRAY8x4 types.");
    array.size = 4;
    EXPECT_EQ(convert("arrayFloat", "", nullptr, &array), nullptr);
    EXPECT_EQ(array.type, static_cast<std::uint32_t>(VORN_TYPE_FLOAT));
    EXPECT_EQ(array.data, bytes);

    // The float is owned, as a plug-in's value may be; a string replaces it and frees it.
    EXPECT_EQ(convert("units", "m=1", nullptr, &array), nullptr);
    EXPECT_STREQ(static_cast<char *>(array.data), "2.500 m");
    EXPECT_STREQ(convert("units", "m=1", nullptr, &array),  // it is a string now
                 "incompatible data type for 'units' conversion.");
    releaseItemValue(&array);

    // A dictionary that lacks the key shows the key itself.
    std::uint32_t word = 1;
    ItemValue bit{VORN_TYPE_UINT32, &word, 0, 0};
    DictResolver dict{};
    EXPECT_EQ(convert("bitmap", "1?up:down", &dict, &bit), nullptr);
    EXPECT_STREQ(static_cast<char *>(bit.data), "up");
    releaseItemValue(&bit);
    EXPECT_EQ(log.text(), "Warning: dictionary key 'up' not found.\n");
}
