// The part of HashMap (hash_map.h) that is the same for all types. It is compiled once, in libostra: kernels and
// modules have a table each, and compilers take longer for a table than for most kernels.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Chains of nodes that the owner makes and destroys. Not synchronised.
class OSTRA_API HashTable {
 public:
  struct Node {
    UInt64 hash = 0;
    Node* nextInChain = nullptr;
    Node* previous = nullptr;  // of all nodes, in the order of their insertion
    Node* next = nullptr;
  };
  using IsKey = Bool (*)(const Node& node, const void* key);

  HashTable() = default;
  HashTable(HashTable&& other) noexcept { Swap(other); }
  HashTable& operator=(HashTable&& other) = delete;
  ~HashTable();

  // The node with the hash for which `isKey` holds; null without one.
  Node* Find(UInt64 hash, const void* key, IsKey isKey) const;
  // Takes in a node whose hash is set. False when memory is exhausted.
  [[nodiscard]] Bool Insert(Node& node);
  void Erase(Node& node);
  // Forgets all nodes.
  void Reset();
  // Prepares for `count` nodes. False when memory is exhausted.
  [[nodiscard]] Bool Reserve(Int count);

  Node* GetFirst() const { return _first; }
  Int GetCount() const { return _count; }
  void Swap(HashTable& other) noexcept;

 private:
  Node*& GetChain(UInt64 hash) const;

  Node** _chains = nullptr;
  Int _chainCount = 0;  // a power of two, or 0
  Int _count = 0;
  Node* _first = nullptr;
  Node* _last = nullptr;
};

}  // namespace ostra
