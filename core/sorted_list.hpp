#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace zol {

/// Records on the heap, sorted by the text in their field `key`, each key once.
template <class Record>
class SortedList {
 public:
  /// Puts a copy of `record` into its place, or into that of the record with the same key. False when memory does not
  /// suffice; the list is then as it was.
  bool insert(const Record &record) {
    auto *node = static_cast<Node *>(malloc(sizeof(Node)));
    if (node == nullptr) return false;
    node->record = record;
    Node **link = find(record.key);
    Node *successor = *link;
    if (successor != nullptr && strcmp(successor->record.key, record.key) == 0) {
      node->next = successor->next;
      free(successor);
    } else {
      node->next = successor;
    }
    *link = node;
    return true;
  }

  void clear() {
    while (head_ != nullptr) {
      Node *first = head_;
      head_ = first->next;
      free(first);
    }
  }

  [[nodiscard]] size_t count() const {
    size_t number = 0;
    for (const Node *node = head_; node != nullptr; node = node->next) ++number;
    return number;
  }

  /// The record at `position` (from 0), or null.
  [[nodiscard]] const Record *at(size_t position) const {
    const Node *node = head_;
    for (; node != nullptr && position > 0; --position) node = node->next;
    return node == nullptr ? nullptr : &node->record;
  }

  /// The first record whose key is `key` or greater, or null.
  Record *from(const char *key) {
    Node *node = *find(key);
    return node == nullptr ? nullptr : &node->record;
  }

 private:
  struct Node {
    Node *next;
    Record record;
  };

  /// The link to the first record whose key is `key` or greater.
  Node **find(const char *key) {
    Node **link = &head_;
    while (*link != nullptr && strcmp((*link)->record.key, key) < 0) link = &(*link)->next;
    return link;
  }

  Node *head_ = nullptr;
};

}  // namespace zol
