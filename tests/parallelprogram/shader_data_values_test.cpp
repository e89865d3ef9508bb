// The records that programs on the GPU keep for buffers and textures, as values: their hash, their layout, whom they
// hold, and runs of them.
#include <gmock/gmock.h>

#include <cstring>

#include "ostra/core/hash.h"
#include "ostra/drawport/null_backend.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

// Items that only count how many of them live.
template <class Derived, class Interface>
class CountedItem : public DrawportCounted<Derived, Interface> {
 public:
  explicit CountedItem(Int& live) : _live(live) { ++_live; }
  ~CountedItem() { --_live; }

 private:
  Int& _live;
};
class BufferItem final : public CountedItem<BufferItem, DrawportVertexBufferItemInterface> {
 public:
  using CountedItem::CountedItem;
  Result<DrawportVertexBuffer*> MakeValid(DrawportContextInterface&, const DrawportVertexBufferFill&) override {
    return nullptr;
  }
  DrawportVertexBufferSpecification GetSpecification() const override { return {}; }
  Result<void> SetDebugLabel(std::string_view) override { return OK; }
};
class TextureItem final : public CountedItem<TextureItem, DrawportTextureItemInterface> {
 public:
  using CountedItem::CountedItem;
  Result<DrawportTexture*> MakeValid(DrawportContextInterface&, const DrawportTextureFill&) override { return nullptr; }
};
class SamplerItem final : public CountedItem<SamplerItem, DrawportTextureSamplerItemInterface> {
 public:
  using CountedItem::CountedItem;
  Result<DrawportTextureSampler*> MakeValid(DrawportContextInterface&) override { return nullptr; }
};

struct FakeBuffer final : DrawportDeviceBuffer {
  Int GetSize() const override { return 0; }
};

UInt64 ToWord(const void* pointer) { return reinterpret_cast<UInt64>(pointer); }

class ShaderDataValuesTest : public testing::Test {
 protected:
  TextureSamplerEntry MakeTexture() {
    TextureSamplerEntry entry;
    entry._textureItem = DrawportTextureItemRef::Adopt(NewObj<TextureItem>(liveTextures));
    entry._samplerItem = DrawportTextureSamplerItemRef::Adopt(NewObj<SamplerItem>(liveSamplers));
    entry._samplingData._numChannels = 3;
    entry._samplingData._dataSize = 60;
    entry._samplingData._dimensions = Vec3<UInt32>(5, 4, 1);
    entry._samplingData._format = TextureFormat::U8;
    EXPECT_THAT(entry._samplingData.AllocateTexels(true), IsOk());
    entry._state = 7;
    entry._textureId = "image"_iid;
    return entry;
  }

  Int liveBuffers = 0, liveTextures = 0, liveSamplers = 0;
};

TEST_F(ShaderDataValuesTest, TheUniqueHashOfABufferIsThatOfItsFieldsInTheirOrder) {
  FakeBuffer deviceBuffer;
  DataBufferEntry entry;
  entry._data = &deviceBuffer;
  entry._item = DrawportVertexBufferItemRef::Adopt(NewObj<BufferItem>(liveBuffers));
  entry._deviceBuffer = &deviceBuffer;
  entry._capacity = 12;
  entry._count = 7;
  entry._bufferId = "image"_iid;
  for (const DataType& type : {DataType(), GetDataType<Float32>()}) {
    entry._elementType = type;
    UniqueHashStream expected;
    expected.Write(ToWord(&deviceBuffer));
    expected.Write(MixHash(ToWord(entry._item.GetPointer())));
    expected.Write(ToWord(static_cast<DrawportDeviceBuffer*>(&deviceBuffer)));
    expected.Write(UInt64{12});
    expected.Write(UInt64{7});
    expected.Write(type);
    const auto id = ("image"_iid).GetUniqueHash();
    expected.Write(id.low);
    expected.Write(id.high);
    UniqueHashStream stream;
    GetDataType<DataBufferEntry>().GetUniqueHashCode(&entry, stream);
    EXPECT_EQ(stream.GetValue(), expected.GetValue());
  }
}

TEST_F(ShaderDataValuesTest, TheFieldsOfATextureLieInTheirOrder) {
  const TextureSamplerEntry entry;
  const auto* first = reinterpret_cast<const Byte*>(&entry);
  const auto at = [&](const void* field) { return static_cast<const Byte*>(field) - first; };
  EXPECT_EQ(at(&entry._texture), 0);
  EXPECT_EQ(at(&entry._sampler), 8);
  EXPECT_EQ(at(&entry._textureItem), 16);
  EXPECT_EQ(at(&entry._samplerItem), 24);
  EXPECT_EQ(at(&entry._samplingData), 32);
  EXPECT_EQ(at(&entry._samplingData._texels), 32 + 16);  // behind the border colour
  EXPECT_EQ(at(&entry._state), 32 + static_cast<Int>(sizeof(SamplingData)));
  EXPECT_EQ(at(&entry._textureId), at(&entry._state) + 8);
  EXPECT_EQ(sizeof(TextureSamplerEntry), 32 + sizeof(SamplingData) + 16);
  EXPECT_EQ(GetDataType<TextureSamplerEntry>().GetSize(), static_cast<Int>(sizeof(TextureSamplerEntry)));
}

TEST_F(ShaderDataValuesTest, EveryCopyOfATextureHoldsItsItems) {
  {
    TextureSamplerEntry entry = MakeTexture();
    const TextureSamplerEntry copy = entry;
    entry = TextureSamplerEntry();
    EXPECT_EQ(liveTextures, 1);
    EXPECT_EQ(liveSamplers, 1);
    EXPECT_TRUE(copy._textureItem);
    EXPECT_TRUE(copy._samplerItem);
  }
  EXPECT_EQ(liveTextures, 0);
  EXPECT_EQ(liveSamplers, 0);
}

TEST_F(ShaderDataValuesTest, RunsOfTexturesAreMadeCopiedMovedAndDestroyedWithAStride) {
  const DataType type = GetDataType<TextureSamplerEntry>();
  constexpr UInt64 kGuard = 0x5A5A5A5A5A5A5A5Aull;
  struct Slot {
    TextureSamplerEntry entry;
    UInt64 guard;
  };
  constexpr Int kCount = 3, kStride = sizeof(Slot);
  const Int liveBefore = AllocationFaults::GetLiveCount();
  {
    TextureSamplerEntry source[kCount] = {MakeTexture(), TextureSamplerEntry(), MakeTexture()};
    const Int liveOfSource = AllocationFaults::GetLiveCount();
    alignas(Slot) Byte memory[kCount * sizeof(Slot)];
    std::memset(memory, 0x5A, sizeof(memory));
    auto* slots = reinterpret_cast<Slot*>(memory);
    const auto& operations = type.GetOperations();
    operations.construct(memory, kStride, kCount);
    for (Int i = 0; i < kCount; ++i) EXPECT_FALSE(slots[i].entry._textureItem);

    ASSERT_THAT(type.Copy(memory, kStride, source, sizeof(TextureSamplerEntry), kCount), IsOk());
    EXPECT_EQ(AllocationFaults::GetLiveCount(), liveOfSource);  // no texels
    for (Int i = 0; i < kCount; ++i) {
      EXPECT_EQ(slots[i].guard, kGuard);
      EXPECT_FALSE(slots[i].entry._samplingData._texels);
      EXPECT_EQ(slots[i].entry._textureItem, source[i]._textureItem);
      EXPECT_EQ(slots[i].entry._samplingData._dataSize, source[i]._samplingData._dataSize);
      EXPECT_EQ(slots[i].entry._textureId, source[i]._textureId);
    }
    // What is moved takes the texels with it.
    operations.move(memory, kStride, source, sizeof(TextureSamplerEntry), kCount);
    EXPECT_TRUE(slots[0].entry._samplingData._texels);
    EXPECT_FALSE(source[0]._samplingData._texels);
    EXPECT_FALSE(source[0]._textureItem);
    EXPECT_EQ(AllocationFaults::GetLiveCount(), liveOfSource);
    EXPECT_EQ(slots[2].entry._state, 7u);

    operations.destruct(memory, kStride, kCount);
    for (Int i = 0; i < kCount; ++i) EXPECT_EQ(slots[i].guard, kGuard);
    EXPECT_EQ(liveTextures, 0);
    EXPECT_EQ(liveSamplers, 0);
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
}

TEST_F(ShaderDataValuesTest, RawMemoryIsFilledByCopiesAndMoves) {
  const DataType type = GetDataType<TextureSamplerEntry>();
  const Int liveBefore = AllocationFaults::GetLiveCount();
  {
    TextureSamplerEntry source = MakeTexture();
    alignas(TextureSamplerEntry) Byte memory[2][sizeof(TextureSamplerEntry)];
    ASSERT_THAT(type.ConstructCopy(memory[0], &source), IsOk());
    ASSERT_THAT(type.ConstructMoved(memory[1], &source), IsOk());
    const auto& copy = *reinterpret_cast<const TextureSamplerEntry*>(memory[0]);
    const auto& moved = *reinterpret_cast<const TextureSamplerEntry*>(memory[1]);
    EXPECT_EQ(copy._samplerItem, moved._samplerItem);
    EXPECT_FALSE(copy._samplingData._texels);
    EXPECT_TRUE(moved._samplingData._texels);
    type.Destruct(memory[0]);
    type.Destruct(memory[1]);
    EXPECT_EQ(liveTextures, 0);
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
}

}  // namespace
}  // namespace ostra
