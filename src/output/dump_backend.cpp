// SPDX-License-Identifier: MIT
// Passes the operations on a report to the back-end of its format.
#include "output/dump_backend.h"

#include <iterator>

#include "output/pdf_output.h"
#include "output/text_output.h"

namespace {

// What a back-end does. `state` is what its init left in the DumpBackend.
struct BackendOps {
    int (*init)(void **state, std::FILE *stream);
    int (*outputStyle)(void *state, const OutputStyle *style);
    int (*sectionHeader)(void *state, const TemplateSection *section);
    int (*row)(void *state, const ReportRow *row);
    int (*sectionFooter)(void *state, const TemplateSection *section);
    int (*free)(void *state);
};

// Indexed by ReportFormat.
constexpr BackendOps backends[] = {
    {dumpTextInit, dumpTextOutputStyle, dumpTextSectionHeader, dumpTextRow, dumpTextSectionFooter,
     dumpTextFree},
    {dumpPDFInit, dumpPDFOutputStyle, dumpPDFSectionHeader, dumpPDFRow, dumpPDFSectionFooter,
     dumpPDFFree},
};
static_assert(std::size(backends) == RPT_FMT_PDF + 1);

// The back-end of a format, or null.
const BackendOps *findBackend(std::uint32_t format) {
    return format < std::size(backends) ? &backends[format] : nullptr;
}

}  // namespace

int dumpInit(DumpBackend *backend, std::FILE *stream, std::uint32_t format) {
    backend->format = format;
    const BackendOps *ops = findBackend(format);
    return ops != nullptr ? ops->init(&backend->state, stream) : DUMP_UNKNOWN_FORMAT;
}

int dumpOutputStyle(DumpBackend *backend, const OutputStyle *style) {
    const BackendOps *ops = findBackend(backend->format);
    return ops != nullptr ? ops->outputStyle(backend->state, style) : DUMP_UNKNOWN_FORMAT;
}

int dumpSectionHeader(DumpBackend *backend, const TemplateSection *section) {
    const BackendOps *ops = findBackend(backend->format);
    return ops != nullptr ? ops->sectionHeader(backend->state, section) : DUMP_UNKNOWN_FORMAT;
}

int dumpRow(DumpBackend *backend, const ReportRow *row) {
    const BackendOps *ops = findBackend(backend->format);
    return ops != nullptr ? ops->row(backend->state, row) : DUMP_UNKNOWN_FORMAT;
}

int dumpSectionFooter(DumpBackend *backend, const TemplateSection *section) {
    const BackendOps *ops = findBackend(backend->format);
    return ops != nullptr ? ops->sectionFooter(backend->state, section) : DUMP_UNKNOWN_FORMAT;
}

int dumpFree(DumpBackend *backend) {
    const BackendOps *ops = findBackend(backend->format);
    return ops != nullptr ? ops->free(backend->state) : DUMP_UNKNOWN_FORMAT;
}
