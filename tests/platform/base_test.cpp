// SPDX-License-Identifier: MIT
// What the platform's libraries share: lines, numbers, files that appear whole.
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/line_reader.h"
#include "base/numbers.h"
#include "base/open_file.h"
#include "base/whole_file.h"
#include "support/temp_dir.h"

TEST(HostLines, AreReadWithoutTheirEndsUntilOneIsNoText) {
    struct Case {
        std::string content;
        std::vector<std::string> lines;
        LineResult end;
    };
    const std::string longest(TEXT_LINE_MAX, 'x');
    const std::string BOM = "\xEF\xBB\xBF";
    const Case cases[] = {
        {"", {}, LINE_END},
        {BOM + "a\r\n\n" + BOM + "b\rc", {"a", "", BOM + "b\rc"}, LINE_END},
        {longest + "\r\n" + longest + "\r\nz\r", {longest, longest, "z"}, LINE_END},
        {"\u00E9\u20AC\U0001F600\n\xC3\n", {"\u00E9\u20AC\U0001F600"}, LINE_NOT_TEXT},
        {std::string("a\0b\n", 4), {}, LINE_NOT_TEXT},
        {"\xC0\xAF", {}, LINE_NOT_TEXT},      // a long form
        {"\xED\xA0\x80", {}, LINE_NOT_TEXT},  // a surrogate
        {"\xF4\x90\x80\x80", {}, LINE_NOT_TEXT},
        {"\n" + longest + "x", {""}, LINE_TOO_LONG},
        {longest + "x\n", {}, LINE_TOO_LONG},
    };
    const TempDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.content.substr(0, 20));
        const DescriptorGuard file = openRegular(dir.write("lines", c.content).c_str());
        ASSERT_GE(file.get(), 0);
        LineReader reader(file.get());
        std::vector<std::string> lines;
        std::string_view line;
        LineResult result = LINE_READ;
        while ((result = reader.nextText(&line)) == LINE_READ) lines.emplace_back(line);
        EXPECT_EQ(result, c.end);
        EXPECT_EQ(lines, c.lines);
        EXPECT_EQ(reader.number(), lines.size() + (c.end == LINE_END ? 0 : 1));
    }
}

TEST(HostWholeFile, AppearsWholeOrNotAtAll) {
    const TempDir dir;
    const std::string path = dir.write("a.res", "old");
    dir.write(".a.res.part", "a much longer left-over of a killed process");
    for (const bool commit : {true, false}) {
        WholeFile file;
        ASSERT_EQ(file.begin(path.c_str(), PART_WAIT), 0);
        std::fputs(commit ? "new" : "given up", file.stream());
        EXPECT_EQ(dir.read("a.res"), commit ? "old" : "new");
        removeLeftParts(dir.path().c_str());  // spares the part in work
        EXPECT_EQ(commit ? file.commit(TARGET_REPLACED) : 0, 0);
    }
    dir.makeDir("folder");
    {
        WholeFile file;
        ASSERT_EQ(file.begin(dir.path("folder").c_str(), PART_WAIT), 0);
        EXPECT_EQ(file.commit(TARGET_REPLACED), EISDIR);
    }
    WholeFile file;
    EXPECT_EQ(file.begin(dir.path("none/a.res").c_str(), PART_WAIT), ENOENT);
    EXPECT_EQ(dir.read("a.res"), "new");
    EXPECT_FALSE(dir.exists(".a.res.part"));
    EXPECT_FALSE(dir.exists(".folder.part"));

    dir.write(".b.res.part", "left over");
    dir.write(".c.res", "no part");
    removeLeftParts(dir.path().c_str());
    EXPECT_FALSE(dir.exists(".b.res.part"));
    EXPECT_TRUE(dir.exists(".c.res"));
}
