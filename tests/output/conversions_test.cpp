// SPDX-License-Identifier: MIT
// Conversions of values: results and who owns what; vorn-report's tests see what is refused. Leaks
// and double frees are the sanitizers' part.
#include "output/conversions.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <variant>

#include <gtest/gtest.h>

#include "output/report_records.h"
#include "results/dict_resolver.h"
#include "support/log_capture.h"

namespace {

using Number = std::variant<std::uint32_t, std::int32_t, std::uint64_t, float, double>;

ItemValue valueOf(Number *number) {
    void *data = std::visit([](auto &any) { return static_cast<void *>(&any); }, *number);
    return {static_cast<std::uint32_t>(VORN_TYPE_UINT32 + number->index()), data, 0, 0};
}

constexpr std::uint32_t u32(std::uint32_t number) {
    return number;
}
const char *convert(const char *name, const char *argument, DictResolver *dict, ItemValue *value) {
    std::string_view none;
    return convertValue(findConversion(name, &none), argument, dict, value);
}

constexpr const char *UNITS = "B=1:%.0f;kB=1024;MB=1048576";

}  // namespace

TEST(Conversions, MakeStringsOfNumbers) {
    setenv("TZ", "CET-1", 1);
    struct Case {
        const char *name;
        const char *argument;
        Number number;
        const char *text;  // null: the value stays
    };
    const Case cases[] = {
        {"", "", u32(1), nullptr},
        {"dateTime", "", u32(0), "Thu Jan  1 01:00:00 1970"},
        {"dateTime", "", u32(4294967295), "Sun Feb  7 07:28:15 2106"},
        {"time", "", u32(86399), "23:59:59"},
        {"time", "", u32(86400), "1/00:00:00"},
        {"time", "", u32(4294967295), "49710/06:28:15"},
        {"mac-addr", "", std::uint64_t{0xFFFF001A2B3C4D5E}, "00:1A:2B:3C:4D:5E"},
        {"ipv4-addr", "", u32(3232235521), "192.168.0.1"},

        {"bitmap", "0x4?on:off", u32(6), "on"},
        {"bitmap", " 010?on:off:x", u32(7), "off:x"},
        {"bitmap", "-1?:off", u32(0x80000000), ""},
        {"bitmap", "0x100000001?on:off", u32(2), "on"},  // too large: all bits
        {"bitmap", "?on:off", u32(0xFFFFFFFF), "off"},
        {"bitmap", "1?on", u32(1), nullptr},

        {"units", UNITS, u32(1536), "2 kB"},
        {"units", UNITS, u32(1024), "1 kB"},
        {"units", UNITS, std::int32_t{-5000000}, "-5 MB"},
        {"units", UNITS, std::uint64_t{1} << 63, "8796093022208 MB"},
        {"units", UNITS, NAN, "nan MB"},
        {"units", "=1", 0.5F, "0.500"},
        {"units", "A=1;B=0x10:%.1f;C= +256.0e0 ;", u32(640), "2.5 C"},
        {"units", "a=1;b=2;c=4;d=8;e=16;f=32;g=64;h=128;i=256", u32(1024), "8.000 h"},
        {"units", "12345\u20AC7=1:%-19.1f######\u20AC", u32(1), "1.0                ###### 12345"},
        {"units", "x=1:%n%s%*d%%", u32(1), "1.000000%s%*d% x"},
        {"units", "x=1:%.0f\u20AC", 1e300, "1000000000000000052504760255204420248704468581108 x"},
        {"units", "x=1;y=1e-999", 1.5, "inf y"},
        {"units", "x=-2", 1.5, "-0.750 x"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.argument));
        LogCapture log;
        Number number = c.number;
        const ItemValue before = valueOf(&number);
        ItemValue value = before;
        EXPECT_EQ(convert(c.name, c.argument, nullptr, &value), nullptr);
        EXPECT_EQ(log.text(), "");
        if (c.text == nullptr) {
            EXPECT_EQ(std::memcmp(&value, &before, sizeof value), 0);
            continue;
        }
        ASSERT_EQ(value.type, static_cast<std::uint32_t>(VORN_TYPE_STRING));
        EXPECT_EQ(value.flags, VORN_VALUE_OWNED);
        EXPECT_STREQ(static_cast<char *>(value.data), c.text);
        releaseItemValue(&value);
    }
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

    ItemValue absent[] = {{}, {VORN_TYPE_UINT64, nullptr, 0, 0}};
    for (ItemValue &value : absent) EXPECT_EQ(convert("units", "m=1", nullptr, &value), nullptr);
    EXPECT_EQ(log.text(), "Warning: dictionary key 'up' not found.\n");
}
