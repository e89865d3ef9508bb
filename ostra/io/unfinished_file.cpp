#include "ostra/io/unfinished_file.h"

#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstring>

namespace ostra {

namespace {

enum class SlotState { Free, Busy, Named };

// Constant memory: signal handlers must find it whole at any time.
struct Slot {
  std::atomic<SlotState> state{SlotState::Free};
  char path[PATH_MAX] = {};
};

constexpr Int kSlotCount = 16;
Slot g_slots[kSlotCount];

// A path is changed, or relied on, only while its slot is busy.
Bool Claim(Slot& slot, SlotState expected) { return slot.state.compare_exchange_strong(expected, SlotState::Busy); }

}  // namespace

void RemoveUnfinishedFiles() {
  for (Slot& slot : g_slots)
    if (Claim(slot, SlotState::Named)) unlink(slot.path);
}

UnfinishedFile::UnfinishedFile(const char* path) : _slot(-1) {
  if (std::strlen(path) >= PATH_MAX) return;
  for (Int i = 0; i < kSlotCount && _slot < 0; ++i) {
    if (!Claim(g_slots[i], SlotState::Free)) continue;
    _slot = i;
    std::strcpy(g_slots[i].path, path);
    g_slots[i].state.store(SlotState::Named);
  }
}

UnfinishedFile::~UnfinishedFile() {
  // A slot that is busy belongs to RemoveUnfinishedFiles, for good.
  if (_slot >= 0 && Claim(g_slots[_slot], SlotState::Named)) g_slots[_slot].state.store(SlotState::Free);
}

}  // namespace ostra
