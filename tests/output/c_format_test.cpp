// SPDX-License-Identifier: MIT
// Cutting and rewriting formats, and what prints when a conversion does not fit its value. Formats
// that fit are compared with the C library in c_format_random_test.cpp.
#include "output/c_format.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/text_output.h"

TEST(CFormat, CutsAFormatIntoOnePieceAConversion) {
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"", {}},
        {"100%% text", {}},
        {"%s = %d kB", {"%s = ", "%d kB"}},
        {"100%% %d", {"100%% %d"}},
        {"%d%", {"%d", "%"}},  // a lone % counts
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

TEST(CFormat, ChangesTheLettersOfEachConversion) {
    struct Case {
        const char *format, *newType, *changed;
        std::size_t size;
    };
    const Case cases[] = {
        {"%-10.3lf|%%*", "s", "%-10.3s|%%*", 64},
        {"%%%d", "s", "%%%d", 64},  // a run of % is copied whole
        {"%d %08llu%%", "s", "%s %08s%%", 64},
        {"%", "s", "%s", 64},
        {"%5y", "s", "%5ys", 64},
        {"ab%08d", "ls", "ab%08l", 7},
        {"%d tail", "s", "", 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.format);
        char out[64];
        EXPECT_EQ(changeCFormatDataType(out, c.size, c.format, c.newType), std::strlen(c.changed));
        EXPECT_STREQ(out, c.changed);
    }
}

namespace {

// One of each type, with values whose bits read differently as another.
struct Values {
    char text[8] = "\u00E9t\u00E9!";
    std::uint32_t u32 = 0xFFFFFFFE;
    std::int32_t i32 = -2;
    std::uint64_t u64 = 0xFFFFFFFFFFFFFFFE;
    float f32 = 2.5F;
    double f64 = -1234.5678;

    ItemValue of(std::uint32_t type) {
        void *data[] = {nullptr, text, &u32, &i32, &u64, &f32, &f64, text};
        return {type, data[type], 0, 0};
    }
};

std::string print(const char *format, const ItemValue &value, bool wide) {
    // Of exact size, so that a sanitizer sees a byte too many.
    std::string out((wide ? CFORMAT_MAX_BYTES : 1) * VALUE_TEXT_SIZE, '\xAA');
    (wide ? dumpTextWFormatVal : dumpTextFormatVal)(out.data(), VALUE_TEXT_SIZE, format, &value);
    return out.c_str();
}

}  // namespace

TEST(CFormat, PrintsAValueByItsTypeWhenTheConversionDoesNotFit) {
    struct Case {
        std::uint32_t type;
        const char *format, *text;
    };
    const Case cases[] = {
        // Modifiers of the machine's size fit both sizes.
        {VORN_TYPE_UINT32, "%lu", "4294967294"},
        {VORN_TYPE_UINT64, "%lu", "18446744073709551614"},
        {VORN_TYPE_INT32, "%li", "-2"},
        // Of another size: the value whole, in the base asked for.
        {VORN_TYPE_UINT32, "%lld", "4294967294"},
        {VORN_TYPE_INT32, "%llu", "-2"},
        {VORN_TYPE_UINT64, "%d", "18446744073709551614"},
        {VORN_TYPE_UINT64, "%#X", "0XFFFFFFFFFFFFFFFE"},
        // Cut to the size that the modifier names, as the C library does.
        {VORN_TYPE_UINT32, "%hhu|", "254|"},
        {VORN_TYPE_UINT32, "%hd|%hd", "-2|%hd"},
        {VORN_TYPE_UINT64, "%#hx", "0xfffe"},
        // No integer conversion: decimal, without a precision that meant something else.
        {VORN_TYPE_UINT32, "%-12.2s|", "4294967294  |"},
        {VORN_TYPE_UINT32, "%012.3f", "004294967294"},
        {VORN_TYPE_INT32, "%n%%", "-2%"},
        {VORN_TYPE_INT32, "%", "-2"},
        {VORN_TYPE_INT32, "<%5; >", "<   -2; >"},
        {VORN_TYPE_INT32, "%-*.*d|", "-2|"},
        {VORN_TYPE_INT32, "%1$*2$d|", "-2|"},
        {VORN_TYPE_INT32, "%99999999999999999999d", "-2"},
        // Floating numbers.
        {VORN_TYPE_DOUBLE, "%d", "-1234.567800"},
        {VORN_TYPE_DOUBLE, "%10.1s|", "   -1234.6|"},
        {VORN_TYPE_FLOAT, "%.4096f", "2.500000"},
        // A string is a string, a type that nobody knows nothing.
        {VORN_TYPE_STRING, "%n|", "\u00E9t\u00E9!|"},
        {VORN_TYPE_STRING, "%.99999s|", "\u00E9t\u00E9!|"},
        {VORN_TYPE_NONE, "%-6.2f|", "--    |"},
        {VORN_TYPE_NONE, "%08n|", "    ----|"},
        {VORN_TYPE_NONE, "%dcm", "----m"},
        {7, "a%d", ""},
    };
    Values values;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.format);
        EXPECT_EQ(print(c.format, values.of(c.type), true), c.text);
        EXPECT_EQ(print(c.format, values.of(c.type), false), c.text);
    }
    EXPECT_EQ(print("%d", {VORN_TYPE_UINT32, nullptr, 0, 0}, true), "----");
    EXPECT_EQ(print("<%3s>", {VORN_TYPE_STRING, nullptr, 0, 0}, true), "<   >");
}

