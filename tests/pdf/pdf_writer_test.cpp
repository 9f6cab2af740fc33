// SPDX-License-Identifier: MIT
// Whole documents compared byte by byte, then checked by a program that reads PDF files.
#include "pdf/pdf_writer.h"

#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "support/pdf_check.h"
#include "support/temp_dir.h"

namespace {

constexpr PdfDocInfo INFO = {"Ann (A\\B)", "C", "P", "S", 0, 0, 0, 0};

// A document in a file of its own.
struct TestDocument {
    TempDir dir;
    FileGuard file{std::fopen(dir.path("a.pdf").c_str(), "wb")};
    std::unique_ptr<PdfDocument> doc = std::make_unique<PdfDocument>();
    int begun = pdf_begin(doc.get(), &INFO, file.get());

    // Ends the document; the file's content, or an empty text when the end failed or when a reader
    // complains.
    std::string finish() {
        EXPECT_EQ(begun, PDF_OK);
        EXPECT_EQ(pdf_end(doc.get()), PDF_OK);
        EXPECT_TRUE(closeWritten(&file));
        const std::string complaints = pdfComplaints(dir.path("a.pdf"));
        EXPECT_EQ(complaints, "");
        return complaints.empty() ? dir.read("a.pdf") : "";
    }
};

// The data of a content stream.
std::string contentOf(const std::string &pdf, const std::string &object) {
    const std::size_t start = pdf.find("stream\n", pdf.find("\n" + object + " 0 obj\n")) + 7;
    return pdf.substr(start, pdf.find("endstream\n", start) - start);
}

int countOf(const std::string &text, const std::string &part) {
    int count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

}  // namespace

TEST(PdfWriter, WritesAnEmptyDocumentAsOnePageWithItsNumber) {
    EXPECT_EQ(TestDocument().finish(),
              "%PDF-1.2\n"
              "%\xED\xEC\xA6\"\n"
              "2 0 obj\n<</Length 3 0 R>>\nstream\n"
              "BT\n40 808 Td\n8 TL\n/F0 8 Tf\n255 -803 Td\n(1) Tj\nET\n"
              "endstream\nendobj\n"
              "3 0 obj\n49\nendobj\n"
              "4 0 obj\n<</Type /Page\n/Parent 1 0 R\n/Contents 2 0 R\n>>\nendobj\n"
              "5 0 obj\n<</Type /Encoding\n/BaseEncoding /WinAnsiEncoding\n>>\nendobj\n"
              "6 0 obj\n<</Type /Font\n/Subtype /Type1\n/Name /F0\n/BaseFont /Courier\n"
              "/Encoding 5 0 R\n>>\nendobj\n"
              "7 0 obj\n[/PDF /Text]\nendobj\n"
              "1 0 obj\n<</Type /Pages\n/Kids [4 0 R ]\n/Count 1\n/MediaBox [0 0 600 848]\n"
              "/Resources <</ProcSet 7 0 R\n/Font << /F0 6 0 R\n>>\n>>\n>>\nendobj\n"
              "8 0 obj\n<</Type /Catalog\n/Pages 1 0 R\n>>\nendobj\n"
              "9 0 obj\n<</Author (Ann \\(A\\\\B\\))\n/Creator (C)\n/Producer (P)\n/Subject (S)\n"
              ">>\nendobj\n"
              "xref\n0 10\n0000000000 65535 f \n"
              "0000000382 00000 n \n0000000015 00000 n \n0000000114 00000 n \n"
              "0000000132 00000 n \n0000000194 00000 n \n0000000261 00000 n \n"
              "0000000354 00000 n \n0000000516 00000 n \n0000000564 00000 n \n"
              "trailer\n<</Size 10\n/Root 8 0 R\n/Info 9 0 R\n>>\nstartxref\n647\n%%EOF\n");
}

TEST(PdfWriter, SetsLinesFontsAndSizesOneBelowTheOther) {
    TestDocument test;
    PdfDocument *doc = test.doc.get();
    pdf_add_text_line(doc, "first");
    pdf_set_font_size(doc, 12);
    pdf_add_text_line(doc, "second\n");
    pdf_set_font_type(doc, "Helvetica");
    pdf_add_text_line(doc, "third");
    pdf_set_font_type(doc, "Courier");  // already in the table
    pdf_add_text_line(doc, "fourth");
    pdf_add_text_line(doc, "fifth");
    pdf_set_font_type(doc, "A b/#(\x01\xE9");
    pdf_page_break(doc);
    pdf_add_text_line(doc, "sixth");

    const std::string pdf = test.finish();
    EXPECT_EQ(contentOf(pdf, "2"),
              "BT\n40 808 Td\n10 TL\n/F0 10 Tf\n(first)'\n12 TL\n/F0 12 Tf\n(second\n)'\n"
              "12 TL\n/F1 12 Tf\n(third)'\n12 TL\n/F0 12 Tf\n(fourth)'\n(fifth)'\n"
              "8 TL\n/F0 8 Tf\n255 -745 Td\n(1) Tj\nET\n");
    EXPECT_EQ(contentOf(pdf, "5"),
              "BT\n40 808 Td\n12 TL\n/F2 12 Tf\n(sixth)'\n"
              "8 TL\n/F0 8 Tf\n255 -791 Td\n(2) Tj\nET\n");
    EXPECT_NE(pdf.find("/Kids [4 0 R 7 0 R ]\n/Count 2\n"), std::string::npos);
    EXPECT_NE(pdf.find("/Font << /F0 9 0 R\n /F1 10 0 R\n /F2 11 0 R\n>>\n"), std::string::npos);
    EXPECT_NE(pdf.find("/Name /F2\n/BaseFont /A#20b#2F#23#28#01#E9\n"), std::string::npos);
}

TEST(PdfWriter, BeginsAPageAfter79LinesAndSetsTheFontAgain) {
    TestDocument test;
    for (int line = 1; line <= 79 * 11 + 1; ++line)
        pdf_add_text_line(test.doc.get(), std::to_string(line) + "\n");
    EXPECT_EQ(contentOf(test.finish(), "35"),  // page 12; each page has three objects
              "BT\n40 808 Td\n10 TL\n/F0 10 Tf\n(870\n)'\n"
              "8 TL\n/F0 8 Tf\n255 -793 Td\n(12) Tj\nET\n");
    const std::string first = pdfText(test.dir.path("a.pdf"));
    EXPECT_EQ(countOf(first.substr(0, first.find('\f')), "\n7"), 11);  // lines 7 and 70 to 79
    EXPECT_EQ(countOf(first, "\f"), 12);
}

TEST(PdfWriter, LosesNothingWhereABlockOfTheFileEnds) {
    // All behind the first page, with blocks that end elsewhere for another first line.
    const auto pages = [](const std::string &first) {
        TestDocument test;
        pdf_add_text_line(test.doc.get(), first);
        for (int page = 0; page < 3000; ++page) pdf_page_break(test.doc.get());
        const std::string pdf = test.finish();
        const std::size_t start = pdf.find("/Contents");
        return pdf.substr(start, pdf.find("\nxref\n") - start);
    };
    EXPECT_TRUE(pages("a") == pages("another line"));
}

TEST(PdfWriter, KeepsEveryByteOfATextInItsString) {
    const std::string plain(3000, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"", "()"},
        {"12345(78", "(12345\\(78)"},  // in the middle of eight bytes and at their ends
        {"1234567)\\", "(1234567\\)\\\\)"},
        {"'*\x1F \x7F\xA8\xA9\xDC\xFF", "('*\\037 \x7F\xA8\xA9\xDC\xFF)"},
        {std::string("a\tb\rc\nd\0z", 9), "(a\\011b\\015c\nd\\000z)"},
        {plain + "(" + plain, "(" + plain + "\\(" + plain + ")"},
        {std::string(20000, '\x01'), ""},
    };
    TestDocument test;
    for (const auto &[text, string] : cases)
        EXPECT_EQ(pdf_add_text_line(test.doc.get(), text), PDF_OK);
    const std::string pdf = test.finish();
    for (const auto &[text, string] : cases)
        EXPECT_NE(pdf.find("\n" + string + (string.empty() ? "" : "'\n")), std::string::npos);
    EXPECT_EQ(countOf(pdf, "\\001"), 20000);
}

