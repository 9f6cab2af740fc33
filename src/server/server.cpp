// SPDX-License-Identifier: MIT
// Set-up and run loop of the client command server, and the table of its requests.
#include "server/server.h"

#include <cstddef>
#include <iterator>

#include "dmon/dmon.h"
#include "nx/nx.h"
#include "report/user_vars.h"
#include "server/requests.h"

namespace {

constexpr std::uint16_t PORT = 55000;
constexpr int CLIENTS_AT_ONCE = 10;
constexpr int NOT_CREATED = -1;

struct Request {
    RequestCode code;
    int (*handle)(const PktMessage *request, PktMessage *reply);
};

constexpr Request requests[] = {
    {REQ_ADD_SUBS, srvAddSubscription},     {REQ_REMOVE_SUBS, srvRemoveSubscription},
    {REQ_SET_QUOTA, srvSetQuota},           {REQ_SET_URV, srvSetUserVars},
    {REQ_MAKE_REPORT, srvMakeReport},       {REQ_SET_LANG, srvSetLangId},
    {REQ_SET_AUTOREPORT, srvSetAutoreport}, {REQ_SET_AUTOSEQ, srvSetAutoSequence},
    {REQ_GET_AUTOSEQ, srvGetAutoSequence},  {REQ_SET_TEMPLATE, srvSetTemplate},
    {REQ_SET_FULLACTION, srvSetFullAction}, {REQ_GET_NUMFILES, srvGetNumFiles},
    {REQ_SET_AUTOSAVE, srvSetAutosave},     {REQ_DELETE_ALL, srvDeleteAllFiles},
};

constexpr bool codesAscend() {
    for (std::size_t i = 1; i < std::size(requests); ++i)
        if (requests[i - 1].code >= requests[i].code) return false;
    return true;
}
static_assert(codesAscend());

}  // namespace

int serverRequestCallback(void * /*library1*/, void * /*library2*/, const PktMessage *request,
                          PktMessage *reply) {
    if (request == nullptr) return SRV_NO_MESSAGE;
    for (const Request &known : requests)
        if (known.code == request->type) return known.handle(request, reply);
    return SRV_UNKNOWN_CODE;
}

int runVornServer() {
    initUserVars();
    NxConfig config{};
    config.port = PORT;
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
    dmon_log(2, "Listening to clients on port %d...\n", PORT);
    for (;;) {
        code = nx_run_server(&server);
        if (code != 0) {
            dmon_log(1, "Error in client listener: %s. Retrying...\n", nx_strerror(code));
        }
    }
}
