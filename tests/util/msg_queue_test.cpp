// SPDX-License-Identifier: MIT
// The message queue within one thread; plug-ins' tests wait in it and share it.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "vorn/plugin.h"

namespace {

std::string discarded;

// A queue of characters with keys; what it discards itself is noted in `discarded`.
class Queue {
public:
    explicit Queue(int maxElems = 0, std::uint32_t flags = 0) {
        const auto note = [](void *c) { discarded += *static_cast<char *>(c); };
        EXPECT_EQ(mqInitFlags(&mq, maxElems, note, flags), MQ_OK);
        discarded.clear();
    }
    ~Queue() { EXPECT_EQ(mqFree(&mq), 0); }

    int put(char item, std::uint32_t key = 0) {
        return mqPut(&mq, &letters[item - 'a'], static_cast<std::uint32_t>(item), key, 5);
    }
    // Takes an item without waiting: its character, '-' for none.
    char get(std::uint32_t *selector = nullptr) {
        std::uint32_t type = 1;
        const void *data = mqGet(&mq, selector, &type, VORN_NO_WAIT);
        const char item = data == nullptr ? '-' : *static_cast<const char *>(data);
        EXPECT_EQ(type, data == nullptr ? 0u : static_cast<std::uint32_t>(item));
        return item;
    }

    MsgQueue mq;
    char letters[7] = "abcdef";
};

}  // namespace

TEST(MsgQueue, HandsItemsOutInOrderByKeyUpToItsCapacity) {
    Queue q(3);
    EXPECT_EQ(q.put('a', 1), MQ_OK);
    for (const char c : {'b', 'c'}) EXPECT_EQ(q.put(c, 3), MQ_OK);
    EXPECT_EQ(q.put('d'), MQ_FULL);
    EXPECT_EQ(mqUnget(&q.mq, &q.letters[4], 'e', 1), MQ_OK);
    EXPECT_EQ(mqNumElems(&q.mq), 4);
    std::uint32_t selector = 3;
    EXPECT_EQ(q.get(&selector), 'b');
    selector = 0;
    EXPECT_EQ(q.get(&selector), 'e');
    EXPECT_EQ(selector, 1u);
    EXPECT_EQ(q.get(&selector), 'a');
    EXPECT_EQ(q.get(&selector), '-');
    EXPECT_EQ(q.get(), 'c');
}

TEST(MsgQueue, MatchesDiscardsAndFlushes) {
    Queue q(0, MQ_RECURSIVE);
    for (const char c : {'a', 'b', 'c', 'd', 'e', 'f'}) q.put(c);
    const auto isOdd = [](std::uint32_t type, std::uint32_t, void *, void *stopAt) -> std::int32_t {
        if (type == *static_cast<std::uint32_t *>(stopAt)) return KV_MATCH_STOP;
        return type % 2 != 0 ? KV_MATCH_GO_ON : KV_NO_MATCH;
    };
    std::uint32_t stopAt = 'd';
    EXPECT_EQ(mqCondDel(&q.mq, isOdd, &stopAt), 3);
    EXPECT_EQ(discarded, "acd");
    EXPECT_EQ(
        mqPop(&q.mq, [](void *c) { discarded += std::string("pop ") + *static_cast<char *>(c); }),
        1);
    mqFlush(&q.mq);
    EXPECT_EQ(discarded, "acdpop bef");
    EXPECT_EQ(mqPop(&q.mq, nullptr), 0);
    EXPECT_EQ(mqPut(&q.mq, std::malloc(1), 0, 0, 0), MQ_OK);
    EXPECT_EQ(mqPop(&q.mq, nullptr), 1);  // null means free
}
