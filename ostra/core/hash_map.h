// Hash tables under the host's error contract. A thin facade: std::unordered_map does the work.
//
//   HashMap<InternedId, Kernel> kernels;
//   OSTRA_ASSIGN_OR_RETURN(auto entry, kernels.Insert(id));      // entry.value, entry.isNew
//   if (Kernel* kernel = kernels.Find(id)) ...
//
// The address of a value is stable until it is erased. HashMap is not synchronised; SynchronizedHashMap
// (synchronized_hash_map.h) is.
#pragma once

#include <unordered_map>
#include <utility>

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
  using Table = std::unordered_map<Key, Value, HashOf, std::equal_to<Key>, HostAllocator<std::pair<const Key, Value>>>;

 public:
  struct Entry {
    Value* value;
    Bool isNew;
  };

  // The value of `key`, made with `arguments` when there is none. Error: out of memory; the table is then unchanged.
  template <class... Arguments>
  Result<Entry> Insert(const Key& key, Arguments&&... arguments) {
    try {
      auto [position, isNew] = _table.try_emplace(key, std::forward<Arguments>(arguments)...);
      return Entry{&position->second, isNew};
    } catch (const std::bad_alloc&) {
      return Error::MakeOutOfMemory("hashmap", __LINE__);
    }
  }

  // Null when absent.
  Value* Find(const Key& key) {
    const auto position = _table.find(key);
    return position == _table.end() ? nullptr : &position->second;
  }
  const Value* Find(const Key& key) const { return const_cast<HashMap*>(this)->Find(key); }
  Bool Contains(const Key& key) const { return Find(key); }

  // True when the key was there.
  Bool Erase(const Key& key) { return _table.erase(key) != 0; }
  void Reset() { _table.clear(); }

  // Prepares for `buckets` entries. Errors: out of memory; illegal argument for a negative count.
  Result<void> Resize(Int buckets) {
    if (buckets < 0)
      return Error::Make(kIllegalArgumentError, "A table cannot have a negative count.", "hashmap", __LINE__);
    try {
      _table.reserve(static_cast<std::size_t>(buckets));
      return OK;
    } catch (const std::bad_alloc&) {
      return Error::MakeOutOfMemory("hashmap", __LINE__);
    }
  }

  Int GetCount() const { return static_cast<Int>(_table.size()); }
  Bool IsEmpty() const { return _table.empty(); }

  // Pairs of key (first) and value (second), in no particular order.
  auto begin() { return _table.begin(); }
  auto end() { return _table.end(); }
  auto begin() const { return _table.begin(); }
  auto end() const { return _table.end(); }

 private:
  Table _table;
};

}  // namespace ostra
