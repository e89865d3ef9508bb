#include "ostra/jobs/prefault_pages.h"

#include <gmock/gmock.h>

#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace ostra {
namespace {

TEST(PrefaultPagesTest, LeavesTheBytesAsTheyAreWhereverTheAreaBegins) {
  std::vector<Byte> bytes((std::size_t{5} << 20) + 77);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<Byte>(i * 31 >> 4);
  const std::vector<Byte> before = bytes;
  for (const Int offset : {0, 1, 4095, 4096, 2'000'000}) {
    for (const Int size : {0, 1, 4096, 4097, 3'000'001}) PrefaultPages(bytes.data() + offset, size);
  }
  EXPECT_TRUE(bytes == before);
}

#ifdef __linux__
TEST(PrefaultPagesTest, AllPagesOfTheAreaAreThereAfterwardsAndNoOthers) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  constexpr std::size_t kPages = 1500;
  void* area = mmap(nullptr, kPages * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(area, MAP_FAILED);
  madvise(area, kPages * page, MADV_NOHUGEPAGE);
  auto* bytes = static_cast<Byte*>(area);
  PrefaultPages(bytes + page + 5, static_cast<Int>((kPages - 3) * page));
  std::vector<unsigned char> isThere(kPages);
  ASSERT_EQ(mincore(area, kPages * page, isThere.data()), 0);
  for (std::size_t i = 0; i < kPages; ++i) EXPECT_EQ(isThere[i] & 1, i >= 1 && i < kPages - 1) << i;
  munmap(area, kPages * page);
}
#endif

}  // namespace
}  // namespace ostra
