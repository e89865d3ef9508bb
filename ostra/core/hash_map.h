// Hash tables under the host's error contract.
//
//   HashMap<InternedId, Kernel> kernels;
//   OSTRA_ASSIGN_OR_RETURN(auto entry, kernels.Insert(id));      // entry.value, entry.isNew
//   if (Kernel* kernel = kernels.Find(id)) ...
//
// The address of a value is stable until it is erased. HashMap is not synchronised; SynchronizedHashMap
// (synchronized_hash_map.h) is.
#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "ostra/core/hash.h"
#include "ostra/core/hash_table.h"
#include "ostra/core/memory.h"
#include "ostra/core/result.h"

namespace ostra {

// Hash of a key: its GetHashCode(), or the mixed value of an integer or an address.
struct HashOf {
  template <class Key>
  std::size_t operator()(const Key& key) const {
    if constexpr (requires { key.GetHashCode(); })
      return static_cast<std::size_t>(key.GetHashCode());
    else if constexpr (std::is_pointer_v<Key>)
      return static_cast<std::size_t>(MixHash(reinterpret_cast<UInt64>(key)));
    else
      return static_cast<std::size_t>(MixHash(static_cast<UInt64>(key)));
  }
};

template <class Key, class Value>
class HashMap {
 public:
  struct Entry {
    Value* value;
    Bool isNew;
  };
  struct Pair {
    const Key first;
    Value second;
    template <class... Arguments>
    explicit Pair(const Key& key, Arguments&&... arguments)
        : first(key), second(std::forward<Arguments>(arguments)...) {}
  };

  HashMap() = default;
  HashMap(HashMap&& other) noexcept = default;
  HashMap& operator=(HashMap&& other) noexcept {
    HashMap old(std::move(other));
    _table.Swap(old._table);
    return *this;
  }
  ~HashMap() { Reset(); }

  // The value of `key`, made with `arguments` when there is none. Error: out of memory; the table is then unchanged.
  template <class... Arguments>
  Result<Entry> Insert(const Key& key, Arguments&&... arguments) {
    const UInt64 hash = HashOf()(key);
    if (Node* known = FindNode(hash, key)) return Entry{&known->pair.second, false};
    Node* const node = MakeNode(key, std::forward<Arguments>(arguments)...);
    if (!node) return Error::MakeOutOfMemory("hashmap", __LINE__);
    node->hash = hash;
    if (_table.Insert(*node)) return Entry{&node->pair.second, true};
    DeleteObj(node);
    return Error::MakeOutOfMemory("hashmap", __LINE__);
  }

  // Null when absent.
  Value* Find(const Key& key) {
    Node* const node = FindNode(HashOf()(key), key);
    return node ? &node->pair.second : nullptr;
  }
  const Value* Find(const Key& key) const { return const_cast<HashMap*>(this)->Find(key); }
  Bool Contains(const Key& key) const { return Find(key); }

  // True when the key was there.
  Bool Erase(const Key& key) {
    Node* const node = FindNode(HashOf()(key), key);
    if (!node) return false;
    _table.Erase(*node);
    DeleteObj(node);
    return true;
  }
  [[gnu::noinline]] void Reset() {  // destructors would have copies of it
    HashTable::Node* node = _table.GetFirst();
    _table.Reset();
    while (node) {
      HashTable::Node* const next = node->next;
      DeleteObj(static_cast<Node*>(node));
      node = next;
    }
  }

  // Prepares for `count` entries. Errors: out of memory; illegal argument for a negative count.
  Result<void> Resize(Int count) {
    if (count < 0)
      return Error::Make(kIllegalArgumentError, "A table cannot have a negative count.", "hashmap", __LINE__);
    if (!_table.Reserve(count)) return Error::MakeOutOfMemory("hashmap", __LINE__);
    return OK;
  }

  Int GetCount() const { return _table.GetCount(); }
  Bool IsEmpty() const { return GetCount() == 0; }

  // Pairs of key (first) and value (second), in no particular order.
  auto begin() { return Iterator<Pair>{_table.GetFirst()}; }
  auto end() { return Iterator<Pair>{}; }
  auto begin() const { return Iterator<const Pair>{_table.GetFirst()}; }
  auto end() const { return Iterator<const Pair>{}; }

 private:
  struct Node : HashTable::Node {
    Pair pair;
    template <class... Arguments>
    explicit Node(const Key& key, Arguments&&... arguments) : pair(key, std::forward<Arguments>(arguments)...) {}
  };
  template <class P>
  struct Iterator {
    HashTable::Node* node = nullptr;
    P& operator*() const { return static_cast<Node*>(node)->pair; }
    P* operator->() const { return &**this; }
    Iterator& operator++() {
      node = node->next;
      return *this;
    }
    Bool operator==(const Iterator&) const = default;
  };

  Node* FindNode(UInt64 hash, const Key& key) const {
    const auto isKey = [](const HashTable::Node& node, const void* wanted) -> Bool {
      return static_cast<const Node&>(node).pair.first == *static_cast<const Key*>(wanted);
    };
    return static_cast<Node*>(_table.Find(hash, &key, isKey));
  }

  // Null when memory is exhausted.
  template <class... Arguments>
  static Node* MakeNode(const Key& key, Arguments&&... arguments) {
    if constexpr (std::is_nothrow_copy_constructible_v<Key> && std::is_nothrow_constructible_v<Value, Arguments&&...>) {
      return NewObj<Node>(key, std::forward<Arguments>(arguments)...);
    } else {
      void* const memory = AllocMem(static_cast<Int>(sizeof(Node)));
      if (!memory) return nullptr;
      try {
        return ::new (memory) Node(key, std::forward<Arguments>(arguments)...);
      } catch (const std::bad_alloc&) {
        FreeMem(memory);
        return nullptr;
      } catch (...) {
        FreeMem(memory);
        throw;
      }
    }
  }

  HashTable _table;
};

}  // namespace ostra
