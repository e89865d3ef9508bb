// ItemTable: cache items by key, as long as they are referenced elsewhere.
#pragma once

#include <mutex>

#include "ostra/core/hash_map.h"
#include "ostra/core/strong_ref.h"

namespace ostra::vulkan {

template <class Key, class Item>
class ItemTable {
 public:
  // The item of `key`, null when there is none. Thread-safe.
  StrongRef<Item> Find(const Key& key) {
    const std::scoped_lock lock(_mutex);
    return FindLocked(key);
  }

  // Enters a new item; when another thread was faster, its item is returned instead. Error: out of memory.
  Result<StrongRef<Item>> Insert(const Key& key, const StrongRef<Item>& item) {
    const std::scoped_lock lock(_mutex);
    if (StrongRef<Item> known = FindLocked(key)) return known;
    OSTRA_ASSIGN_OR_RETURN(auto entry, _items.Insert(key, item.GetPointer()));
    *entry.value = item.GetPointer();
    return item;
  }

  // Called by an item that goes.
  void Forget(const Key& key, const Item* item) {
    const std::scoped_lock lock(_mutex);
    Item* const* known = _items.Find(key);
    if (known && *known == item) _items.Erase(key);
  }

 private:
  StrongRef<Item> FindLocked(const Key& key) {
    Item* const* known = _items.Find(key);
    // An item whose last holder just let go cannot be had any more.
    if (!known || !(*known)->TryAddRef()) return {};
    return StrongRef<Item>::Adopt(*known);
  }

  std::mutex _mutex;
  HashMap<Key, Item*> _items;
};

}  // namespace ostra::vulkan