TEST(CFormat, CountsCharactersInTextReportsAndBytesElsewhere) {
    struct Case {
        std::uint32_t type;
        std::uint32_t number;  // for an integer
        std::string string, format;
        std::string wide, bytes;
    };
    std::string euros, letters;
    for (int i = 0; i < 63; ++i) euros += "\u20AC";
    for (int i = 0; i < 128; ++i) letters += 'y';
    const Case cases[] = {
        {VORN_TYPE_STRING, 0, "\u00E9t\u00E9", "%5s|", "  \u00E9t\u00E9|", "\u00E9t\u00E9|"},
        {VORN_TYPE_STRING, 0, "\u00E9t\u00E9", "%.2s|", "\u00E9t|", "\u00E9|"},
        {VORN_TYPE_STRING, 0, "xy", "\u00B0 %scm\u20AC", "\u00B0 xym\u20AC", "\u00B0 xycm\u20AC"},
        {VORN_TYPE_STRING, 0, "\xFF\xF0\x9Fz", "%s", "\x7Fp\x1Fz", "\xFF\xF0\x9Fz"},
        {VORN_TYPE_STRING, 0, "ab\x80z", "%s|", "ab|", "ab\x80z|"},
        // Strings end after 63 characters, fields after 127 characters or bytes.
        {VORN_TYPE_STRING, 0, euros + "z", "%s|", euros + "|", euros.substr(0, 126)},
        {VORN_TYPE_STRING, 0, "a" + euros, "%s\u20AC", "a" + euros.substr(3) + "\u20AC",
         "a" + euros.substr(0, 126)},
        {VORN_TYPE_STRING, 0, letters, "%s", letters.substr(0, 63), letters.substr(0, 127)},
        {VORN_TYPE_UINT32, 7, "", "%-126u\u20AC\u20AC", "7" + std::string(125, ' ') + "\u20AC",
         "7" + std::string(125, ' ')},
        // Changing the letters of a full format pushes its last character out.
        {VORN_TYPE_STRING, 0, "v", ("%s" + letters.substr(0, 59) + "\u00E9"),
         "v" + letters.substr(0, 59), "v" + letters.substr(0, 59) + "\u00E9"},
        // In a text, not in bytes, a full format ends with a whole character.
        {VORN_TYPE_NONE, 0, "", "%d" + letters.substr(0, 60) + "\xE9",
         "----" + letters.substr(0, 60), "----" + letters.substr(0, 60) + "\xE9"},
        // %c
        {VORN_TYPE_UINT32, 0x141, "", "<%-3c>", "<A  >", "<A  >"},
        {VORN_TYPE_UINT32, 0xE9, "", "<%2c>", "< \u00E9>", "< \xE9>"},
        {VORN_TYPE_UINT32, 0x20AC, "", "%lc", "\u20AC", "\u20AC"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.format);
        std::string string = c.string;
        std::uint32_t number = c.number;
        const bool isString = c.type == VORN_TYPE_STRING;
        void *data = isString ? static_cast<void *>(string.data()) : &number;
        EXPECT_EQ(print(c.format.c_str(), {c.type, data, 0, 0}, true), c.wide);
        EXPECT_EQ(print(c.format.c_str(), {c.type, data, 0, 0}, false), c.bytes);
    }
}