TEST(PdfWriter, RefusesTheFifteenthFontAndTakesAnySize) {
    TestDocument test;
    PdfDocument *doc = test.doc.get();
    const std::string longName(40, 'n');
    for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(pdf_set_font_type(doc, longName), PDF_OK);
    for (int i = 2; i < PDF_MAX_FONTS; ++i)
        EXPECT_EQ(pdf_set_font_type(doc, "Font" + std::to_string(i)), PDF_OK);
    EXPECT_EQ(pdf_set_font_type(doc, "Font3"), PDF_OK);
    EXPECT_EQ(pdf_set_font_type(doc, "Font14"), PDF_TOO_MANY_FONTS);
    pdf_set_font_size(doc, std::numeric_limits<std::int32_t>::max());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(pdf_add_text_line(doc, "x"), PDF_OK);
    pdf_set_font_size(doc, 790);  // fills a page to its lowest line
    EXPECT_EQ(pdf_add_text_line(doc, "x"), PDF_OK);

    const std::string pdf = test.finish();
    EXPECT_NE(pdf.find("790 TL\n/F3 790 Tf\n(x)'\n8 TL\n/F0 8 Tf\n255 -13 Td\n(5) Tj\n"),
              std::string::npos);
    EXPECT_NE(pdf.find("/Count 5\n"), std::string::npos);
    EXPECT_EQ(countOf(pdf, "/Subtype /Type1"), 14);
    EXPECT_EQ(countOf(pdf, "/BaseFont /" + longName.substr(0, 31) + "\n"), 1);
}

