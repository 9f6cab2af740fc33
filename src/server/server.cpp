// SPDX-License-Identifier: MIT
// Set-up and run loop of the client command server.
#include "server/server.h"

#include "core/options.h"
#include "dmon/dmon.h"
#include "nx/nx.h"
#include "report/user_vars.h"
#include "server/requests.h"

namespace {

constexpr int CLIENTS_AT_ONCE = 10;
constexpr int NOT_CREATED = -1;

}  // namespace

int serverRequestCallback(void * /*library1*/, void * /*library2*/, const PktMessage *request,
                          PktMessage *reply) {
    if (request == nullptr) return CALLBACK_NO_MESSAGE;
    const Request *known = findRequest(request->type);
    return known == nullptr ? CALLBACK_UNKNOWN_CODE : known->handle(request, reply);
}

int runVornServer() {
    initUserVars();
    NxConfig config{};
    config.port = SERVICE_PORT;
    config.connections = CLIENTS_AT_ONCE;
    config.setting40 = 256;
    config.setting44 = 1;
    config.callback = serverRequestCallback;
    static NxServer server;  // in use for as long as the process lives
    int code = nx_create_server(&server, &config);
    if (code != 0) {
        dmon_log(1, "Error creating client listener: %s\n", nx_strerror(code));
        return NOT_CREATED;
    }
    dmon_log(1, "vorn " VORN_VERSION " takes clients on port %d; configuration file '%s'.\n",
             nx_server_port != nullptr ? nx_server_port(&server) : SERVICE_PORT, opt_cfgfile);
    dmon_log(2, "Listening to clients on port %d...\n", SERVICE_PORT);
    for (;;) {
        code = nx_run_server(&server);
        if (code != 0) {
            dmon_log(1, "Error in client listener: %s. Retrying...\n", nx_strerror(code));
        }
    }
}
