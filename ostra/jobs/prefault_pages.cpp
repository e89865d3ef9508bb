#include "ostra/jobs/prefault_pages.h"

#include <algorithm>
#include <atomic>

#include "ostra/jobs/parallel_for.h"

namespace ostra {

void PrefaultPages(void* memory, Int bytes) {
  constexpr std::uintptr_t kLargePage = std::uintptr_t{1} << 21;
  constexpr std::uintptr_t kSmallPage = 4096;
  if (bytes < 1) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t end = begin + static_cast<std::uintptr_t>(bytes);
  const std::uintptr_t first = begin / kLargePage;
  ParallelFor::Dynamic(static_cast<Int>((end - 1) / kLargePage - first + 1), [&](Int pieceBegin, Int pieceEnd) {
    const std::uintptr_t from = std::max((first + static_cast<std::uintptr_t>(pieceBegin)) * kLargePage, begin);
    const std::uintptr_t to = std::min((first + static_cast<std::uintptr_t>(pieceEnd)) * kLargePage, end);
    // A write that changes nothing; reading would only map the system's page of zeros.
    for (std::uintptr_t at = from; at < to; at = (at / kSmallPage + 1) * kSmallPage)
      std::atomic_ref(*reinterpret_cast<Byte*>(at)).fetch_or(Byte{}, std::memory_order_relaxed);
  });
}

}  // namespace ostra
