// SPDX-License-Identifier: MIT
#include "report/user_vars.h"

#include <cstring>

#include "base/guards.h"
#include "storage/strings.h"

KvStore kv_urv;

namespace {

pthread_once_t initOnce = PTHREAD_ONCE_INIT;
std::int32_t initResult;

struct CopyRequest {
    const char *name;
    char *out;
    std::size_t size;
};

// Copies the text of the variable that is asked for, while the store holds its lock.
std::int32_t copyIfNamed(const char *key, void *value, void *argument) {
    const auto *request = static_cast<const CopyRequest *>(argument);
    if (std::strcmp(key, request->name) != 0) return KV_NO_MATCH;
    safe_strncpy(request->out, static_cast<const char *>(value), request->size);
    return KV_MATCH_STOP;
}

}  // namespace

int initUserVars() {
    pthread_once(&initOnce, [] { initResult = kvInit(&kv_urv, 0, nullptr); });
    return initResult;
}

int setUserVar(KvStore *store, const char *name, const char *text) {
    HeapGuard<char> copy(strdup(text));
    if (!copy) return KV_FULL;
    const std::int32_t result = kvReplace(store, name, copy.get());
    // The store owns the copy only when it took it.
    if (result == KV_OK) static_cast<void>(copy.release());
    return result;
}

bool copyUserVar(KvStore *store, const char *name, char *out, std::size_t size) {
    CopyRequest request{name, out, size};
    *out = '\0';
    return kvCondGet(store, copyIfNamed, &request) != nullptr;
}
