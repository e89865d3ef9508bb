// Texels of the GPU program on their way to the device and back: blocks, rows, regions, and what fails on the way.
#include "tests/gpu/textures_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kRowTooLong = "A row of the texture does not fit the staging capacity.";
constexpr const char* kOverrun =
    "Tried to copy more bytes than allocated in parallelProgramGPU.GetTextureData(). Texture maybe too small (Minimum "
    "of 256 bytes per line)?";

class GpuTextureTransferTest : public GpuTexturesTest {
 protected:
  void StoreNumbered(const Vec3<UInt32>& size) {
    TextureBindData data = Number(size);
    ASSERT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsOk());
    stored = size;
  }
  Result<Data> ReadTo(const Vec3<Int32>& end) { return program->GetTextureData("t"_iid, Vec3<Int32>(0), end); }
  // Reads from the origin to `end` and expects the numbers that were stored there.
  void ExpectNumbers(const Vec3<Int32>& end) {
    const auto read = ReadTo(end);
    ASSERT_THAT(read, IsOk());
    const auto* record = read->GetIf<SamplingData>();
    ASSERT_TRUE(record);
    const auto clip = [](Int32 limit, UInt32 extent) { return std::min(static_cast<UInt32>(limit), extent); };
    const Vec3<UInt32> size(clip(end.x, stored.x), clip(end.y, stored.y), clip(end.z, stored.z));
    ASSERT_EQ(record->_dimensions, size);
    ASSERT_EQ(record->_dataSize, Int64{4} * size.x * size.y * size.z);
    Int i = 0;
    for (UInt32 z = 0; z < size.z; ++z)
      for (UInt32 y = 0; y < size.y; ++y)
        for (UInt32 x = 0; x < size.x; ++x, ++i) {
          Float32 value = -1;
          MemCopy(&value, record->_texels + i * 4, 4);
          ASSERT_EQ(value, static_cast<Float32>((z * stored.y + y) * stored.x + x)) << x << ", " << y << ", " << z;
        }
  }
  static constexpr Int32 kAll = 1 << 30;
  Vec3<UInt32> stored{0, 0, 0};
};

TEST_F(GpuTextureTransferTest, WholeSlicesGoTogetherAndTheLastBlockIsClipped) {
  StoreNumbered({64, 64, 7});  // slices of 16 KiB, four of which fit
  EXPECT_THAT(TakeCalls(), testing::IsSupersetOf({"staging 65536 use 4", "map texture 8 at 0,0,0 of 64x64x4",
                                                  "map texture 8 at 0,0,4 of 64x64x3"}));
  ExpectNumbers(Vec3<Int32>(kAll));
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 32", "map texture 1 at 0,0,0 of 64x64x4",
                                       "map texture 1 at 0,0,4 of 64x64x3", "release"));
  ExpectNumbers({64, 64, 5});
  EXPECT_THAT(TakeCallsOf("map"),
              ElementsAre("map texture 1 at 0,0,0 of 64x64x4", "map texture 1 at 0,0,4 of 64x64x1"));
  ExpectNumbers({11, 63, 3});  // everything at once
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 8316 use 32", "map texture 1 at 0,0,0 of 11x63x3", "release"));
}

TEST_F(GpuTextureTransferTest, SlicesThatDoNotFitGoInRowsOneSliceAfterTheOther) {
  StoreNumbered({128, 200, 2});  // slices of 100 KiB, rows of 512 bytes
  EXPECT_THAT(TakeCallsOf("map"),
              ElementsAre("map texture 8 at 0,0,0 of 128x128x1", "map texture 8 at 0,128,0 of 128x72x1",
                          "map texture 8 at 0,0,1 of 128x128x1", "map texture 8 at 0,128,1 of 128x72x1"));
  ExpectNumbers(Vec3<Int32>(kAll));
  EXPECT_THAT(TakeCallsOf("map"),
              ElementsAre("map texture 1 at 0,0,0 of 128x128x1", "map texture 1 at 0,128,0 of 128x72x1",
                          "map texture 1 at 0,0,1 of 128x128x1", "map texture 1 at 0,128,1 of 128x72x1"));
}

