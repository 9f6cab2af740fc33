// SPDX-License-Identifier: MIT
// A plug-in whose functions leave by other ways than their end.
#include <cstdlib>
#include <stdexcept>

#include <pthread.h>

#include "vorn/plugin.h"

extern "C" {

// Throws when it has arguments.
void *startOrThrow(const Results *, const TemplateParam *arguments, DictResolver *) {
    if (arguments != nullptr) throw std::runtime_error("no start");
    return nullptr;
}

// Leaves data behind that is the engine's.
int32_t throwNumber(void *, const TemplateParam *, ItemValue *value) {
    value->type = VORN_TYPE_INT32;
    value->data = std::calloc(1, sizeof(int32_t));
    value->flags = VORN_VALUE_OWNED;
    throw 7;
}

int32_t cancelThread(void *, const TemplateParam *, ItemValue *) {
    pthread_cancel(pthread_self());
    pthread_testcancel();
    return 0;
}

void throwAtEnd(void *, const TemplateParam *) {
    throw std::runtime_error("no end");
}
}
