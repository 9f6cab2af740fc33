// SPDX-License-Identifier: MIT
// The least that writes a PDF document of text lines: no template, no conversion, one font, bytes
// escaped one by one.
//   lines_by_hand TEXT LINES OUT
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/guards.h"

namespace {

constexpr int LINES_A_PAGE = 79;

// A document of pages that all stand in one tree: object 1 is the tree, 2 the font, and from 3 on
// a page and what it shows take turns.
class Document {
public:
    explicit Document(std::FILE *out) : out_(out) { print("%%PDF-1.2\n"); }

    void beginObject(int number) {
        if (offsets_.size() <= static_cast<std::size_t>(number))
            offsets_.resize(static_cast<std::size_t>(number) + 1);
        offsets_[static_cast<std::size_t>(number)] = offset_;
        print("%d 0 obj\n", number);
    }

    [[gnu::format(printf, 2, 3)]] void print(const char *format, ...) {
        std::va_list args;
        va_start(args, format);
        offset_ += std::vfprintf(out_, format, args);
        va_end(args);
    }

    void putLine(const char *text) {
        char line[1024];
        char *to = line;
        *to++ = '(';
        for (; *text != '\0'; ++text) {
            if (*text == '(' || *text == ')' || *text == '\\') *to++ = '\\';
            *to++ = *text;
        }
        std::memcpy(to, ")'\n", 3);
        offset_ +=
            static_cast<long>(std::fwrite(line, 1, static_cast<std::size_t>(to + 3 - line), out_));
    }

    void page(const char *text, int lines) {
        const int number = 3 + 2 * pages_++;
        beginObject(number);
        print("<</Type /Page /Parent 1 0 R /Contents %d 0 R>>\nendobj\n", number + 1);
        beginObject(number + 1);
        print("<</Length %d>>\nstream\n", 30 + lines * static_cast<int>(std::strlen(text) + 4));
        print("BT\n40 808 Td\n10 TL\n/F0 10 Tf\n\n");
        for (int i = 0; i < lines; ++i) putLine(text);
        print("ET\nendstream\nendobj\n");
    }

    void end() {
        beginObject(1);
        print("<</Type /Pages /Count %d /MediaBox [0 0 600 848]\n", pages_);
        print("/Resources <</Font <</F0 2 0 R>>>> /Kids [");
        for (int i = 0; i < pages_; ++i) print("%d 0 R ", 3 + 2 * i);
        print("]>>\nendobj\n");
        beginObject(2);
        print("<</Type /Font /Subtype /Type1 /BaseFont /Courier>>\nendobj\n");
        const int catalog = 3 + 2 * pages_;
        beginObject(catalog);
        print("<</Type /Catalog /Pages 1 0 R>>\nendobj\n");
        const long table = offset_;
        print("xref\n0 %d\n0000000000 65535 f \n", catalog + 1);
        for (int i = 1; i <= catalog; ++i)
            print("%010ld 00000 n \n", offsets_[static_cast<std::size_t>(i)]);
        print("trailer\n<</Size %d /Root %d 0 R>>\nstartxref\n%ld\n%%%%EOF\n", catalog + 1, catalog,
              table);
    }

private:
    std::FILE *out_;
    long offset_ = 0;
    int pages_ = 0;
    std::vector<long> offsets_;
};

}  // namespace

int main(int argc, char **argv) {
    if (argc != 4) return 2;
    const FileGuard out(std::fopen(argv[3], "w"));
    if (!out) return 1;
    Document document(out.get());
    for (int left = std::atoi(argv[2]); left > 0; left -= LINES_A_PAGE)
        document.page(argv[1], left < LINES_A_PAGE ? left : LINES_A_PAGE);
    document.end();
    return 0;
}
