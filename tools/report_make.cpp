// SPDX-License-Identifier: MIT
#include "report_make.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/open_file.h"
#include "base/whole_file.h"
#include "base/words.h"
#include "output/dump_backend.h"
#include "report/merge.h"
#include "report/report.h"
#include "report/user_vars.h"
#include "report_watch.h"
#include "results/results.h"
#include "storage/files.h"

namespace {

// Of what is read from a stream, which may have no end.
constexpr std::size_t INPUT_MAX_BYTES = REPORT_MAX_BYTES;

constexpr FindingForm ownWarning = {FOUND_WARNING, 1, false, "Warning: "};

// Copies a stream to another; false, with errno set, when one of them fails or there is more than
// `most` bytes.
bool copyStream(std::FILE *from, std::FILE *to, std::size_t most) {
    char block[8192];
    std::size_t count = 0;
    for (; (count = std::fread(block, 1, sizeof block, from)) > 0; most -= count) {
        if (count > most) errno = EFBIG;
        if (count > most || std::fwrite(block, 1, count, to) != count) return false;
    }
    return std::ferror(from) == 0 && std::fflush(to) == 0;
}

// Whether a path names an open file, as shells do for what they put in place of a file.
bool isOpenFile(const std::string &path) {
    return path.starts_with("/dev/std") || path.starts_with("/dev/fd/") ||
           path.starts_with("/proc/self/fd/");
}

// Another descriptor of a standard stream; -1 with errno set, also for one that was closed: what
// stands in its place has the other direction.
DescriptorGuard standardStream(int number) {
    const int unusable = number == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    DescriptorGuard stream(fcntl(number, F_DUPFD_CLOEXEC, 0));
    if (stream.get() < 0 || (fcntl(stream.get(), F_GETFL) & O_ACCMODE) != unusable) return stream;
    errno = EBADF;
    return DescriptorGuard(-1);
}

// Opens a stream to be read; null with errno set.
FileGuard openStream(const std::string &path) {
    if (path != "-") return FileGuard(std::fopen(path.c_str(), "re"));
    DescriptorGuard input = standardStream(STDIN_FILENO);
    FileGuard stream(input.get() >= 0 ? fdopen(input.get(), "r") : nullptr);
    if (stream) static_cast<void>(input.release());
    return stream;
}

// A copy of a stream in a file without a name, which can be read again; null with errno set.
FileGuard copyOf(const std::string &path) {
    const FileGuard given = openStream(path);
    if (!given) return nullptr;
    FileGuard copy(std::tmpfile());
    if (!copy || !copyStream(given.get(), copy.get(), INPUT_MAX_BYTES) ||
        std::fseek(copy.get(), 0, SEEK_SET) != 0)
        return nullptr;
    return copy;
}

void tellNoCopy(const std::string &results, const char *reason, ResultsFault *fault) {
    if (fault == nullptr) {
        tellFinding(TELL_FREE_ERROR, "Error loading results file '%s': %s",
                    shownInput(results).c_str(), reason);
        return;
    }
    fault->line = 0;
    std::snprintf(fault->reason, sizeof fault->reason, "%s", reason);
}

// The stream of an output that is no file of its own: standard output, a pipe, a device, an open
// file by its number. -1 for a file, and with errno set when it cannot be opened.
DescriptorGuard openSink(const std::string &path) {
    errno = 0;
    if (path == "-" || path == "/dev/stdout") return standardStream(STDOUT_FILENO);
    constexpr int FLAGS = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY;
    return DescriptorGuard(isStream(path) ? open(path.c_str(), FLAGS) : -1);
}

// Where the report goes: into a file that appears whole, or into memory of the system until it may
// be copied to a stream.
class Target {
public:
    explicit Target(const ReportOrder &order) : order_(order) {}

    // 0 or the errno.
    int begin() {
        sink_.reset(openSink(order_.output).release());
        if (sink_.get() >= 0) {
            copy_.reset(std::tmpfile());
            return copy_ ? 0 : errno;
        }
        if (errno != 0 && errno != ENOENT) return errno;
        return beginReportFile(&file_, order_.output.c_str(), earlier(), sync());
    }
    [[nodiscard]] std::FILE *stream() const { return copy_ ? copy_.get() : file_.stream(); }

    int commit() {
        if (!copy_) return file_.commit(earlier(), sync());
        std::FILE *stream = fdopen(sink_.release(), "a");
        if (stream == nullptr) return errno;
        FileGuard out(stream);
        if (std::fflush(copy_.get()) != 0 || std::fseek(copy_.get(), 0, SEEK_SET) != 0 ||
            !copyStream(copy_.get(), out.get(), SIZE_MAX))
            return errno != 0 ? errno : EIO;
        return closeWritten(&out) ? 0 : EIO;
    }
    void drop() { file_.drop(); }

private:
    [[nodiscard]] PartTarget earlier() const {
        return order_.overwrite ? TARGET_REPLACED : TARGET_KEPT;
    }

