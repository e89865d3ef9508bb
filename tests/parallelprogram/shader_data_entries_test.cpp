// The records that programs on the GPU keep for buffers and textures, through their data types.
#include <gmock/gmock.h>

#include <cstring>

#include "ostra/core/data_dictionary.h"
#include "ostra/core/format.h"
#include "ostra/drawport/null_backend.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

using testing::ElementsAre;

// An item that only counts who holds it.
class CountedBufferItem final : public DrawportCounted<CountedBufferItem, DrawportVertexBufferItemInterface> {
 public:
  explicit CountedBufferItem(Int& liveCount) : _liveCount(liveCount) { ++_liveCount; }
  ~CountedBufferItem() { --_liveCount; }
  Result<DrawportVertexBuffer*> MakeValid(DrawportContextInterface&, const DrawportVertexBufferFill&) override {
    return nullptr;
  }
  DrawportVertexBufferSpecification GetSpecification() const override { return {}; }
  Result<void> SetDebugLabel(std::string_view) override { return OK; }

 private:
  Int& _liveCount;
};

struct FakeDeviceBuffer final : DrawportDeviceBuffer {
  Int GetSize() const override { return 0; }
};

class ShaderDataEntriesTest : public testing::Test {
 protected:
  void SetUp() override {
    entry._item = DrawportVertexBufferItemRef::Adopt(NewObj<CountedBufferItem>(liveItems));
    entry._deviceBuffer = &deviceBuffer;
    entry._data = &liveItems;
    entry._capacity = 12;
    entry._count = 7;
    entry._elementType = GetDataType<Float32>();
    entry._bufferId = "image"_iid;
  }

  UniqueHashStream::Value GetUniqueHash(const DataBufferEntry& value) {
    UniqueHashStream stream;
    GetDataType<DataBufferEntry>().GetUniqueHashCode(&value, stream);
    return stream.GetValue();
  }

  Int liveItems = 0;
  FakeDeviceBuffer deviceBuffer;
  DataBufferEntry entry;
};

TEST_F(ShaderDataEntriesTest, TheTypesHaveTheirIdsAndNames) {
  const DataType buffer = GetDataType<DataBufferEntry>();
  EXPECT_EQ(buffer.GetId(), "net.ostra.datatype.shaderdataentries.databufferentry"_id);
  EXPECT_EQ(buffer.GetName(), "ostra::DataBufferEntry");
  EXPECT_EQ(buffer.GetSize(), 56);
  const DataType texture = GetDataType<TextureSamplerEntry>();
  EXPECT_EQ(texture.GetId(), "net.ostra.datatype.shaderdataentries.texturesamplerentry"_id);
  EXPECT_EQ(texture.GetName(), "ostra::TextureSamplerEntry");
}

TEST_F(ShaderDataEntriesTest, ANewBufferEntryIsEmpty) {
  const DataBufferEntry empty;
  EXPECT_FALSE(empty._data);
  EXPECT_FALSE(empty._item);
  EXPECT_FALSE(empty._deviceBuffer);
  EXPECT_EQ(empty._capacity, 0);
  EXPECT_EQ(empty._count, 0);
  EXPECT_FALSE(empty._elementType.IsPopulated());
  EXPECT_TRUE(empty._bufferId.IsEmpty());
}

TEST_F(ShaderDataEntriesTest, ACopyHoldsTheSameStorage) {
  {
    const DataBufferEntry copy = entry;
    EXPECT_EQ(copy, entry);
    EXPECT_EQ(copy._item, entry._item);
    entry = DataBufferEntry();
    EXPECT_EQ(liveItems, 1);
  }
  EXPECT_EQ(liveItems, 0);
}

TEST_F(ShaderDataEntriesTest, BufferEntriesAreEqualWhenAllFieldsAre) {
  const DataType type = GetDataType<DataBufferEntry>();
  const auto differs = [&](auto change) {
    DataBufferEntry other = entry;
    EXPECT_TRUE(type.IsEqual(&entry, &other));
    EXPECT_EQ(GetUniqueHash(entry), GetUniqueHash(other));
    EXPECT_EQ(type.GetHashCode(&entry), type.GetHashCode(&other));
    change(other);
    return !type.IsEqual(&entry, &other) && !(GetUniqueHash(entry) == GetUniqueHash(other)) &&
           type.GetHashCode(&entry) != type.GetHashCode(&other);
  };
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._data = nullptr; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._item = nullptr; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._deviceBuffer = nullptr; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._capacity = 13; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._count = 8; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._elementType = GetDataType<Int32>(); }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._elementType = DataType(); }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { other._bufferId = "picture"_iid; }));
  EXPECT_TRUE(differs([](DataBufferEntry& other) { std::swap(other._capacity, other._count); }));
}

TEST_F(ShaderDataEntriesTest, BufferEntriesHaveNoOrder) {
  const DiagnosticRecorder diagnostics;
  EXPECT_EQ(GetDataType<DataBufferEntry>().Compare(&entry, &entry), std::partial_ordering::unordered);
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("Stop: Compare not defined."));
}

TEST_F(ShaderDataEntriesTest, ABufferEntryIsWrittenAsItsFields) {
  const DataBufferEntry empty;
  auto text = GetDataType<DataBufferEntry>().ToText(&empty);
  ASSERT_THAT(text, IsOk());
  EXPECT_EQ(*text, "(nullptr,nullptr,nullptr,0,0,nullptr,)");

  text = GetDataType<DataBufferEntry>().ToText(&entry);
  ASSERT_THAT(text, IsOk());
  auto expected = Format("(@,@,@,12,7,float32,image)", static_cast<Generic*>(entry._data), entry._item.GetPointer(),
                         entry._deviceBuffer);
  ASSERT_THAT(expected, IsOk());
  EXPECT_EQ(*text, *expected);
}

