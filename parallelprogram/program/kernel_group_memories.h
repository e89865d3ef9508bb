// GroupMemories: what the groups of a kernel keep their arrays in, kept for the next groups: a dispatch that has run
// before allocates nothing.
#pragma once

#include <array>
#include <atomic>

#include "ostra/core/memory.h"

namespace ostra::kernel {

// Memories of one type, which a kernel's class does not know yet where this is its member. Thread-safe; each memory has
// one user at a time.
class GroupMemories {
 public:
  GroupMemories() = default;
  GroupMemories(const GroupMemories&) = delete;
  GroupMemories& operator=(const GroupMemories&) = delete;
  ~GroupMemories() {
    for (Place& place : _places)
      if (void* memory = place.load(std::memory_order_relaxed)) _destroy.load(std::memory_order_relaxed)(memory);
  }

  // A memory with what its last user left in it, or a new one of zeros; null when there is no room for one.
  template <class Memory>
  Memory* Take() {
    for (Place& place : _places) {
      if (!place.load(std::memory_order_relaxed)) continue;
      if (void* memory = place.exchange(nullptr, std::memory_order_acquire)) return static_cast<Memory*>(memory);
    }
    return NewObj<Memory>();
  }

  template <class Memory>
  void Give(Memory* memory) {
    _destroy.store([](void* object) { DeleteObj(static_cast<Memory*>(object)); }, std::memory_order_relaxed);
    for (Place& place : _places) {
      void* nothing = nullptr;
      if (place.compare_exchange_strong(nothing, memory, std::memory_order_release, std::memory_order_relaxed)) return;
    }
    DeleteObj(memory);
  }

 private:
  using Place = std::atomic<void*>;
  std::array<Place, 64> _places{};  // more threads than these allocate each time
  std::atomic<void (*)(void*)> _destroy{nullptr};
};

// Uses one of the memories as long as it lives.
template <class Memory>
class UsedGroupMemory {
 public:
  explicit UsedGroupMemory(GroupMemories& memories) : _memories(memories), _memory(memories.Take<Memory>()) {}
  UsedGroupMemory(const UsedGroupMemory&) = delete;
  UsedGroupMemory& operator=(const UsedGroupMemory&) = delete;
  ~UsedGroupMemory() {
    if (_memory) _memories.Give(_memory);
  }
  explicit operator bool() const { return _memory; }
  Memory& operator*() const { return *_memory; }

 private:
  GroupMemories& _memories;
  Memory* const _memory;
};

}  // namespace ostra::kernel
