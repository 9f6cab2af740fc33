// SPDX-License-Identifier: MIT
#include "pdf/pdf_objects.h"

#include <memory>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "support/temp_dir.h"

TEST(PdfObjects, GetTheLowestFreeNumberAndStandInAscendingOrder) {
    const TempDir dir;
    FileGuard file(std::fopen(dir.path("a").c_str(), "wb"));
    const auto document = std::make_unique<PdfDocument>();
    PdfDocument *doc = document.get();
    pdfOpenSink(&doc->out, file.get());
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FREE_ENTRY, 0), 0);
    EXPECT_EQ(pdfAllocObject(doc, PDF_PAGE_TREE), 1);
    pdfPut(&doc->out, "0123456789");
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 5), 5);
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 4), 4);
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 4), 6);
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_PAGE, 9), 9);
    EXPECT_EQ(pdfAllocObject(doc, PDF_CONTENT), 2);
    pdfPut(&doc->out, "x");
    doc->objects[doc->objectCount] = {77, 10, PDF_INFO};  // behind the last: nobody may see it
    EXPECT_EQ(pdfMarkObjectOffs(doc, 9), PDF_OK);
    EXPECT_EQ(pdfMarkObjectOffs(doc, 8), PDF_NOT_FOUND);
    EXPECT_EQ(pdfMarkObjectOffs(doc, 10), PDF_NOT_FOUND);

    EXPECT_EQ(pdfGetObjectByType(doc, PDF_FONT), 4);
    EXPECT_EQ(pdfGetNextObjectByType(doc, PDF_FONT, 4), 5);
    EXPECT_EQ(pdfGetNextObjectByType(doc, PDF_FONT, 6), PDF_NOT_FOUND);
    EXPECT_EQ(pdfGetObjectByType(doc, PDF_INFO), PDF_NOT_FOUND);

    pdfWriteXrefTable(doc);
    EXPECT_EQ(doc->xrefOffset, 11);
    EXPECT_EQ(pdfFlush(&doc->out), PDF_OK);
    file.reset();
    EXPECT_EQ(dir.read("a"),
              "0123456789xxref\n"
              "0 3\n0000000000 65535 f \n0000000000 00000 n \n0000000010 00000 n \n"
              "4 3\n0000000010 00000 n \n0000000010 00000 n \n0000000010 00000 n \n"
              "9 1\n0000000011 00000 n \n");

    // The gaps fill up, and the next number is again behind the last.
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 10), 10);
    for (const std::int32_t number : {3, 7, 8, 11})
        EXPECT_EQ(pdfAllocObject(doc, PDF_CONTENT), number);
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 65535), 65535);
    EXPECT_EQ(pdfAllocObjectByID(doc, PDF_FONT, 65535), PDF_TOO_MANY_OBJECTS);
    pdfFreeObjects(doc);
}