TEST(PdfWriter, TellsAStreamThatFailsAtOnceOrLater) {
    auto doc = std::make_unique<PdfDocument>();
    const FileGuard full(std::fopen("/dev/full", "w"));
    EXPECT_EQ(pdf_begin(doc.get(), &INFO, full.get()), PDF_WRITE_FAILED);
    EXPECT_EQ(doc->objects, nullptr);
    for (const int calls : {0, 50000}) {  // what takes the header only refuses the rest
        const FileGuard small(fmemopen(nullptr, 40, "w"));
        EXPECT_EQ(pdf_begin(doc.get(), &INFO, small.get()), PDF_OK);
        int result = PDF_OK;
        for (int i = 0; i < calls && result == PDF_OK; ++i)
            result = i % 2 != 0 ? pdf_add_text_line(doc.get(), "text") : pdf_page_break(doc.get());
        EXPECT_EQ(result, calls == 0 ? PDF_OK : PDF_WRITE_FAILED);
        const std::size_t objects = doc->objectCount;
        EXPECT_TRUE(calls == 0 || pdf_page_break(doc.get()) == PDF_WRITE_FAILED);
        EXPECT_EQ(doc->objectCount, objects);
        EXPECT_EQ(pdf_end(doc.get()), PDF_WRITE_FAILED);
        EXPECT_EQ(doc->objects, nullptr);
    }
}

TEST(PdfWriter, EndsWithAnErrorWhereItsTablesEnd) {
    const FileGuard file(std::fopen("/dev/null", "w"));
    auto doc = std::make_unique<PdfDocument>();
    ASSERT_EQ(pdf_begin(doc.get(), &INFO, file.get()), PDF_OK);
    int pages = 1;
    while (pages < 30000 && pdf_page_break(doc.get()) == PDF_OK) ++pages;
    EXPECT_EQ(pages, 65535 / 3);  // a content stream, its length and a page each, and the tree
    EXPECT_EQ(pdf_add_text_line(doc.get(), "text"), PDF_TOO_MANY_OBJECTS);
    EXPECT_EQ(pdf_end(doc.get()), PDF_TOO_MANY_OBJECTS);

    // An empty document that begins so late that it ends at 2 GiB less 1, or a byte behind that.
    constexpr std::int32_t end = std::numeric_limits<std::int32_t>::max();
    const auto emptyDocument = [&](std::int32_t start) {
        EXPECT_EQ(pdf_begin(doc.get(), &INFO, file.get()), PDF_OK);
        doc->out.flushed = start;
        pdfFlush(&doc->out);
        return pdf_end(doc.get());
    };
    ASSERT_EQ(emptyDocument(end - 5000), PDF_OK);
    const std::int32_t last = end - (doc->out.flushed - (end - 5000));
    EXPECT_EQ(emptyDocument(last), PDF_OK);
    EXPECT_EQ(doc->out.flushed, end);
    for (const std::int32_t tooMuch : {1, 400, 800})
        EXPECT_EQ(emptyDocument(last + tooMuch), PDF_TOO_LONG) << tooMuch;
}
