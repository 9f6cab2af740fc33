// SPDX-License-Identifier: MIT
#include "report_each.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guards.h"
#include "base/whole_file.h"
#include "output/dump_backend.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t NO_REPORT = UINT32_MAX;

enum Outcome : std::uint8_t { OUTCOME_OPEN = 0, OUTCOME_MADE, OUTCOME_TOLD };

// What every process works on. What they share has no count that one which is ended at any place
// could leave wrong, and none waits for another.
struct Batch {
    const ReportOrder &order;
    const std::vector<std::string> &results;
    const std::vector<std::string> &names;  // of the reports; empty: none is made, as was told
    std::atomic<std::uint32_t> *next;       // results file to take
    std::atomic<std::uint32_t> *taken;      // last, by process
    std::atomic<std::uint8_t> *outcomes;    // by results file: Outcome
};

std::size_t countOutcome(const Batch &batch, Outcome outcome) {
    return static_cast<std::size_t>(
        std::count(batch.outcomes, batch.outcomes + batch.results.size(), outcome));
}

void makeOne(const Batch &batch, std::size_t index) {
    ReportOrder order = batch.order;
    order.results = batch.results[index];
    if (order.ownName) order.reportName = batch.names[index];
    order.output = (fs::path(batch.order.output) / batch.names[index]).string() + '.' +
                   reportFormatWords[order.format];
    batch.outcomes[index] = makeReport(order) ? OUTCOME_MADE : OUTCOME_TOLD;
}

void work(const Batch &batch, std::size_t process) {
    for (;;) {
        const std::uint32_t mine = (*batch.next)++;
        if (mine >= batch.results.size()) break;
        batch.taken[process] = mine;
        if (!batch.names[mine].empty()) makeOne(batch, mine);
    }
    batch.taken[process] = NO_REPORT;
}

// Starts a process, which ends with this one; -1 when there can be none.
pid_t startWorker(const Batch &batch, std::size_t process) {
    batch.taken[process] = NO_REPORT;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0) return child;
    if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) _exit(1);
    work(batch, process);
    _exit(0);
}

void showBar(const Batch &batch) {
    constexpr std::size_t WIDTH = 40;
    const std::size_t total = batch.results.size();
    const std::size_t tried = total - countOutcome(batch, OUTCOME_OPEN);
    const std::size_t filled = total == 0 ? WIDTH : tried * WIDTH / total;
    std::fprintf(stderr, "\r[%s%s] %zu of %zu", std::string(filled, '#').c_str(),
                 std::string(WIDTH - filled, '.').c_str(), tried, total);
}

void tellOpen(const Batch &batch, std::size_t index, const std::string &reason) {
    if (batch.outcomes[index] != OUTCOME_OPEN) return;
    batch.outcomes[index] = OUTCOME_TOLD;
    tellFailure(batch.results[index], reason);
}

std::string howEnded(int status) {
    if (!WIFSIGNALED(status)) return "its process ended early";
    return std::string("its process was ended by ") + strsignal(WTERMSIG(status));
}

// Waits until all processes have ended; another takes the place of one that failed on a report.
void waitForWorkers(const Batch &batch, std::vector<pid_t> *workers) {
    const bool terminal = isatty(STDERR_FILENO) == 1;
    for (std::size_t left = workers->size(); left > 0;) {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, terminal ? WNOHANG : 0);
        if (ended < 0 && errno != EINTR) break;
        const auto worker = std::find(workers->begin(), workers->end(), ended);
        if (ended > 0 && worker != workers->end()) {
            const auto process = static_cast<std::size_t>(worker - workers->begin());
            const std::uint32_t taken = batch.taken[process];
            const bool failed = taken != NO_REPORT;  // from outside, as by a plug-in's fault
            if (failed) tellOpen(batch, taken, howEnded(status));
            *worker = failed ? startWorker(batch, process) : -1;
            if (*worker < 0) --left;
        }
        if (!terminal) continue;
        showBar(batch);
        if (ended == 0) usleep(100'000);
    }
    if (terminal) std::fputs("\n", stderr);
}

void makeAll(const Batch &batch, unsigned jobs) {
    std::vector<pid_t> workers;
    while (workers.size() < jobs) {
        const pid_t child = startWorker(batch, workers.size());
        if (child < 0) break;
        workers.push_back(child);
    }
    if (workers.empty()) work(batch, 0);
    waitForWorkers(batch, &workers);
    for (std::size_t i = 0; i < batch.results.size(); ++i)
        tellOpen(batch, i, "no process was left to make it");
}

// The names of the reports. Of two results files of one name the second gets none: which of the
// reports were whose, nobody could tell.
std::vector<std::string> reportNames(const std::vector<std::string> &results) {
    std::map<std::string, std::size_t> takers;
    std::vector<std::string> names;
    for (const std::string &path : results) {
        const std::string name = reportNameOf(path);
        const auto [taker, isNew] = takers.emplace(name, names.size());
        if (name.empty())
            tellFailure(path, "its report would have no name");
        else if (!isNew)
            tellFailure(path,
                        "its report would have the name of that of " + results[taker->second]);
        names.push_back(isNew ? name : "");
    }
    return names;
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
    if (error) {
        std::fprintf(stderr, "vorn-report: %s: %s\n", order.output.c_str(),
                     error.message().c_str());
        return false;
    }
    const std::size_t size = (1 + jobs) * sizeof(std::atomic<std::uint32_t>) + results.size();
    void *shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        std::perror("vorn-report");
        return false;
    }
    auto *next = static_cast<std::atomic<std::uint32_t> *>(shared);
    auto *outcomes = reinterpret_cast<std::atomic<std::uint8_t> *>(next + 1 + jobs);
    const std::vector<std::string> names = reportNames(results);
    const Batch batch = {order, results, names, next, next + 1, outcomes};
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i].empty()) outcomes[i] = OUTCOME_TOLD;
    makeAll(batch, jobs);
    const std::size_t made = countOutcome(batch, OUTCOME_MADE);
    munmap(shared, size);
    if (made < results.size()) removeLeftParts(order.output.c_str());
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
