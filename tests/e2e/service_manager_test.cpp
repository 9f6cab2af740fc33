// SPDX-License-Identifier: MIT
// What the service tells the service manager that started it.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "base/guards.h"
#include "support/service_run.h"

namespace {

// The next datagram; empty when none comes within ten seconds.
std::string nextState(int socket) {
    char text[512];
    const ssize_t length = recv(socket, text, sizeof text, 0);
    return {text, static_cast<std::size_t>(length > 0 ? length : 0)};
}

TEST(ServiceManager, IsToldStatusReadinessLifeAndEndAtAPathOrAnAbstractName) {
    for (const bool abstract : {false, true}) {
        ServiceRun run;
        const std::string path = run.root.path("notify");
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size());
        if (abstract) address.sun_path[0] = '\0';
        const DescriptorGuard manager(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
        const timeval limit = {10, 0};
        setsockopt(manager.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
        ASSERT_EQ(bind(manager.get(), reinterpret_cast<const sockaddr *>(&address), size), 0);

        setenv("NOTIFY_SOCKET", abstract ? ("@" + path.substr(1)).c_str() : path.c_str(), 1);
        setenv("WATCHDOG_USEC", "200000", 1);
        run.start();
        std::string state = "STATUS=Server is running OK.";  // until it asks its peers
        while (state == "STATUS=Server is running OK.") state = nextState(manager.get());
        EXPECT_EQ(state, "STATUS=KELP server is not ready. Retrying...");
        run.sim({"up"});
        bool ready = false;
        int meals = 0;
        for (; !state.empty() && meals < 3; state = nextState(manager.get())) {
            ready = ready || state == "READY=1";
            if (state == "WATCHDOG=1") ++meals;
            EXPECT_TRUE(ready || meals == 0);
        }
        EXPECT_EQ(meals, 3);
        EXPECT_EQ(run.request(258, 0, 0, {"x"}).type, 256);
        EXPECT_EQ(run.stop(), 0);
        while (state != "STOPPING=1" && !state.empty()) state = nextState(manager.get());
        EXPECT_EQ(state, "STOPPING=1");
        unsetenv("NOTIFY_SOCKET");
        unsetenv("WATCHDOG_USEC");
    }
}

}  // namespace
