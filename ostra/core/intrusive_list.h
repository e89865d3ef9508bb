// A list of nodes that carry their own link and were made with NewObj; the list owns them. Node addresses are stable.
//
//   struct Node : ListNode<Node> { AtomicUInt32 counter; };
//   IntrusiveList<Node> nodes;
//   nodes.Append(node);
//
// Not synchronised.
#pragma once

#include "ostra/core/memory.h"

namespace ostra {

template <class Node>
class ListNode {
 public:
  Node* GetNext() const { return _next; }

 private:
  Node* _next = nullptr;
  Node* _previous = nullptr;
  template <class Other>
  friend class IntrusiveList;
};

template <class Node>
class IntrusiveList {
 public:
  IntrusiveList() = default;
  IntrusiveList(const IntrusiveList&) = delete;
  IntrusiveList& operator=(const IntrusiveList&) = delete;
  ~IntrusiveList() { FreeAll(); }

  // Takes over `node` and puts it at the end.
  void Append(Node* node) {
    node->_previous = _last;
    (_last ? _last->_next : _first) = node;
    _last = node;
  }

  // Unlinks and destroys `node`.
  void Free(Node* node) {
    (node->_previous ? node->_previous->_next : _first) = node->_next;
    (node->_next ? node->_next->_previous : _last) = node->_previous;
    DeleteObj(node);
  }

  void FreeAll() {
    while (_first) Free(_first);
  }

  Node* GetFirst() const { return _first; }
  Bool IsEmpty() const { return !_first; }

 private:
  Node* _first = nullptr;
  Node* _last = nullptr;
};

}  // namespace ostra
