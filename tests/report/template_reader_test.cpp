// SPDX-License-Identifier: MIT
#include "report/template_reader.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "report/include_clause.h"
#include "report/template_params.h"
#include "report/template_place.h"
#include "support/log_capture.h"
#include "support/merge_run.h"

namespace {

// A context that reads "main.tpl" of a directory in which the test runs.
class Reader {
public:
    explicit Reader(std::string_view text) : ctx_(std::make_unique<TemplateContext>()) {
        run_.file("main.tpl", text);
        stream_.reset(std::fopen("main.tpl", "rt"));
        IncludeSpec spec{.file = "main.tpl", .params = nullptr, .flags = 0};
        pushTemplateFile(ctx_.get(), &spec, stream_.get());
    }
    ~Reader() {
        while (ctx_->fileDepth > 0) popTemplateFile(ctx_.get());
    }
    TemplateContext *operator->() { return ctx_.get(); }
    TemplateContext *get() { return ctx_.get(); }
    MergeRun &files() { return run_; }

    // Every tag that is left in the current file, with its line.
    std::vector<std::string> tags() {
        std::vector<std::string> found;
        for (;;) {
            const std::string_view tag = nextTemplateTag(ctx_.get());
            if (tag.data() == nullptr) return found;
            found.push_back(std::string(tag) + "@" + getTemplateLine(ctx_.get()));
        }
    }

private:
    MergeRun run_;
    std::unique_ptr<TemplateContext> ctx_;
    FileGuard stream_;
};

using Tags = std::vector<std::string>;

TEST(TemplateReader, CutsLinesAt1023CharactersAndCountsThePieces) {
    const std::string fits = std::string(1019, 'x') + "<a>\n<b>";     // the tag ends at 1022
    const std::string cut = std::string(1021, 'x') + "<a>y<b>\n<c>";  // the tag is cut in two
    EXPECT_EQ(Reader(fits).tags(), (Tags{"a@main.tpl:1", "b@main.tpl:2"}));
    EXPECT_EQ(Reader(cut).tags(), (Tags{"b@main.tpl:2", "c@main.tpl:3"}));
    // Lines and tags that cross the window's edge are whole.
    const std::string far = std::string(TEMPLATE_WINDOW_SIZE - 2, '\n') + "<edge>\n<two>";
    EXPECT_EQ(Reader(far).tags(), (Tags{"edge@main.tpl:8191", "two@main.tpl:8192"}));
}

TEST(TemplateReader, TakesLiteralTextFromTheNextLineWhenTheTagEndsIts) {
    Reader reader("<v> a b <w>\nsecond line\nthird<x>");
    char text[8];
    EXPECT_EQ(nextTemplateTag(reader.get()), "v");
    EXPECT_EQ(readTemplateText(reader.get(), text, sizeof text), 0);
    EXPECT_STREQ(text, " a b ");
    EXPECT_EQ(nextTemplateTag(reader.get()), "w");
    EXPECT_EQ(readTemplateText(reader.get(), text, sizeof text), 0);
    EXPECT_STREQ(text, "second ");  // the rest of a longer run is skipped
    EXPECT_EQ(readTemplateText(reader.get(), text, sizeof text), 0);
    EXPECT_STREQ(text, "third");
    EXPECT_EQ(nextTemplateTag(reader.get()), "x");
    EXPECT_EQ(readTemplateText(reader.get(), text, sizeof text), -1);
}

TEST(TemplateReader, IncludesFilesBesideTheCurrentOneWithTheirParameters) {
    Reader reader("<main>");
    reader.files().file("parts/h.tpl", "<head ${a}>\n");
    reader.files().file("parts/deep.tpl", "<deep>\n");
    const LogCapture log;
    ASSERT_EQ(includeTemplate(reader.get(), "file='parts/h.tpl( a : 1 ; b:  two)'"), MERGE_OK);
    EXPECT_STREQ(getTemplateLine(reader.get()), "parts/h.tpl:0");
    EXPECT_STREQ(expandTemplateString(reader.get(), "${a}-${b}").data(), "1-two");
    // Relative to the including file; its parameters are not seen there.
    ASSERT_EQ(includeTemplate(reader.get(), "file=deep.tpl"), MERGE_OK);
    EXPECT_EQ(reader.tags(), (Tags{"deep@parts/deep.tpl:1"}));
    EXPECT_EQ(expandTemplateString(reader.get(), "${a}").data(), nullptr);
    popTemplateFile(reader.get());
    EXPECT_EQ(reader.tags(), (Tags{"head ${a}@parts/h.tpl:1"}));
    EXPECT_EQ(log.text(), "Error in parts/deep.tpl:2: Parameter 'a' not defined.\n");
}

TEST(TemplateReader, IncludesNothingForOptionalFilesAndFourFilesDeepAtMost) {
    Reader reader("<main>");
    reader.files().file("sub.tpl", "<sub>");
    const LogCapture log;
    EXPECT_EQ(includeTemplate(reader.get(), "file=none.tpl, optional"), MERGE_OK);
    const std::string longName(70, 'n');
    EXPECT_EQ(includeTemplate(reader.get(), "file=" + longName + ", optional"), MERGE_OK);
    EXPECT_EQ(reader->fileDepth, 1);
    while (reader->fileDepth < TEMPLATE_MAX_FILES)
        ASSERT_EQ(includeTemplate(reader.get(), "file=sub.tpl"), MERGE_OK);
    EXPECT_EQ(includeTemplate(reader.get(), "file=sub.tpl"), MERGE_TEMPLATE_ERROR);
    EXPECT_EQ(log.text(), "Warning: path '" + longName.substr(0, 63) +
                              "' was cut at 63 characters.\n"
                              "Error in sub.tpl:0: too many nested files.\n");
}

TEST(TemplateParams, AreCutReplacedAndExpandedAsFarAsTheyFit) {
    Reader reader("");
    TemplateParam **params = currentParams(reader.get());
    setTemplateParam(params, " a ", "  1 ");
    setTemplateParam(params, "a", "${b}");  // replaces, and is not expanded again
    setTemplateParam(params, "sixteen-letters-", std::string(80, 'v').c_str());
    setTemplateParamInt(params, "n", INT32_MIN);
    const auto expand = [&reader](const std::string &text) {
        return expandTemplateString(reader.get(), text.c_str()).data();
    };
    EXPECT_STREQ(expand("x}$ {a}<${a}>${n}"), "x}$ {a}<${b}>-2147483648");
    EXPECT_STREQ(expand("${sixteen-letters}"), std::string(63, 'v').c_str());
    const std::string most(511 - 11, 'x');
    EXPECT_STREQ(expand(most + "${n}"), (most + "-2147483648").c_str());
    const LogCapture log;
    EXPECT_EQ(expand(most + "x${n}"), nullptr);
    EXPECT_EQ(expand("${ a}"), nullptr);
    // A failed expansion leaves the text as it stood; a short buffer cuts.
    ParsedArg arg;
    EXPECT_EQ(parseClauseArg(reader.get(), " a = '${b}'x", '=', 5, &arg), MERGE_TEMPLATE_ERROR);
    EXPECT_EQ(arg.name, "a");
    EXPECT_STREQ(arg.value.data(), "${b}");
    EXPECT_EQ(parseClauseArg(reader.get(), "a=12345", '=', 5, &arg), MERGE_OK);
    EXPECT_STREQ(arg.value.data(), "1234");
    EXPECT_EQ(log.text(),
              "Error in main.tpl:0: Expanded string is too long.\n"
              "Error in main.tpl:0: Parameter ' a' not defined.\n"
              "Error in main.tpl:0: Parameter 'b' not defined.\n");
}

}  // namespace