TEST_F(GpuTextureTransferTest, PaddedRowsCountInBlocksOfSlices) {
  device.rowAlignment = 256;
  Start();
  StoreNumbered({5, 100, 5});  // rows of 256 bytes for 20, two slices a block
  EXPECT_THAT(TakeCallsOf("map"), ElementsAre("map texture 8 at 0,0,0 of 5x100x2", "map texture 8 at 0,0,2 of 5x100x2",
                                              "map texture 8 at 0,0,4 of 5x100x1"));
  ExpectNumbers(Vec3<Int32>(kAll));
  EXPECT_EQ(TakeCallsOf("map").size(), 3u);
  ExpectNumbers({3, 99, 4});
}

TEST_F(GpuTextureTransferTest, ARowThatJustFitsGoesAlone) {
  StoreNumbered({16384, 3, 1});
  EXPECT_THAT(TakeCallsOf("map"),
              ElementsAre("map texture 8 at 0,0,0 of 16384x1x1", "map texture 8 at 0,1,0 of 16384x1x1",
                          "map texture 8 at 0,2,0 of 16384x1x1"));
  ExpectNumbers(Vec3<Int32>(kAll));
}

TEST_F(GpuTextureTransferTest, RowsThatDoNotFitAreRefusedInBothDirections) {
  const DiagnosticRecorder diagnostics;
  StoreNumbered({16385, 2, 1});
  EXPECT_THAT(TakeCallsOf("map"), IsEmpty());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre(std::string(kRowTooLong) + ", at attribute t"));
  EXPECT_THAT(ReadTo(Vec3<Int32>(kAll)), IsErrorWith(kIllegalStateError, kRowTooLong));
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 32", "release"));
  EXPECT_EQ(diagnostics.GetLines().size(), 2u);
  // A region of it may fit.
  EXPECT_THAT(ReadTo({16384, 2, 1}), IsOk());
}

TEST_F(GpuTextureTransferTest, RowsThatDoNotFitWithTheirPaddingAreRefused) {
  device.rowAlignment = 40000;
  Start();
  const DiagnosticRecorder diagnostics;
  StoreNumbered({12000, 2, 1});  // 48000 bytes, 80000 with padding
  EXPECT_THAT(TakeCallsOf("map"), IsEmpty());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre(std::string(kRowTooLong) + ", at attribute t"));
  EXPECT_THAT(ReadTo(Vec3<Int32>(kAll)), IsErrorWith(kIllegalStateError, kRowTooLong));
}

TEST_F(GpuTextureTransferTest, WithoutStagingMemoryAFillIsSaidAndAReadIsAnError) {
  const DiagnosticRecorder diagnostics;
  device.failing = "staging";
  StoreNumbered({4, 4, 1});
  EXPECT_THAT(TakeCalls(), Not(Contains("release")));
  EXPECT_THAT(ReadTo(Vec3<Int32>(kAll)), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 64 use 32"));
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("made-up failure, at attribute t", "made-up failure, at attribute t"));
  device.failing.clear();
  EXPECT_EQ(GetFirst("t"_iid), 0);
}

TEST_F(GpuTextureTransferTest, WhyATextureCannotBeMappedIsSaid) {
  StoreNumbered({64, 64, 7});
  device.failing = "map texture 1 at 0,0,4";  // the second block
  const DiagnosticRecorder diagnostics;
  TakeCalls();
  EXPECT_THAT(ReadTo(Vec3<Int32>(kAll)), IsErrorWith(kIllegalStateError, "MapTexture in GetTextureData failed"));
  EXPECT_EQ(TakeCalls().back(), "release");
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("MapTexture in GetTextureData: made-up failure",
                                                  "MapTexture in GetTextureData failed, at attribute t"));
}