TEST_F(ShaderDataEntriesTest, ABufferEntryTravelsInADictionary) {
  DataDictionary table;
  ASSERT_THAT(table.Set("a"_iid, entry), IsOk());
  const DataDictionary copy = table;
  ASSERT_THAT(table.EraseData("a"_iid), IsOk());
  auto found = copy.Get<DataBufferEntry>("a"_iid);
  ASSERT_THAT(found, IsOk());
  EXPECT_EQ(*found, entry);
}

TEST_F(ShaderDataEntriesTest, ARecordForWhichThereIsNoMemoryIsAnError) {
  const Int failures = ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const Data buffer, Data::Create(entry));
    const TextureSamplerEntry texture;
    OSTRA_ASSIGN_OR_RETURN(const Data other, Data::Create(texture));
    return OK;
  });
  EXPECT_EQ(failures, 2);
}

TEST_F(ShaderDataEntriesTest, ANewTextureEntryIsZero) {
  const TextureSamplerEntry empty;
  EXPECT_FALSE(empty._texture);
  EXPECT_FALSE(empty._sampler);
  EXPECT_FALSE(empty._textureItem);
  EXPECT_FALSE(empty._samplerItem);
  EXPECT_FALSE(empty._samplingData._texels);
  EXPECT_EQ(empty._samplingData._dataSize, 0);
  EXPECT_EQ(empty._samplingData._dimensions, Vec3<UInt32>(0));
  EXPECT_EQ(empty._samplingData._flags._bits, 0);
  EXPECT_EQ(static_cast<Int32>(empty._samplingData._format), 0);
  EXPECT_EQ(empty._state, 0u);
  EXPECT_TRUE(empty._textureId.IsEmpty());
}

TextureSamplerEntry MakeTextureEntry() {
  TextureSamplerEntry texture;
  SamplingData& data = texture._samplingData;
  data._borderColor[2] = 0.5f;
  data._numChannels = 3;
  data._dataSize = 60;
  data._dimensions = Vec3<UInt32>(5, 4, 1);
  data._flags._bits = 0x142;
  data._format = TextureFormat::U8;
  EXPECT_THAT(data.AllocateTexels(true), IsOk());
  texture._state = 0x123456789ABCDEF0ull;
  texture._textureId = "image"_iid;
  return texture;
}

TEST_F(ShaderDataEntriesTest, TheCopyOfATextureEntryHasNoTexels) {
  const TextureSamplerEntry texture = MakeTextureEntry();
  ASSERT_TRUE(texture._samplingData._texels);
  auto data = Data::Create(texture);
  ASSERT_THAT(data, IsOk());
  const auto* copy = data->GetIf<TextureSamplerEntry>();
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy->_samplingData._texels);
  EXPECT_EQ(copy->_samplingData._borderColor[2], 0.5f);
  EXPECT_EQ(copy->_samplingData._numChannels, 3u);
  EXPECT_EQ(copy->_samplingData._dataSize, 60);
  EXPECT_EQ(copy->_samplingData._dimensions, Vec3<UInt32>(5, 4, 1));
  EXPECT_EQ(copy->_samplingData._flags._bits, 0x142);
  EXPECT_EQ(copy->_state, 0x123456789ABCDEF0ull);
  EXPECT_EQ(copy->_textureId, "image"_iid);
}

TEST_F(ShaderDataEntriesTest, AssigningATextureEntryFreesTheTexelsThatItHad) {
  const Int liveBefore = AllocationFaults::GetLiveCount();
  {
    TextureSamplerEntry texture = MakeTextureEntry();
    texture = TextureSamplerEntry(MakeTextureEntry());
    const TextureSamplerEntry& same = texture;
    texture = same;
    EXPECT_TRUE(texture._samplingData._texels);
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
}

TEST_F(ShaderDataEntriesTest, TextureEntriesCannotBeComparedOrHashed) {
  const DiagnosticRecorder diagnostics;
  const DataType type = GetDataType<TextureSamplerEntry>();
  const TextureSamplerEntry texture;
  UniqueHashStream stream;
  EXPECT_FALSE(type.IsEqual(&texture, &texture));
  EXPECT_EQ(type.GetHashCode(&texture), 0u);
  type.GetUniqueHashCode(&texture, stream);
  EXPECT_EQ(stream.GetValue(), UniqueHashStream().GetValue());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("Stop: IsEqual not defined.", "Stop: GetHashCode not defined.",
                                                  "Stop: GetUniqueHashCode not defined."));
}

TEST_F(ShaderDataEntriesTest, RunsOfEntriesAreMadeCopiedAndDestroyedWithAStride) {
  const DataType type = GetDataType<DataBufferEntry>();
  struct Slot {
    DataBufferEntry entry;
    UInt64 guard;
  };
  alignas(DataBufferEntry) Byte memory[3 * sizeof(Slot)];
  std::memset(memory, 0x5A, sizeof(memory));
  const DataBufferEntry source[3] = {entry, DataBufferEntry(), entry};
  auto* slots = reinterpret_cast<Slot*>(memory);
  for (Slot& slot : {std::ref(slots[0]), std::ref(slots[1]), std::ref(slots[2])}) type.Construct(&slot.entry);
  ASSERT_THAT(type.Copy(memory, sizeof(Slot), source, sizeof(DataBufferEntry), 3), IsOk());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(slots[i].entry, source[i]) << i;
    EXPECT_EQ(slots[i].guard, 0x5A5A5A5A5A5A5A5Aull) << i;
    type.Destruct(&slots[i].entry);
  }
}

}  // namespace
}  // namespace ostra
