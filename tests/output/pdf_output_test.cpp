// SPDX-License-Identifier: MIT
// PDF reports, written through the back-end and read back by a program that shows their text.
#include "output/pdf_output.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "output/dump_backend.h"
#include "support/log_capture.h"
#include "support/pdf_check.h"
#include "support/temp_dir.h"

namespace {

ItemValue text(const char *value) {
    return {VORN_TYPE_STRING, const_cast<char *>(value), 0, 0};
}

struct PdfReportFile {
    TempDir dir;
    FileGuard file{std::fopen(dir.path("a.pdf").c_str(), "wt")};
    DumpBackend backend{};
    int begun = dumpInit(&backend, file.get(), RPT_FMT_PDF);

    int row(const char *cstyle, const std::vector<ItemValue> &values) {
        ReportRow record{};
        std::strncpy(record.cstyle, cstyle, sizeof record.cstyle - 1);
        record.count = static_cast<std::int32_t>(values.size());
        std::copy(values.begin(), values.end(), record.values);
        return dumpRow(&backend, &record);
    }

    // Ends the report; what the file holds, or an empty text when a reader complains.
    std::string finish() {
        EXPECT_EQ(begun, DUMP_OK);
        EXPECT_EQ(dumpFree(&backend), DUMP_OK);
        EXPECT_TRUE(closeWritten(&file));
        const std::string complaints = pdfComplaints(dir.path("a.pdf"));
        EXPECT_EQ(complaints, "");
        return complaints.empty() ? dir.read("a.pdf") : "";
    }
};

// The strings of the report's lines: what stands before each "'" operator, without the string's
// own parentheses and line end.
std::vector<std::string> linesOf(const std::string &pdf) {
    std::vector<std::string> lines;
    std::size_t end = 0;
    while ((end = pdf.find("\n)'\n", end)) != std::string::npos) {
        const std::size_t start = pdf.rfind("\n(", end - 1) + 2;
        lines.push_back(end < start ? "" : pdf.substr(start, end - start));
        end += 4;
    }
    return lines;
}

}  // namespace

TEST(PdfOutput, WritesRowsWhoseWidthsCountCharacters) {
    std::uint32_t count = 12;
    double level = -2.5;
    PdfReportFile report;
    EXPECT_EQ(report.row("%-8s|%3s|", {text("\u00D6lstr\u00F6m"), text("\u20AC")}), DUMP_OK);
    EXPECT_EQ(report.row("\u00B5W %5u %.1f \u2030 100%%",
                         {{VORN_TYPE_UINT32, &count, 0, 0}, {VORN_TYPE_DOUBLE, &level, 0, 0}}),
              DUMP_OK);
    EXPECT_EQ(report.row("%8d|%.2s|", {{}, text("\u00E9\u00E8\u00EA")}), DUMP_OK);
    EXPECT_EQ(report.row("no value, no text", {}), DUMP_OK);
    EXPECT_EQ(report.row("(%s)", {text("a\\b)\tc\nd")}), DUMP_OK);
    EXPECT_EQ(report.row("%s %s", {text("x")}), DUMP_ROW_MISMATCH);

    EXPECT_EQ(linesOf(report.finish()),
              (std::vector<std::string>{"\xD6lstr\xF6m |  \x80|", "\xB5W    12 -2.5 \x89 100%",
                                        "    ----|\xE9\xE8|", "", "\\(a\\\\b\\) c d\\)"}));
}

TEST(PdfOutput, ShowsWhatTheFontsDoNotHaveAsMarksAndSaysOnceHowMany) {
    const struct {
        std::uint32_t code;
        const char *text, *line, *log;
    } cases[] = {
        {0xE9, "\u00E9", "\xE9|\xE9 |\xE9", ""},
        {0x20AC, "\u0800\u20AC", "\xAC|\x80 |?\x80", "1, the first is U+0800"},
        {0x2009, "", "\t|? |", "1, the first is U+2009"},
        {0x18D, "\u0100\U0001F600 \xC3", "?|? |?? ?", "5, the first is U+008D"},
        {0x0A, "\xFF", " |  |?", "1, the first is byte 0xFF"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.code);
        LogCapture log(2);
        std::uint32_t code = c.code;
        const ItemValue value{VORN_TYPE_UINT32, &code, 0, 0};
        PdfReportFile report;
        EXPECT_EQ(report.row("%c|%-2lc|%s", {value, value, text(c.text)}), DUMP_OK);
        std::string line(c.line);
        if (line[0] == '\t') line[0] = ' ';
        EXPECT_EQ(linesOf(report.finish()), std::vector{line});
        const std::string said(c.log);
        EXPECT_EQ(log.text(),
                  said.empty() ? "" : "PDF report: characters shown as '?': " + said + ".\n");
    }
    LogCapture log(2);  // what a precision or the line's end cuts off is not lost
    PdfReportFile cut;
    const std::string fill(126, 'x');
    cut.row("%.1s%.2s\u0102", {text("y\u0100"), text("z\u0101\u0100")});
    cut.row("%s%s\u0103\u0104", {text(fill.c_str()), text((fill + "x\u0105").c_str())});
    EXPECT_EQ(linesOf(cut.finish()), (std::vector<std::string>{"yz??", fill + fill + "x"}));
    EXPECT_EQ(log.text(), "PDF report: characters shown as '?': 2, the first is U+0101.\n");
}

TEST(PdfOutput, CutsAFieldTo127AndALineTo254CharactersBeforeTheyAreEscaped) {
    std::string many;  // whose bytes in the report are a character of UTF-8 in pairs
    std::string escaped;
    for (int i = 0; i < 127; ++i) many += "\u00E9\u20AC";
    for (int i = 0; i < 127; ++i) escaped += "\\(";
    std::string accents;
    for (int i = 0; i < 64; ++i) accents += "\xE9\x80";
    accents.resize(127);
    PdfReportFile report;
    report.row("ab%s", {text(many.c_str())});
    report.row("%s%sa%sb", {text(std::string(200, '(').c_str()), text(many.c_str()), text("c")});
    report.row("%300s", {text("x")});
    EXPECT_EQ(linesOf(report.finish()),
              (std::vector<std::string>{"ab" + accents.substr(0, 125), escaped + accents,
                                        std::string(127, ' ')}));
}

TEST(PdfOutput, AddsBlankLinesOfEnabledSectionsAndFollowsStyles) {
    PdfReportFile report;
    const TemplateSection enabled{"s", 1, 3, 1, -1};
    const TemplateSection disabled{"d", 2, 3, 1, -1};
    for (const TemplateSection *section : {&enabled, &disabled})
        EXPECT_EQ(dumpSectionHeader(&report.backend, section), DUMP_OK);
    for (const OutputStyle &style : {OutputStyle{"Helvetica", 12}, {"", 0}, {"", -1}})
        EXPECT_EQ(dumpOutputStyle(&report.backend, &style), DUMP_OK);
    report.row("%s", {text("x")});
    for (const TemplateSection *section : {&disabled, &enabled})
        EXPECT_EQ(dumpSectionFooter(&report.backend, section), DUMP_OK);

    const std::string pdf = report.finish();
    EXPECT_NE(pdf.find("/F0 10 Tf\n(\n)'\n(\n)'\n(\n)'\n12 TL\n/F1 12 Tf\n(x\n)'\n(\n)'\n8 TL\n"),
              std::string::npos);
    EXPECT_NE(pdf.find("<</Author (Norvel Systems)\n/Creator (Norvel Systems)\n"
                       "/Producer (pdflib)\n/Subject (Measurement report)\n>>\n"),
              std::string::npos);
}
