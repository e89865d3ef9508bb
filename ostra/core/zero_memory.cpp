#include "ostra/core/zero_memory.h"

#include <cstring>

#include "ostra/core/large_pages.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace ostra {
namespace {

void Fill(std::uintptr_t begin, std::uintptr_t end) { std::memset(reinterpret_cast<void*>(begin), 0, end - begin); }

#ifdef __linux__
// Allocators map areas from this size on anew each time, so that giving their pages back loses nothing.
constexpr Int kLarge = Int(32) << 20;

// False when the pages stay as they are, as locked ones do.
bool LeaveToSystem(std::uintptr_t begin, std::uintptr_t end) {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const std::uintptr_t first = (begin + page - 1) & ~(page - 1);
  const std::uintptr_t last = end & ~(page - 1);
  if (madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED) != 0) return false;
  AdviseLargePages(reinterpret_cast<void*>(first), static_cast<Int>(last - first));
  Fill(begin, first);
  Fill(last, end);
  return true;
}
#endif

}  // namespace

void ZeroNewMemory(void* memory, Int bytes) {
  if (bytes < 1) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t end = begin + static_cast<std::uintptr_t>(bytes);
#ifdef __linux__
  if (bytes >= kLarge && LeaveToSystem(begin, end)) return;
#endif
  Fill(begin, end);
}

}  // namespace ostra
