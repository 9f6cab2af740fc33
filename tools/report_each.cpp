// SPDX-License-Identifier: MIT
#include "report_each.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guards.h"
#include "output/dump_backend.h"

namespace {

namespace fs = std::filesystem;

// What the processes share. None waits for another.
struct Progress {
    std::atomic<std::uint32_t> next;  // results file to take
    std::atomic<std::uint32_t> tried;
    std::atomic<std::uint32_t> made;
};

void makeOne(const ReportOrder &whole, const std::string &results, Progress *progress) {
    ReportOrder order = whole;
    order.results = results;
    const std::string name = reportNameOf(results);
    if (order.ownName) order.reportName = name;
    order.output =
        (fs::path(whole.output) / name).string() + (whole.format == RPT_FMT_PDF ? ".pdf" : ".txt");
    if (makeReport(order))
        ++progress->made;
    else
        std::fprintf(stderr, "vorn-report: no report of %s\n", results.c_str());
    ++progress->tried;
}

void work(const ReportOrder &order, const std::vector<std::string> &results, Progress *progress) {
    for (;;) {
        const std::uint32_t mine = progress->next++;
        if (mine >= results.size()) return;
        makeOne(order, results[mine], progress);
    }
}

void showBar(const Progress &progress, std::size_t total) {
    constexpr std::size_t WIDTH = 40;
    const std::size_t filled = total == 0 ? WIDTH : progress.tried * WIDTH / total;
    std::fprintf(stderr, "\r[%s%s] %u of %zu", std::string(filled, '#').c_str(),
                 std::string(WIDTH - filled, '.').c_str(), progress.tried.load(), total);
}

void waitForWorkers(const Progress &progress, std::size_t total, unsigned workers) {
    const bool terminal = isatty(STDERR_FILENO) == 1;
    while (workers > 0) {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, terminal ? WNOHANG : 0);
        if (ended > 0) {
            --workers;
            if (!WIFEXITED(status))
                std::fprintf(stderr, "vorn-report: a process was ended by signal %d\n",
                             WTERMSIG(status));
        } else if (ended < 0 && errno != EINTR) {
            break;
        }
        if (!terminal) continue;
        showBar(progress, total);
        if (ended == 0) usleep(100'000);
    }
    if (terminal) std::fputs("\n", stderr);
}

// Brings all that was written to the disk at once.
bool syncFolder(const std::string &folder) {
    const DescriptorGuard opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.get() >= 0 && syncfs(opened.get()) == 0;
}

}  // namespace

bool makeEach(const ReportOrder &order, const std::vector<std::string> &results, unsigned jobs) {
    std::error_code error;
    fs::create_directories(order.output, error);
    void *shared =
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        std::perror("vorn-report");
        return false;
    }
    auto *progress = new (shared) Progress{};
    unsigned workers = 0;
    while (workers < jobs) {
        const pid_t child = fork();
        if (child == 0) {
            work(order, results, progress);
            _exit(0);
        }
        if (child < 0) break;
        ++workers;
    }
    if (workers == 0) work(order, results, progress);
    waitForWorkers(*progress, results.size(), workers);
    const std::size_t made = progress->made;
    munmap(shared, sizeof(Progress));
    const bool synced = syncFolder(order.output);
    if (!synced)
        std::fprintf(stderr, "vorn-report: %s: %s\n", order.output.c_str(), std::strerror(errno));
    std::fprintf(stderr, "vorn-report: %zu of %zu reports were made in %s\n", made, results.size(),
                 order.output.c_str());
    return synced && made == results.size();
}

std::vector<std::string> readNames(bool endedByNul) {
    std::vector<std::string> names;
    for (std::string name; std::getline(std::cin, name, endedByNul ? '\0' : '\n');)
        if (!name.empty()) names.push_back(name);
    return names;
}
