// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "base/guards.h"
#include "vorn/plugin.h"

namespace {

int freed;

void countAndFree(void *value) {
    ++freed;
    std::free(value);
}

void *number(int value) {
    void *made = std::malloc(sizeof value);
    std::memcpy(made, &value, sizeof value);
    return made;
}

int valueOf(const void *value) {
    return value == nullptr ? -1 : *static_cast<const int *>(value);
}

// A store that counts in `freed` what it frees.
class Store {
public:
    explicit Store(int maxElems = 0, std::uint32_t flags = 0) {
        EXPECT_EQ(kvInitFlags(&kv, maxElems, countAndFree, flags), KV_OK);
        freed = 0;
    }
    ~Store() { kvFree(&kv); }

    // Adds a value, or calls `put` with it; one that the store refuses is freed.
    int add(const char *key, int value, decltype(&kvAdd) put = kvAdd) {
        void *made = number(value);
        const int result = put(&kv, key, made);
        if (result != KV_OK) std::free(made);
        return result;
    }

    // "key=value " of each element, walked forwards; the walk backwards must agree.
    [[nodiscard]] std::string text() const {
        std::string forwards;
        std::string backwards;
        const auto word = [](const KvElem *e) {
            return std::string(e->key) + "=" + std::to_string(valueOf(e->value)) + " ";
        };
        for (const KvElem *e = kv.first; e != nullptr; e = e->next) forwards += word(e);
        for (const KvElem *e = kv.last; e != nullptr; e = e->prev) backwards = word(e) + backwards;
        EXPECT_EQ(forwards, backwards);
        EXPECT_EQ(std::count(forwards.begin(), forwards.end(), '='), kv.count);
        return forwards;
    }

    KvStore kv;
};

std::int32_t byNumber(const void *a, const void *b, void *) {
    if (valueOf(a) == valueOf(b)) return KV_EQUAL;
    return valueOf(a) > valueOf(b) ? KV_AFTER : KV_BEFORE;
}

}  // namespace

TEST(KvStore, KeepsOneValueAKeyInOrderUpToItsCapacity) {
    Store s(2);
    EXPECT_EQ(s.add("a", 1), KV_OK);
    EXPECT_EQ(s.add("b", 2), KV_OK);
    EXPECT_EQ(s.add("a", 3), KV_EXISTS);  // also when full
    EXPECT_EQ(s.add("c", 3), KV_FULL);
    EXPECT_EQ(s.add("c", 3, kvReplace), KV_FULL);
    EXPECT_EQ(freed, 0);
    EXPECT_EQ(s.add("a", 4, kvReplace), KV_OK);
    EXPECT_EQ(freed, 1);
    EXPECT_EQ(kvReplace(&s.kv, "a", kvGet(&s.kv, "a")), KV_OK);  // the same value stays alive
    EXPECT_EQ(s.text(), "a=4 b=2 ");
    EXPECT_EQ(kvDel(&s.kv, "B"), KV_NOT_FOUND);
    EXPECT_EQ(kvDel(&s.kv, nullptr), KV_OK);
    EXPECT_EQ(kvDel(nullptr, "b"), KV_BAD_ARG);
    EXPECT_EQ(s.add("c", 3), KV_OK);
    EXPECT_EQ(s.text(), "b=2 c=3 ");
    kvFlush(&s.kv);
    EXPECT_EQ(s.text(), "");
    EXPECT_EQ(freed, 4);
    EXPECT_EQ(kvInit(nullptr, 2, nullptr), KV_BAD_ARG);
    EXPECT_EQ(s.add(std::string(70, 'k').c_str(), 1), KV_OK);  // 64 characters are kept
    EXPECT_EQ(kvGet(&s.kv, std::string(65, 'k').c_str()), nullptr);
    EXPECT_EQ(valueOf(kvGet(&s.kv, std::string(64, 'k').c_str())), 1);
}

TEST(KvStore, SurvivesWhatItsCallbacksDoToItWhenRecursive) {
    static Store *store;
    static std::string doomed;  // keys that the callback for "b" deletes; "*" flushes
    const auto change = [](const char *key, void *, void *) -> std::int32_t {
        if (*key != 'b') return KV_MATCH_GO_ON;
        if (doomed == "*") kvFlush(&store->kv);  // the key is gone from here on
        for (const char c : doomed) kvDel(&store->kv, std::string(1, c).c_str());
        return KV_MATCH_GO_ON;
    };
    const auto takeB = [](const char *key, void *, void *) -> std::int32_t {
        if (*key != 'b') return KV_NO_MATCH;
        kvDel(&store->kv, key);
        kvDel(&store->kv, "c");
        return KV_MATCH_STOP;
    };
    const auto dropA = [](const void *a, const void *, void *) -> std::int32_t {
        if (valueOf(a) == 1) kvDel(&store->kv, "a");
        return KV_EQUAL;
    };
    const auto dropSecond = [](const void *, const void *b, void *) -> std::int32_t {
        if (valueOf(b) == 3) kvDel(&store->kv, "c");
        return KV_EQUAL;
    };
    const struct {
        const char *doomed;
        int visited;
        const char *left;
    } cases[] = {{"b", 4, "a=1 c=3 d=4 "},
                 {"c", 3, "a=1 b=2 d=4 "},
                 {"bc", 3, "a=1 d=4 "},
                 {"abcd", 2, ""},
                 {"*", 2, ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.doomed);
        Store s(0, KV_RECURSIVE);
        store = &s;
        doomed = c.doomed;
        const auto fill = [&s] {
            for (const int n : {1, 2, 3, 4})
                s.add(std::string(1, "_abcd"[n]).c_str(), n, kvReplace);
        };
        fill();
        EXPECT_EQ(kvIterate(&s.kv, change, nullptr), c.visited);
        EXPECT_EQ(s.text(), c.left);
        fill();
        EXPECT_EQ(kvCondDel(&s.kv, change, nullptr), KV_OK);
        EXPECT_EQ(s.text(), "");
        fill();
        EXPECT_EQ(kvCondGet(&s.kv, takeB, nullptr), nullptr);
        EXPECT_EQ(kvSort(&s.kv, dropA, 0, nullptr), KV_OK);
        EXPECT_EQ(s.text(), "d=4 ");
        const auto sortNoMore = [](const void *, const void *, void *) -> std::int32_t {
            kvSetSortMethod(&store->kv, nullptr);
            return KV_BEFORE;
        };
        fill();
        EXPECT_EQ(kvSort(&s.kv, dropSecond, 0, nullptr), KV_OK);
        EXPECT_EQ(s.text(), "d=4 a=1 b=2 ");
        fill();
        kvSetSortMethod(&s.kv, sortNoMore);
        EXPECT_EQ(kvSortElement(&s.kv, "b"), KV_OK);
    }
}

