// SPDX-License-Identifier: MIT
// The PDF writer beside plain writes of as many bytes, and how its time and memory grow. Each round
// fills a new file, as a report does; the writer alone, without the system's part, goes to
// /dev/null.
#include <cstdio>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "base/guards.h"
#include "pdf/pdf_writer.h"

namespace {

// A line of a report: label, value, unit; 80 characters and the line end that the reports give it.
const std::string line =
    "Received frames on port 1, all sizes, good and bad frames ..... 123456789 frames\n";

struct Measured {
    std::int32_t bytes = 0;
    std::size_t heap = 0;
};

std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Writes a document of so many lines; heap is what it held just before its end.
Measured writeDocument(std::FILE *file, std::int64_t lines) {
    Measured measured;
    const std::size_t before = heapInUse();
    auto doc = std::make_unique<PdfDocument>();
    const PdfDocInfo info{};
    pdf_begin(doc.get(), &info, file);
    for (std::int64_t i = 0; i < lines; ++i) pdf_add_text_line(doc.get(), line);
    measured.heap = heapInUse() - before;
    if (pdf_end(doc.get()) == PDF_OK) measured.bytes = pdfOffset(&doc->out);
    return measured;
}

void measureDocuments(benchmark::State &state, std::FILE *(*open)()) {
    Measured measured;
    for (auto _ : state) {
        const FileGuard file(open());
        measured = writeDocument(file.get(), state.range(0));
    }
    if (measured.bytes == 0) state.SkipWithError("the document failed");
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes"] = measured.bytes;
    state.counters["heap_KiB"] = static_cast<double>(measured.heap) / 1024;
}

void BM_PdfLines(benchmark::State &state) {
    measureDocuments(state, std::tmpfile);
}

void BM_PdfLinesNoFile(benchmark::State &state) {
    measureDocuments(state, [] { return std::fopen("/dev/null", "w"); });
}

// As many bytes as the document of so many lines has: a line a call.
void BM_PlainFwrite(benchmark::State &state) {
    const FileGuard null(std::fopen("/dev/null", "w"));
    const std::int64_t bytes = writeDocument(null.get(), state.range(0)).bytes;
    const std::string perLine(static_cast<std::size_t>(bytes / state.range(0)), 'x');
    for (auto _ : state) {
        const FileGuard file(std::tmpfile());
        for (std::int64_t i = 0; i < state.range(0); ++i)
            std::fwrite(perLine.data(), 1, perLine.size(), file.get());
        std::fflush(file.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same, from memory that holds them all, in one call.
void BM_OneFwrite(benchmark::State &state) {
    const FileGuard null(std::fopen("/dev/null", "w"));
    const std::int64_t bytes = writeDocument(null.get(), state.range(0)).bytes;
    const std::string whole(static_cast<std::size_t>(bytes), 'x');
    for (auto _ : state) {
        const FileGuard file(std::tmpfile());
        std::fwrite(whole.data(), 1, whole.size(), file.get());
        std::fflush(file.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void lineCounts(benchmark::internal::Benchmark *bench) {
    bench->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(BM_PdfLines)->Apply(lineCounts);
BENCHMARK(BM_PlainFwrite)->Apply(lineCounts);
BENCHMARK(BM_OneFwrite)->Apply(lineCounts);
BENCHMARK(BM_PdfLinesNoFile)->Apply(lineCounts);

}  // namespace
