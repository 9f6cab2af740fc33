// SPDX-License-Identifier: MIT
// Runs the service: always in the foreground, since going to the background is the service
// manager's job.
#include <cstring>
#include <string_view>

#include <signal.h>
#include <unistd.h>

#include "base/numbers.h"
#include "dmon/control_server.h"
#include "dmon/control_socket.h"
#include "dmon/dmon.h"
#include "dmon/log_end.h"
#include "dmon/notify.h"

namespace {

struct CommandLine {
    int level;  // debug level
    bool runs;  // false: the service prints help or an error, and ends
};

// By the service's own rule: options end at the first plain word, -c and -D take the word after
// them.
CommandLine readCommandLine(int argc, char **argv) {
    CommandLine line = {dmon_level(), true};
    for (int i = 1; i < argc && argv[i][0] == '-'; ++i) {
        const std::string_view option = argv[i];
        if (option == "-f") continue;
        line.runs = (option == "-c" || option == "-D") && i + 1 < argc;
        if (!line.runs) break;
        ++i;
        if (option == "-D") line.level = toInt32(argv[i]);
    }
    return line;
}

// The service has no way to be asked to end, and may wait for its peers without limit: what it must
// not leave half done it writes so that it can be interrupted. Called by signals too.
void endProcess(const char *why) {
    dmon::logEnd(why);
    dmon::notifyStopping();
    dmon::removeControlSocket();
    _exit(0);
}

void handleSignals() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    // SIGXFSZ: a file above the size limit is a write that fails.
    for (const int ignored : {SIGPIPE, SIGHUP, SIGXFSZ}) sigaction(ignored, &action, nullptr);
    action.sa_handler = [](int signal) {
        endProcess(signal == SIGTERM ? "Stopped by SIGTERM." : "Stopped by SIGINT.");
    };
    for (const int ending : {SIGTERM, SIGINT}) sigaction(ending, &action, nullptr);
    // They end the process also when whoever started it had them blocked.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGTERM);
    sigaddset(&endings, SIGINT);
    pthread_sigmask(SIG_UNBLOCK, &endings, nullptr);
}

}  // namespace

int dmon_run_daemon(DmonBody body, int argc, char **argv, const DmonOps *ops) {
    const CommandLine line = readCommandLine(argc, argv);
    dmon_set_level(line.level);
    handleSignals();
    // Help is for everybody, also beside a service that runs.
    if (!line.runs) return body(argc, argv);

    dmon::openNotify();
    const int listener = dmon::openControlSocket();
    if (listener < 0) return -1;
    dmon::ControlServer server;
    const int error =
        dmon::startControlServer(&server, ops, listener, [] { endProcess("Stopped on request."); });
    if (error != 0) {
        dmon_log(1, "Error: cannot serve the control socket: %s\n", std::strerror(error));
        dmon::removeControlSocket();
        return -1;
    }
    const int result = body(argc, argv);
    dmon::stopControlServer(&server);
    dmon::removeControlSocket();
    return result;
}