TEST_F(GpuTextureTransferTest, AMapThatFailsEndsTheFill) {
  const DiagnosticRecorder diagnostics;
  device.failing = "map texture 8 at 0,16,0";
  StoreNumbered({1024, 48, 1});
  EXPECT_THAT(TakeCallsOf("map"),
              ElementsAre("map texture 8 at 0,0,0 of 1024x16x1", "map texture 8 at 0,16,0 of 1024x16x1"));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("made-up failure, at attribute t"));
  EXPECT_TRUE(IsOnDevice("t"_iid));
}

TEST_F(GpuTextureTransferTest, RegionsWithoutTexelsAskNothingOfTheDevice) {
  StoreNumbered({4, 4, 2});
  TakeCalls();
  const auto expect = [&](const Vec3<Int32>& end, const Vec3<UInt32>& size) {
    const auto read = ReadTo(end);
    ASSERT_THAT(read, IsOk());
    const auto* record = read->GetIf<SamplingData>();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->_dimensions, size);
    EXPECT_EQ(record->_dataSize, 0);
  };
  expect({0, 4, 2}, {0, 4, 2});
  expect({4, 0, 1}, {4, 0, 1});
  expect({4, 9, 0}, {4, 4, 0});
  expect({-3, 4, 2}, {0, 4, 2});
  expect({INT32_MAX, INT32_MIN, 1}, {4, 0, 1});
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(GpuTextureTransferTest, WhereARegionBeginsDoesNotCount) {
  StoreNumbered({6, 5, 4});
  for (const Vec3<Int32>& begin : {Vec3<Int32>(3, 2, 1), Vec3<Int32>(-7, 100, 0)}) {
    const auto read = program->GetTextureData("t"_iid, begin, {5, 3, 2});
    ASSERT_THAT(read, IsOk());
    const auto* record = read->GetIf<SamplingData>();
    EXPECT_EQ(record->_dimensions, Vec3<UInt32>(5, 3, 2));
    Float32 last = -1;
    MemCopy(&last, record->_texels + record->_dataSize - 4, 4);
    EXPECT_EQ(last, (1 * 5 + 2) * 6 + 4);
  }
}

TEST_F(GpuTextureTransferTest, ATextureThatWasUpdatedByFewerTexelsIsReadAsFarAsThese) {
  StoreNumbered({4, 4, 1});
  ASSERT_THAT(program->UpdateTextureBindData("t"_iid, Fill(2, 3, 5)), IsOk());
  EXPECT_THAT(ReadTo(Vec3<Int32>(kAll)), IsErrorWith(kIllegalStateError, kOverrun));
  const auto read = ReadTo({2, 3, 1});
  ASSERT_THAT(read, IsOk());
  EXPECT_EQ(read->GetIf<SamplingData>()->_dataSize, 24);
}

TEST_F(GpuTextureTransferTest, TexelsOfEveryShapeArriveWhereTheyBelong) {
  for (const auto& [size, type] : {std::pair(Vec3<UInt32>(1, 9, 1), DrawportTextureType::Texture2D),
                                   std::pair(Vec3<UInt32>(1, 1, 7), DrawportTextureType::Texture3D),
                                   std::pair(Vec3<UInt32>(9, 1, 7), DrawportTextureType::Texture3D),
                                   std::pair(Vec3<UInt32>(9, 1, 1), DrawportTextureType::Texture1D),
                                   std::pair(Vec3<UInt32>(1, 1, 1), DrawportTextureType::Texture1D)}) {
    StoreNumbered(size);
    EXPECT_EQ((*program->GetTextureHandle("t"_iid))->GetDescription().type, type);
    ExpectNumbers(Vec3<Int32>(kAll));
  }
}

}  // namespace
}  // namespace ostra::test
