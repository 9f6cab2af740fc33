// SPDX-License-Identifier: MIT
#include "report/plugins.h"

#include <cstdlib>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "base/guards.h"
#include "storage/strings.h"

TEST(Plugins, LetACancelledThreadGo) {
    const HeapGuard<TemplateContext> ctx(
        static_cast<TemplateContext *>(std::calloc(1, sizeof(TemplateContext))));
    ctx->plugins[0].handle = dlopen(VORN_TEST_PLUGIN_DIR "/throwing.so", RTLD_NOW);
    ctx->pluginCount = 1;
    copyPiece(ctx->plugins[0].name, "t");
    pthread_t thread;
    const auto call = [](void *argument) -> void * {
        ItemValue value{};
        callPlugin(static_cast<TemplateContext *>(argument), "t.cancelThread(a:1)", &value);
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, call, ctx.get()), 0);
    void *result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    unloadPlugins(ctx.get());
}
