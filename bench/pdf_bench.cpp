// SPDX-License-Identifier: MIT
// The PDF writer beside plain writes of as many bytes, and how its time and memory grow.
#include <cstdio>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "pdf/pdf_writer.h"
#include "util/guards.h"

namespace {

// A line of a report: label, value, unit; 80 characters and the line end that the reports give it.
const std::string line =
    "Received frames on port 1, all sizes, good and bad frames ..... 123456789 frames\n";

struct Measured {
    long bytes = 0;
    std::size_t heap = 0;
};

std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Writes a document of so many lines; heap is what it held just before its end.
Measured writeDocument(std::FILE *file, std::int64_t lines) {
    Measured measured;
    std::rewind(file);
    const std::size_t before = heapInUse();
    auto doc = std::make_unique<PdfDocument>();
    const PdfDocInfo info{};
    pdf_begin(doc.get(), &info, file);
    for (std::int64_t i = 0; i < lines; i++) pdf_add_text_line(doc.get(), line);
    measured.heap = heapInUse() - before;
    if (pdf_end(doc.get()) == PDF_OK) measured.bytes = std::ftell(file);
    return measured;
}

void BM_PdfLines(benchmark::State &state) {
    const FileGuard file(std::tmpfile());
    Measured measured;
    for (auto _ : state) measured = writeDocument(file.get(), state.range(0));
    if (measured.bytes == 0) state.SkipWithError("the document failed");
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["bytes"] = static_cast<double>(measured.bytes);
    state.counters["heap_KiB"] = static_cast<double>(measured.heap) / 1024;
}
BENCHMARK(BM_PdfLines)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// As many bytes as the document has, a line a call.
void BM_PlainFwrite(benchmark::State &state) {
    const FileGuard file(std::tmpfile());
    const long bytes = writeDocument(file.get(), state.range(0)).bytes;
    const std::string perLine(static_cast<std::size_t>(bytes / state.range(0)), 'x');
    for (auto _ : state) {
        std::rewind(file.get());
        for (std::int64_t i = 0; i < state.range(0); i++)
            std::fwrite(perLine.data(), 1, perLine.size(), file.get());
        std::fflush(file.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PlainFwrite)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// The same in one call.
void BM_OneFwrite(benchmark::State &state) {
    const FileGuard file(std::tmpfile());
    const std::string whole(
        static_cast<std::size_t>(writeDocument(file.get(), state.range(0)).bytes), 'x');
    for (auto _ : state) {
        std::rewind(file.get());
        std::fwrite(whole.data(), 1, whole.size(), file.get());
        std::fflush(file.get());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_OneFwrite)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace
