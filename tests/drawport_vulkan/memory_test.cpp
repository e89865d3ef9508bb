// Device memory of a driver that gives what a test says: no device is needed.
#include "ostra/drawport_vulkan/memory.h"

#include <gmock/gmock.h>

#include <map>

#include "ostra/drawport/settings.h"
#include "tests/drawport_vulkan/gpu_test.h"
#include "tests/drawport_vulkan/replaced_function.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr Int kMiB = Int(1) << 20;

// What the driver has been asked for, and what it has left.
struct FakeDriver {
  struct Memory {
    UInt32 type;
    Int size;
  };
  Int room[2] = {1024 * kMiB, 1024 * kMiB};  // of the heaps
  std::vector<Int> asked;                    // MiB, of each allocation that was tried
  std::map<UInt64, Memory> live;
  UInt64 next = 1;
  VkResult answer = VK_SUCCESS;
  Int budget = 4096 * kMiB;  // of the first heap, with what other programs use
  UInt64 aloneWith = 0;      // the buffer that the last allocation was for
};
FakeDriver g_driver;
constexpr UInt32 kHeapOfType[] = {0, 0, 1};

VKAPI_ATTR VkResult VKAPI_CALL Allocate(VkDevice, const VkMemoryAllocateInfo* info, const VkAllocationCallbacks*,
                                        VkDeviceMemory* memory) {
  const Int size = static_cast<Int>(info->allocationSize);
  const auto* alone = static_cast<const VkMemoryDedicatedAllocateInfo*>(info->pNext);
  g_driver.aloneWith = alone ? reinterpret_cast<UInt64>(alone->buffer) : 0;
  g_driver.asked.push_back(size / kMiB);
  if (g_driver.answer != VK_SUCCESS) return g_driver.answer;
  Int& room = g_driver.room[kHeapOfType[info->memoryTypeIndex]];
  if (size > room) return VK_ERROR_OUT_OF_DEVICE_MEMORY;
  room -= size;
  g_driver.live[g_driver.next] = {info->memoryTypeIndex, size};
  *memory = reinterpret_cast<VkDeviceMemory>(g_driver.next++);
  return VK_SUCCESS;
}
VKAPI_ATTR void VKAPI_CALL Free(VkDevice, VkDeviceMemory memory, const VkAllocationCallbacks*) {
  const auto known = g_driver.live.find(reinterpret_cast<UInt64>(memory));
  ASSERT_NE(known, g_driver.live.end());
  g_driver.room[kHeapOfType[known->second.type]] += known->second.size;
  g_driver.live.erase(known);
}
VKAPI_ATTR VkResult VKAPI_CALL Map(VkDevice, VkDeviceMemory, VkDeviceSize, VkDeviceSize, VkMemoryMapFlags,
                                   void** mapped) {
  static Byte bytes[16];
  *mapped = bytes;
  return VK_SUCCESS;
}

VKAPI_ATTR void VKAPI_CALL AnswerBudget(VkPhysicalDevice, VkPhysicalDeviceMemoryProperties2* properties) {
  auto* const budget = static_cast<VkPhysicalDeviceMemoryBudgetPropertiesEXT*>(properties->pNext);
  Int used[2] = {};
  for (const auto& entry : g_driver.live) used[kHeapOfType[entry.second.type]] += entry.second.size;
  for (int heap = 0; heap < 2; ++heap) {
    budget->heapBudget[heap] = static_cast<VkDeviceSize>(heap == 0 ? g_driver.budget : 4096 * kMiB);
    budget->heapUsage[heap] = static_cast<VkDeviceSize>(used[heap]);
  }
}

class MemoryTest : public testing::Test {
 protected:
  void SetUp() override {
    g_driver = {};
    Take(_snapshot.heaps.Append(MemoryHeapSnapshot{.size = 4096 * kMiB, .isDeviceLocal = true}));
    Take(_snapshot.heaps.Append(MemoryHeapSnapshot{.size = 4096 * kMiB, .isDeviceLocal = false}));
    Take(_snapshot.memoryTypes.Append(MemoryTypeSnapshot{.heap = 0, .isDeviceLocal = true}));
    Take(_snapshot.memoryTypes.Append(MemoryTypeSnapshot{.heap = 0, .isDeviceLocal = true}));
    Take(_snapshot.memoryTypes.Append(MemoryTypeSnapshot{.heap = 1, .isHostVisible = true}));
    _pool.Init(VK_NULL_HANDLE, VK_NULL_HANDLE, _snapshot, false);
  }
  void TearDown() override {
    _pool.Release();
    EXPECT_THAT(g_driver.live, IsEmpty());
    SetDrawportMemoryLimit(0);
  }
  Result<MemoryPiece> Get(Int size, MemoryUse use = MemoryUse::Device, MemoryContent content = MemoryContent::Linear,
                          UInt32 types = 0b101) {
    VkMemoryRequirements requirements = {};
    requirements.size = static_cast<VkDeviceSize>(size);
    requirements.alignment = 256;
    requirements.memoryTypeBits = types;
    return _pool.Allocate(requirements, use, content);
  }
  UInt32 GetType(const MemoryPiece& piece) { return g_driver.live.at(reinterpret_cast<UInt64>(piece.memory)).type; }

  const ReplacedFunction<PFN_vkAllocateMemory> _allocate{vkAllocateMemory, &Allocate};
  const ReplacedFunction<PFN_vkFreeMemory> _free{vkFreeMemory, &Free};
  const ReplacedFunction<PFN_vkMapMemory> _map{vkMapMemory, &Map};
  const ReplacedFunction<PFN_vkGetPhysicalDeviceMemoryProperties2> _budget{vkGetPhysicalDeviceMemoryProperties2,
                                                                           &AnswerBudget};
  DeviceSnapshot _snapshot;
  MemoryPool _pool;
};

// The device says how much memory other programs leave.
class MemoryBudgetTest : public MemoryTest {
 protected:
  void SetUp() override {
    MemoryTest::SetUp();
    _pool.Init(VK_NULL_HANDLE, VK_NULL_HANDLE, _snapshot, true);
  }
};

TEST_F(MemoryTest, SmallPiecesShareABlockAndLargeOnesGiveTheirsBackAtOnce) {
  const MemoryPiece first = Take(Get(1000));
  const MemoryPiece second = Take(Get(1000));
  EXPECT_EQ(first.memory, second.memory);
  EXPECT_GE(second.offset, first.offset + 1000);
  const MemoryPiece large = Take(Get(200 * kMiB));
  EXPECT_NE(large.memory, first.memory);
  EXPECT_EQ(_pool.GetUsedSize(), 2000 + 200 * kMiB);
  EXPECT_THAT(g_driver.asked, ElementsAre(64, 200));
  _pool.Free(large);
  _pool.Free(first);
  _pool.Free(second);
  EXPECT_EQ(g_driver.live.size(), 1u);  // the common one is kept
  EXPECT_EQ(_pool.GetUsedSize(), 0);
  _pool.FreeEmptyBlocks();
  EXPECT_THAT(g_driver.live, IsEmpty());
}

TEST_F(MemoryTest, BuffersAndImagesAreNeverInOneBlock) {
  EXPECT_NE(Take(Get(1000)).memory, Take(Get(1000, MemoryUse::Device, MemoryContent::Image)).memory);
}

TEST_F(MemoryTest, WhereAWholeBlockDoesNotFitASmallerOneServes) {
  g_driver.room[0] = 5 * kMiB;
  const MemoryPiece piece = Take(Get(1000));
  EXPECT_THAT(g_driver.asked, ElementsAre(64, 32, 16, 8, 4));
  EXPECT_EQ(Take(Get(1000)).memory, piece.memory);
  g_driver.asked.clear();
  EXPECT_EQ(GetType(Take(Get(3 * kMiB))), 0u);  // what is left of it
  EXPECT_THAT(g_driver.asked, IsEmpty());
}

TEST_F(MemoryTest, ThePieceAloneIsTheLeastThatIsTried) {
  g_driver.room[0] = 3 * kMiB;
  EXPECT_EQ(GetType(Take(Get(3 * kMiB))), 0u);
  EXPECT_THAT(g_driver.asked, ElementsAre(64, 32, 16, 8, 4, 3));
}

TEST_F(MemoryTest, BlocksThatNothingLiesInAreGivenBackFirst) {
  g_driver.room[0] = 100 * kMiB;
  _pool.Free(Take(Get(1000)));
  EXPECT_EQ(g_driver.live.size(), 1u);
  const MemoryPiece image = Take(Get(1000, MemoryUse::Device, MemoryContent::Image));
  EXPECT_THAT(g_driver.asked, ElementsAre(64, 64, 64));
  EXPECT_EQ(GetType(image), 0u);
  EXPECT_EQ(g_driver.live.size(), 1u);
}

TEST_F(MemoryTest, TheNextKindOfMemoryServesWhenTheBestIsUsedUp) {
  g_driver.room[0] = 0;
  const MemoryPiece piece = Take(Get(1000));
  EXPECT_EQ(GetType(piece), 2u);
  EXPECT_TRUE(piece.mapped);
  EXPECT_EQ(_pool.GetUsedSize(), 0);  // of the device
  _pool.Free(piece);
  EXPECT_EQ(_pool.GetUsedSize(), 0);
}

