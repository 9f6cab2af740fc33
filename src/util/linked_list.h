// SPDX-License-Identifier: MIT
// The links of the keyed store and of the message queue: doubly linked elements between `first` and
// `last`, and their `count`. The list's lock is held.
#pragma once

#include <type_traits>

// A walk whose callbacks may change the list, as those of a recursive container may: an element
// that goes meanwhile is not visited, and the one being visited is known to be gone. Only the
// thread that walks has the lock, so the walks that a change concerns are all its own.
struct ListWalk {
    ListWalk *outer;
    const void *list;
    void *current;  // null when it is gone
    void *next;
};

inline thread_local ListWalk *innermostWalk = nullptr;

template <class List>
class Walk {
public:
    using Elem = std::remove_pointer_t<decltype(List::first)>;

    explicit Walk(const List *list) : walk_{innermostWalk, list, nullptr, list->first} {
        innermostWalk = &walk_;
    }
    // A walk that has stepped to an element already.
    Walk(const List *list, Elem *at) : walk_{innermostWalk, list, at, at->next} {
        innermostWalk = &walk_;
    }
    Walk(const Walk &) = delete;
    Walk &operator=(const Walk &) = delete;
    ~Walk() { innermostWalk = walk_.outer; }

    // The next element, null at the end.
    Elem *step() {
        auto *elem = static_cast<Elem *>(walk_.next);
        walk_.current = elem;
        walk_.next = elem != nullptr ? elem->next : nullptr;
        return elem;
    }
    // The element that was stepped to, null when it is gone.
    [[nodiscard]] Elem *current() const { return static_cast<Elem *>(walk_.current); }

private:
    ListWalk walk_;
};

enum ElemFate { ELEM_GOES, ELEM_MOVES };

// Tells the walks through a list that an element leaves its place.
template <class List, class Elem>
void leaveWalks(const List *list, const Elem *elem, ElemFate fate) {
    for (ListWalk *walk = innermostWalk; walk != nullptr; walk = walk->outer) {
        if (walk->list != list) continue;
        if (walk->next == elem) walk->next = elem->next;
        if (walk->current == elem && fate == ELEM_GOES) walk->current = nullptr;
    }
}

// Puts an element in front of `next`, or at the end when that is null.
template <class List, class Elem>
void linkBefore(List *list, Elem *elem, Elem *next) {
    Elem *prev = next == nullptr ? list->last : next->prev;
    elem->prev = prev;
    elem->next = next;
    (prev == nullptr ? list->first : prev->next) = elem;
    (next == nullptr ? list->last : next->prev) = elem;
    ++list->count;
}

// Takes an element out; it is the caller's then.
template <class List, class Elem>
void unlinkElem(List *list, Elem *elem, ElemFate fate = ELEM_GOES) {
    leaveWalks(list, elem, fate);
    (elem->prev == nullptr ? list->first : elem->prev->next) = elem->next;
    (elem->next == nullptr ? list->last : elem->next->prev) = elem->prev;
    elem->prev = elem->next = nullptr;
    --list->count;
}

// Takes the first element out; null when there is none.
template <class List>
auto *takeFirst(List *list) {
    auto *elem = list->first;
    if (elem != nullptr) unlinkElem(list, elem);
    return elem;
}
