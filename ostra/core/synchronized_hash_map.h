// A hash table that several threads use at once.
#pragma once

#include <mutex>
#include <utility>

#include "ostra/core/base_array.h"
#include "ostra/core/hash_map.h"

namespace ostra {

// HashMap whose operations may be called from any thread. Values are handed out as copies, so Value should be a
// reference or another cheap type.
template <class Key, class Value>
class SynchronizedHashMap {
 public:
  // True when the key was new. An existing value is kept.
  Result<Bool> Insert(const Key& key, Value value) {
    const std::scoped_lock lock(_mutex);
    OSTRA_ASSIGN_OR_RETURN(auto entry, _map.Insert(key, std::move(value)));
    return entry.isNew;
  }
  // Copies the value to `value`; false when the key is absent.
  Bool Find(const Key& key, Value& value) const {
    const std::scoped_lock lock(_mutex);
    const Value* known = _map.Find(key);
    if (known) value = *known;
    return known;
  }
  Bool Erase(const Key& key) {
    const std::scoped_lock lock(_mutex);
    return _map.Erase(key);
  }
  void Reset() {
    const std::scoped_lock lock(_mutex);
    _map.Reset();
  }
  // Prepares for `buckets` entries. Errors: as of HashMap.
  Result<void> Resize(Int buckets) {
    const std::scoped_lock lock(_mutex);
    return _map.Resize(buckets);
  }
  Int GetCount() const {
    const std::scoped_lock lock(_mutex);
    return _map.GetCount();
  }
  // Calls `visit(key, value)` for every entry, with the table locked.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    const std::scoped_lock lock(_mutex);
    for (const auto& [key, value] : _map) visit(key, value);
  }
  // Copies of all keys, and of all values, in no particular order. Error: out of memory.
  Result<BaseArray<Key>> GetKeys() const {
    return Collect<Key>([](const auto& pair) -> const Key& { return pair.first; });
  }
  Result<BaseArray<Value>> GetValues() const {
    return Collect<Value>([](const auto& pair) -> const Value& { return pair.second; });
  }

 private:
  template <class Part, class Choose>
  Result<BaseArray<Part>> Collect(Choose&& choose) const {
    const std::scoped_lock lock(_mutex);
    BaseArray<Part> parts;
    OSTRA_RETURN_IF_ERROR(parts.Reserve(_map.GetCount()));
    for (const auto& pair : _map) OSTRA_RETURN_IF_ERROR(parts.Append(choose(pair)));
    return parts;
  }

  mutable std::mutex _mutex;
  HashMap<Key, Value> _map;
};

}  // namespace ostra
