// SPDX-License-Identifier: MIT
// The keyed store of vorn/plugin.h: its lock and the signal word on which threads wait.
#include "base/guards.h"
#include "util/waiting.h"
#include "vorn/plugin.h"

namespace {

std::int32_t waitForWord(KvStore *store, std::uint32_t *word, const WaitLimit &limit) {
    if (store == nullptr) return KV_BAD_ARG;
    std::uint32_t taken = 0;
    {
        const MutexGuard lock = lockForWork(&store->lock);
        while (store->signal == 0)
            if (!waitOnce(&store->cond, &store->lock, limit)) break;
        taken = store->signal;
        store->signal = 0;
    }
    if (word != nullptr) *word = taken;
    return taken != 0 ? KV_OK : KV_TIMEOUT;
}

}  // namespace

std::int32_t kvSignal(KvStore *store, std::uint32_t word) {
    return kvSignalMask(store, word, KV_SIGNAL_SET);
}

std::int32_t kvSignalMask(KvStore *store, std::uint32_t bits, std::uint32_t operation) {
    if (store == nullptr || bits == 0) return KV_BAD_ARG;
    const MutexGuard lock = lockForWork(&store->lock);
    if (operation == KV_SIGNAL_SET)
        store->signal = bits;
    else if (operation == KV_SIGNAL_OR)
        store->signal |= bits;
    else if (operation == KV_SIGNAL_AND)
        store->signal &= bits;
    pthread_cond_signal(&store->cond);
    return KV_OK;
}

std::int32_t kvWait(KvStore *store, std::uint32_t *word, std::uint32_t seconds) {
    return waitForWord(store, word, limitOfSeconds(seconds));
}

std::int32_t kvWaitms(KvStore *store, std::uint32_t *word, std::uint32_t milliseconds) {
    return waitForWord(store, word, limitOfMilliseconds(milliseconds));
}

std::int32_t kvWaitAbs(KvStore *store, std::uint32_t *word, const struct timespec *deadline) {
    if (deadline == nullptr) return KV_BAD_ARG;
    return waitForWord(store, word, {WaitKind::UNTIL, *deadline});
}

std::int32_t kvLock(KvStore *store) {
    return store == nullptr ? std::int32_t{KV_BAD_ARG} : pthread_mutex_lock(&store->lock);
}

std::int32_t kvUnlock(KvStore *store) {
    return store == nullptr ? std::int32_t{KV_BAD_ARG} : pthread_mutex_unlock(&store->lock);
}