TEST_F(MemoryTest, MemoryOfTheHostIsRefusedWhereTheCallerCanMakeRoomFirst) {
  VkMemoryRequirements requirements = {};
  requirements.size = 1000;
  requirements.alignment = 256;
  requirements.memoryTypeBits = 0b101;
  g_driver.room[0] = 0;
  const auto get = [&](MemorySpill spill) {
    return _pool.Allocate(requirements, MemoryUse::Device, MemoryContent::Linear, spill);
  };
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(get(MemorySpill::Refused), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(diagnostics.GetLines(), IsEmpty());
  EXPECT_EQ(GetType(Take(get(MemorySpill::Allowed))), 2u);
  EXPECT_EQ(diagnostics.GetLines().size(), 1u);
}

TEST_F(MemoryTest, WithoutAnyRoomItIsOutOfMemory) {
  g_driver.room[0] = 0;
  g_driver.room[1] = 0;
  EXPECT_THAT(Get(1000), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(Get(1000, MemoryUse::Device, MemoryContent::Linear, 1), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(Get(1000, MemoryUse::Upload), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(g_driver.live, IsEmpty());
  g_driver.room[0] = 64 * kMiB;
  EXPECT_THAT(Get(1000), IsOk());
}

TEST_F(MemoryTest, APieceThatIsLargerThanTheHeapIsNotAskedFor) {
  EXPECT_THAT(Get(8192 * kMiB), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(g_driver.asked, IsEmpty());
}

TEST_F(MemoryTest, OtherFailuresAreAnsweredAtOnce) {
  g_driver.answer = VK_ERROR_DEVICE_LOST;
  EXPECT_THAT(Get(1000), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  EXPECT_THAT(g_driver.asked, ElementsAre(64));
}

TEST_F(MemoryTest, WhatTheDriverWantsAloneGetsMemoryOfItsOwn) {
  const MemoryPiece shared = Take(Get(1000));
  VkMemoryRequirements requirements = {};
  requirements.size = 3000;
  requirements.alignment = 256;
  requirements.memoryTypeBits = 0b1;
  const auto buffer = reinterpret_cast<VkBuffer>(UInt64{77});
  const MemoryPiece alone =
      Take(_pool.Allocate(requirements, MemoryUse::Device, MemoryContent::Linear, MemorySpill::Allowed, {buffer, {}}));
  EXPECT_NE(alone.memory, shared.memory);
  EXPECT_EQ(g_driver.aloneWith, 77u);
  EXPECT_EQ(g_driver.live.at(reinterpret_cast<UInt64>(alone.memory)).size, 3000);
  EXPECT_EQ(Take(Get(1000)).memory, shared.memory);
  _pool.Free(alone);
  EXPECT_EQ(g_driver.live.size(), 1u);
}

TEST_F(MemoryTest, WhatTheDriverOnlyPrefersAloneSharesABlockBeforeItLeavesTheDevice) {
  VkMemoryRequirements requirements = {};
  requirements.size = 3000;
  requirements.alignment = 256;
  requirements.memoryTypeBits = 0b101;
  const auto get = [&](Bool isRequired) {
    return Take(_pool.Allocate(requirements, MemoryUse::Device, MemoryContent::Linear, MemorySpill::Allowed,
                               {.buffer = reinterpret_cast<VkBuffer>(UInt64{77}), .isRequired = isRequired}));
  };
  const DiagnosticRecorder diagnostics;
  const MemoryPiece shared = Take(Get(1000));
  g_driver.room[0] = 0;
  EXPECT_EQ(get(false).memory, shared.memory);
  const MemoryPiece alone = get(true);
  EXPECT_EQ(GetType(alone), 2u);
  EXPECT_EQ(g_driver.aloneWith, 77u);
}

TEST_F(MemoryBudgetTest, ABudgetThatShrinksSendsWhatDoesNotFitToTheHostAndSaysSoOnceWithSizes) {
  EXPECT_EQ(GetType(Take(Get(100 * kMiB))), 0u);
  EXPECT_EQ(_pool.GetBudget().available, 3996 * kMiB);
  g_driver.budget = 120 * kMiB;
  EXPECT_EQ(_pool.GetBudget().available, 20 * kMiB);
  const DiagnosticRecorder diagnostics;
  EXPECT_EQ(GetType(Take(Get(50 * kMiB))), 2u);
  EXPECT_EQ(GetType(Take(Get(50 * kMiB))), 2u);
  ASSERT_EQ(diagnostics.GetLines().size(), 1u);
  EXPECT_THAT(diagnostics.GetLines()[0], testing::HasSubstr("a piece of 52428800 bytes"));
  EXPECT_THAT(diagnostics.GetLines()[0],
              testing::HasSubstr("Of the device's 4294967296 bytes this process uses 104857600."));
  EXPECT_EQ(GetType(Take(Get(1000))), 0u);  // in a block of what is left
  g_driver.budget = 4096 * kMiB;
  EXPECT_EQ(GetType(Take(Get(50 * kMiB))), 0u);
}

TEST_F(MemoryBudgetTest, BeyondTheBudgetTheCallerMakesRoomFirst) {
  const MemoryPiece first = Take(Get(100 * kMiB));
  g_driver.budget = 120 * kMiB;
  VkMemoryRequirements requirements = {};
  requirements.size = static_cast<VkDeviceSize>(50 * kMiB);
  requirements.alignment = 256;
  requirements.memoryTypeBits = 0b101;
  const auto get = [&] {
    return _pool.Allocate(requirements, MemoryUse::Device, MemoryContent::Linear, MemorySpill::Refused);
  };
  EXPECT_THAT(get(), IsErrorOfKind(kOutOfMemoryError));
  _pool.Free(first);
  EXPECT_EQ(GetType(Take(get())), 0u);
}

// A budget is an estimate.
TEST_F(MemoryBudgetTest, WhereNoOtherMemoryServesTheDriverDecides) {
  g_driver.budget = 10 * kMiB;
  EXPECT_EQ(GetType(Take(Get(50 * kMiB, MemoryUse::Device, MemoryContent::Linear, 0b1))), 0u);
  g_driver.room[0] = 0;
  EXPECT_THAT(Get(50 * kMiB, MemoryUse::Device, MemoryContent::Linear, 0b1), IsErrorOfKind(kOutOfMemoryError));
}

TEST_F(MemoryTest, TheLimitHoldsWhateverThereIs) {
  SetDrawportMemoryLimit(10 * kMiB);
  const MemoryPiece piece = Take(Get(8 * kMiB));
  EXPECT_THAT(Get(3 * kMiB), IsErrorOfKind(kOutOfMemoryError));
  _pool.Free(piece);
  EXPECT_THAT(Get(3 * kMiB), IsOk());
}

}  // namespace