    [[nodiscard]] PartSync sync() const { return order_.oneOfMany ? SYNC_LATER : SYNC_NOW; }

    const ReportOrder &order_;
    WholeFile file_;
    DescriptorGuard sink_;
    FileGuard copy_;
};

// Loads the results and merges them; false after a message.
bool fill(const ReportOrder &order, std::FILE *templateFile, std::FILE *report) {
    ResultsGuard results;
    if (!loadResults(order.results, &results)) return false;
    const std::string path = shownInput(order.templateFile);
    const std::string folder(folderOf(path));
    return mergeTemplate(results.get(), templateFile, report, fileNameOf(path).data(), order.format,
                         &kv_urv, order.dict.c_str(),
                         order.reportName.empty() ? nullptr : order.reportName.c_str(),
                         folder.c_str()) == REPORT_OK;
}

bool make(const ReportOrder &order, const FindingList &findings) {
    const FileGuard templateFile = openTemplate(order.templateFile);
    if (!templateFile) {
        tellFinding(TELL_FREE_ERROR, "Error opening template file '%s': %s",
                    shownInput(order.templateFile).c_str(), std::strerror(errno));
        return false;
    }
    Target target(order);
    int error = target.begin();
    if (error != 0) {
        tellFinding(TELL_FREE_ERROR, "Error creating report file '%s': %s", order.output.c_str(),
                    std::strerror(error));
        return false;
    }
    if (!fill(order, templateFile.get(), target.stream())) return false;
    if (order.strict && !findings.empty()) return false;
    error = target.commit();
    if (error != 0)
        tellFinding(TELL_FREE_ERROR, "Error writing report file '%s': %s", order.output.c_str(),
                    std::strerror(error));
    return error == 0;
}

// Of many reports each failure is one line, with the first reason.
void tellFindings(const ReportOrder &order, const FindingList &findings, bool made) {
    if (!order.oneOfMany) {
        std::fputs(findings.logText(!order.quiet || order.strict).c_str(), stderr);
    } else if (!made) {
        const std::string reason = findings.firstReason();
        tellFailure(order.results, reason.empty() ? "see above" : reason);
    }
}

}  // namespace

void tellFailure(const std::string &results, const std::string &reason) {
    static const bool hasBar = isatty(STDERR_FILENO) == 1;  // that stands where the line begins
    std::fprintf(stderr, "%svorn-report: no report of %s: %s\n", hasBar ? "\r\033[K" : "",
                 results.c_str(), reason.c_str());
}

std::string reportNameOf(const std::string &results) {
    const std::string_view name = fileNameOf(results);
    return std::string(name.substr(0, name.find(RESULTS_ENDING)));
}

std::string shownInput(const std::string &path) {
    return path == "-" ? "<stdin>" : path;
}

bool isStream(const std::string &path) {
    struct stat status {};
    return path == "-" || isOpenFile(path) ||
           (stat(path.c_str(), &status) == 0 &&
            (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)));
}

FileGuard openTemplate(const std::string &path) {
    return isStream(path) ? copyOf(path) : openForReading(path.c_str());
}

bool loadResults(const std::string &path, ResultsGuard *results, ResultsFault *fault) {
    FileGuard copy;
    std::string file = path;
    if (isStream(path)) {
        copy = copyOf(path);
        if (!copy) {
            tellNoCopy(path, std::strerror(errno), fault);
            return false;
        }
        file = "/proc/self/fd/" + std::to_string(fileno(copy.get()));
    }
    Results *loaded = nullptr;
    if (loadResultsFile(file.c_str(), &loaded, shownInput(path).c_str(), fault) != RESULTS_OK)
        return false;
    results->reset(loaded);
    return true;
}

bool makeReport(const ReportOrder &order) {
    FindingList findings(FindingUse::LOG);
    if (order.format == RPT_FMT_PDF && order.lang != "en") {
        const std::string text =
            "PDF reports are in English: --lang " + order.lang + " has no effect.";
        findings.add({&ownWarning, "", nullptr, 0, "", text.c_str()});
    }
    const ReportSink sink = {FindingList::take, &findings, false, false, false,
                             noteReportFile,    nullptr};
    reportSink = &sink;
    const bool made = make(order, findings);
    reportSink = nullptr;
    try {
        tellFindings(order, findings, made);
    } catch (const std::bad_alloc &) {  // the report is there, or not, all the same
        std::fputs("vorn-report: no memory to tell the warnings\n", stderr);
    }
    if (order.oneOfMany) return made;
    if (!made && order.strict && !findings.empty() && !findings.hasErrors())
        std::fputs("vorn-report: no report was written: with --strict a warning is an error\n",
                   stderr);
    if (made && !order.quiet)
        std::fprintf(stderr, "vorn-report: wrote %s\n",
                     order.output == "-" ? "the report to standard output" : order.output.c_str());
    return made;
}
