// SPDX-License-Identifier: MIT
// The links of the keyed store and of the message queue: doubly linked elements between `first` and
// `last`, and their `count`. The list's lock is held.
#pragma once

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
void unlinkElem(List *list, Elem *elem) {
    (elem->prev == nullptr ? list->first : elem->prev->next) = elem->next;
    (elem->next == nullptr ? list->last : elem->next->prev) = elem->prev;
    elem->prev = elem->next = nullptr;
    --list->count;
}

// Takes the first element out; null when there is none.
template <class List>
auto *takeFirst(List *list) {
    auto *elem = list->first;
    if (elem == nullptr) return elem;
    list->first = elem->next;
    (list->first == nullptr ? list->last : list->first->prev) = nullptr;
    --list->count;
    return elem;
}
