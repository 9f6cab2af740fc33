// SPDX-License-Identifier: MIT
#include "support/program.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guards.h"
#include "support/log_capture.h"

namespace {

[[noreturn]] void become(const std::vector<std::string> &words, const std::string &workDir, int out,
                         int err) {
    std::vector<char *> argv;
    argv.reserve(words.size() + 1);
    for (const std::string &word : words) argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    setenv("TZ", "UTC", 1);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    if (workDir.empty() || chdir(workDir.c_str()) == 0) execvp(argv.front(), argv.data());
    _exit(127);
}

std::string takeFile(int file) {
    const DescriptorGuard guard(file);
    return wholeFile(file);
}

}  // namespace

Outcome runProgram(const std::vector<std::string> &words, const std::string &workDir) {
    const int out = memfd_create("out", MFD_CLOEXEC);
    const int err = memfd_create("err", MFD_CLOEXEC);
    const pid_t child = fork();
    if (child == 0) become(words, workDir, out, err);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), takeFile(out),
            withoutStamps(takeFile(err))};
}
