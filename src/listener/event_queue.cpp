// SPDX-License-Identifier: MIT
#include "listener/event_queue.h"

#include <atomic>

#include "kelp/kelp.h"
#include "okra/okra.h"

namespace {

constexpr char QUEUE_NAME[] = "vorn_app";

// Arguments that the libraries' manuals give.
constexpr int QUEUE_FLAGS = 16;
constexpr std::int32_t EVENT_KIND = 1;
constexpr std::uint32_t EVENT_MASK = 0xFFFFFFFF;

std::atomic<std::int32_t> queueId{-1};

}  // namespace

bool openEventQueue() {
    const std::int32_t id = kelp_get_queue(QUEUE_NAME, QUEUE_FLAGS);
    if (id < 0) return false;
    queueId = id;
    return true;
}

bool subscribeToEvents() {
    return APX_Subscribe_Events(queueId, EVENT_KIND, EVENT_MASK) == 0;
}

std::int32_t kelpQueueId() {
    return queueId;
}