TEST(KvStore, SortsOnInsertionOnDemandAndElementByElement) {
    Store s;
    kvSetSortMethod(&s.kv, byNumber);
    for (const auto &[key, value] : {std::pair{"e", 5}, {"a", 1}, {"x", 3}, {"c", 3}})
        s.add(key, value);
    EXPECT_EQ(s.text(), "a=1 x=3 c=3 e=5 ");
    EXPECT_EQ(kvSort(&s.kv, byNumber, 1, nullptr), KV_OK);
    EXPECT_EQ(s.text(), "e=5 x=3 c=3 a=1 ");
    const auto contradict = [](const void *, const void *, void *) -> std::int32_t {
        return KV_AFTER;
    };
    EXPECT_EQ(kvSort(&s.kv, contradict, 0, nullptr), KV_OK);  // ends
    EXPECT_EQ(kvSort(&s.kv, byNumber, 0, nullptr), KV_OK);

    *static_cast<int *>(kvGet(&s.kv, "a")) = 4;
    EXPECT_EQ(kvSortElement(&s.kv, "a"), KV_OK);
    *static_cast<int *>(kvGet(&s.kv, "e")) = 0;
    EXPECT_EQ(kvSortElement(&s.kv, "e"), KV_OK);
    EXPECT_EQ(kvSortElement(&s.kv, "none"), KV_NOT_FOUND);
    EXPECT_EQ(s.text().substr(0, 4), "e=0 ");
    EXPECT_EQ(s.text().substr(12), "a=4 ");
    s.add("d", 9);
    EXPECT_EQ(kvSort(&s.kv, nullptr, 0, nullptr), KV_OK);  // by key
    EXPECT_EQ(s.text(), "a=4 c=3 d=9 e=0 x=3 ");
}

TEST(KvStore, CopiesAndMergesTwoStores) {
    Store a;
    Store b(3);
    a.add("x", 1);
    a.add("y", 2);
    b.add("y", 3);
    b.add("z", 4);
    EXPECT_EQ(kvMerge(&b.kv, &a.kv, sizeof(int)), KV_OK);
    EXPECT_EQ(b.text(), "y=2 z=4 x=1 ");
    EXPECT_EQ(freed, 1);
    EXPECT_EQ(kvCopy(&b.kv, &a.kv, sizeof(int)), KV_OK);
    EXPECT_EQ(b.text(), "x=1 y=2 ");
    EXPECT_EQ(kvCompare(&b.kv, &a.kv, byNumber, nullptr), 0);
    a.add("p", 5);
    a.add("q", 6);
    EXPECT_EQ(kvMerge(&b.kv, &a.kv, sizeof(int)), KV_FULL);  // the copy of q is freed
    EXPECT_EQ(b.text(), "x=1 y=2 p=5 ");
    EXPECT_EQ(kvMerge(&a.kv, &a.kv, sizeof(int)), KV_BAD_ARG);  // would wait for itself
    EXPECT_EQ(kvCopy(&b.kv, &a.kv, 0), KV_FULL);
    EXPECT_EQ(b.text(), "x=-1 y=-1 p=-1 ");  // no bytes are no value
}

TEST(KvSignal, KeepsAWordUntilAWaitTakesIt) {
    Store s;
    std::uint32_t word = 1;
    kvSignal(&s.kv, 1);
    kvSignalMask(&s.kv, 2, KV_SIGNAL_OR);
    kvSignalMask(&s.kv, 6, KV_SIGNAL_AND);
    kvSignalMask(&s.kv, 9, 3);  // no such operation
    EXPECT_EQ(kvWaitms(&s.kv, &word, VORN_NO_WAIT), KV_OK);
    EXPECT_EQ(word, 2u);
    EXPECT_EQ(kvWaitms(&s.kv, &word, 1), KV_TIMEOUT);
    EXPECT_EQ(word, 0u);
    const struct timespec invalid = {1, -1};
    EXPECT_EQ(kvWaitAbs(&s.kv, &word, &invalid), KV_TIMEOUT);
}
