// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vorn/plugin.h"

namespace {

std::string discarded;

// A queue of characters with keys; what it discards itself is noted in `discarded`.
class Queue {
public:
    explicit Queue(int maxElems = 0, std::uint32_t flags = 0) {
        EXPECT_EQ(mqInitFlags(
                      &mq, maxElems, [](void *c) { discarded += *static_cast<char *>(c); }, flags),
                  MQ_OK);
        discarded.clear();
    }
    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;
    ~Queue() { EXPECT_EQ(mqFree(&mq), 0); }

    int put(char item, std::uint32_t key = 0) {
        return mqPut(&mq, &letters[item - 'a'], static_cast<std::uint32_t>(item), key, 5);
    }
    int unget(char item) { return mqUnget(&mq, &letters[item - 'a'], 0, 0); }
    // Takes an item without waiting: its character, '-' for none.
    char get(std::uint32_t *selector = nullptr) {
        std::uint32_t type = 1;
        const void *data = mqGet(&mq, selector, &type, VORN_NO_WAIT);
        if (data == nullptr) {
            EXPECT_EQ(type, 0u);
            return '-';
        }
        return *static_cast<const char *>(data);
    }
    // Takes all that is left.
    std::string drain() {
        std::string all;
        for (char item = get(); item != '-'; item = get()) all += item;
        EXPECT_EQ(mqNumElems(&mq), 0);
        return all;
    }

    MsgQueue mq;

private:
    char letters[27] = "abcdefghijklmnopqrstuvwxyz";
};

}  // namespace

TEST(MsgQueue, HandsItemsOutInOrderWithTheirTypeUpToItsCapacity) {
    Queue q(3);
    for (const char c : {'a', 'b', 'c'}) EXPECT_EQ(q.put(c), MQ_OK);
    EXPECT_EQ(q.put('d'), MQ_FULL);
    EXPECT_EQ(q.unget('e'), MQ_OK);
    EXPECT_EQ(mqNumElems(&q.mq), 4);
    EXPECT_EQ(q.drain(), "eabc");
}

TEST(MsgQueue, SelectsByKey) {
    Queue q;
    for (const char c : {'a', 'b', 'c', 'd'}) q.put(c, c == 'b' || c == 'c' ? 3 : 1);
    std::uint32_t selector = 3;
    EXPECT_EQ(q.get(&selector), 'b');
    selector = 0;
    EXPECT_EQ(q.get(&selector), 'a');
    EXPECT_EQ(selector, 1u);
    EXPECT_EQ(q.get(&selector), 'd');
    EXPECT_EQ(q.get(&selector), '-');
    EXPECT_EQ(q.drain(), "c");
}

TEST(MsgQueue, MatchesDiscardsAndFlushes) {
    Queue q(0, MQ_RECURSIVE);
    for (const char c : {'a', 'b', 'c', 'd', 'e', 'f'}) q.put(c);
    const auto isOdd = [](std::uint32_t type, std::uint32_t, void *, void *stopAt) -> std::int32_t {
        if (stopAt != nullptr && type == *static_cast<std::uint32_t *>(stopAt))
            return KV_MATCH_STOP;
        return type % 2 != 0 ? KV_MATCH_GO_ON : KV_NO_MATCH;
    };
    std::uint32_t stopAt = 'd';
    EXPECT_EQ(mqCondDel(&q.mq, isOdd, &stopAt), 3);
    EXPECT_EQ(discarded, "acd");
    EXPECT_EQ(
        mqPop(&q.mq, [](void *c) { discarded += std::string("pop ") + *static_cast<char *>(c); }),
        1);
    EXPECT_EQ(discarded, "acdpop b");
    mqFlush(&q.mq);
    EXPECT_EQ(discarded, "acdpop bef");
    EXPECT_EQ(mqPop(&q.mq, nullptr), 0);
    EXPECT_EQ(mqPut(&q.mq, std::malloc(1), 0, 0, 0), MQ_OK);
    EXPECT_EQ(mqPop(&q.mq, nullptr), 1);  // null means free
}
