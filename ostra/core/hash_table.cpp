#include "ostra/core/hash_table.h"

#include <bit>
#include <utility>

#include "ostra/core/hash.h"
#include "ostra/core/memory.h"

namespace ostra {

namespace {

constexpr Int kMinChains = 8;
constexpr Int kMaxChains = Int{1} << 40;

}  // namespace

HashTable::~HashTable() { FreeMem(_chains); }

// Keys with a hash of their own may differ in few bits.
HashTable::Node*& HashTable::GetChain(UInt64 hash) const {
  return _chains[MixHash(hash) & static_cast<UInt64>(_chainCount - 1)];
}

HashTable::Node* HashTable::Find(UInt64 hash, const void* key, IsKey isKey) const {
  if (_chainCount == 0) return nullptr;
  for (Node* node = GetChain(hash); node; node = node->nextInChain)
    if (node->hash == hash && isKey(*node, key)) return node;
  return nullptr;
}

Bool HashTable::Insert(Node& node) {
  if (!Reserve(_count + 1)) return false;
  Node*& chain = GetChain(node.hash);
  node.nextInChain = chain;
  chain = &node;
  node.previous = _last;
  node.next = nullptr;
  (_last ? _last->next : _first) = &node;
  _last = &node;
  ++_count;
  return true;
}

void HashTable::Erase(Node& node) {
  Node** link = &GetChain(node.hash);
  while (*link != &node) link = &(*link)->nextInChain;
  *link = node.nextInChain;
  (node.previous ? node.previous->next : _first) = node.next;
  (node.next ? node.next->previous : _last) = node.previous;
  --_count;
}

void HashTable::Reset() {
  for (Int i = 0; i < _chainCount; ++i) _chains[i] = nullptr;
  _first = _last = nullptr;
  _count = 0;
}

Bool HashTable::Reserve(Int count) {
  if (count <= _chainCount) return true;
  if (count > kMaxChains) return false;
  const Int chainCount = count <= kMinChains ? kMinChains : static_cast<Int>(std::bit_ceil(static_cast<UInt64>(count)));
  void* const chains = AllocZeroed(chainCount * static_cast<Int>(sizeof(Node*)));
  if (!chains) return false;
  FreeMem(_chains);
  _chains = static_cast<Node**>(chains);
  _chainCount = chainCount;
  for (Node* node = _first; node; node = node->next) {
    Node*& chain = GetChain(node->hash);
    node->nextInChain = chain;
    chain = node;
  }
  return true;
}

void HashTable::Swap(HashTable& other) noexcept {
  std::swap(_chains, other._chains);
  std::swap(_chainCount, other._chainCount);
  std::swap(_count, other._count);
  std::swap(_first, other._first);
  std::swap(_last, other._last);
}

}  // namespace ostra
