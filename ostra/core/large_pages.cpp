#include "ostra/core/large_pages.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace ostra {

void AdviseLargePages([[maybe_unused]] void* memory, [[maybe_unused]] Int bytes) {
#ifdef __linux__
  constexpr std::uintptr_t kPage = std::uintptr_t{1} << 21;
  const auto address = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (address + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t end = (address + static_cast<std::uintptr_t>(bytes)) & ~(kPage - 1);
  if (first < end) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#endif
}

}  // namespace ostra
