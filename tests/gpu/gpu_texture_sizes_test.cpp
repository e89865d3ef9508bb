// Textures of odd and of the largest sizes on the device: texels that are stored, read in regions, and refused.
#include <regex>

#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/resources.h"
#include "ostra/drawport/settings.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

using Size = Vec3<UInt32>;

class GpuTextureSizesTest : public DeviceProgramTest {
 protected:
  void TearDown() override {
    program = nullptr;
    SetDrawportStagingCapacity(0);
    SetDrawportRowAlignment(1);
  }
  // Bytes in which neighbours, also of other rows and slices, differ.
  static std::vector<Byte> MakeBytes(const Size& size, UInt32 channels, Int elementSize) {
    std::vector<Byte> bytes(std::size_t{size.x} * size.y * size.z * channels * static_cast<std::size_t>(elementSize));
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<Byte>((i * 2654435761u) >> 13);
    return bytes;
  }
  static TextureBindData Describe(const Size& size, TextureFormat format, UInt32 channels,
                                  const std::vector<Byte>& bytes) {
    TextureBindData data;
    data._data = bytes.data();
    data._dataSize = static_cast<Int64>(bytes.size());
    data._dimensions = size;
    data._format = format;
    data._numChannels = channels;
    return data;
  }
  // Stores a texture and reads it to each of `ends`.
  void ExpectBack(const Size& size, TextureFormat format, UInt32 channels, const std::vector<Vec3<Int32>>& ends) {
    SCOPED_TRACE(testing::Message() << size.x << " x " << size.y << " x " << size.z << ", " << channels
                                    << " channels of format " << static_cast<int>(format));
    const Int texelSize = GetElementSize(format) * channels;
    const std::vector<Byte> bytes = MakeBytes(size, channels, GetElementSize(format));
    TextureBindData data = Describe(size, format, channels, bytes);
    ASSERT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsOk());
    for (const Vec3<Int32>& end : ends) {
      const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(1, 2, 3), end);
      ASSERT_THAT(read, IsOk());
      const auto* record = read->GetIf<SamplingData>();
      ASSERT_TRUE(record);
      const Size part(std::min(static_cast<UInt32>(end.x), size.x), std::min(static_cast<UInt32>(end.y), size.y),
                      std::min(static_cast<UInt32>(end.z), size.z));
      ASSERT_EQ(record->_dimensions, part);
      const Int row = Int{part.x} * texelSize;
      ASSERT_EQ(record->_dataSize, row * part.y * part.z);
      for (Int y = 0; y < Int{part.y} * part.z; ++y) {
        const Int line = y / part.y * size.y + y % part.y;
        ASSERT_EQ(std::memcmp(record->_texels + y * row, bytes.data() + line * size.x * texelSize,
                              static_cast<std::size_t>(row)),
                  0)
            << "row " << y << " to " << end.x << ", " << end.y << ", " << end.z;
      }
    }
  }
  void ExpectBack(const Size& size, TextureFormat format, UInt32 channels) {
    ExpectBack(size, format, channels, {Vec3<Int32>(1 << 30)});
  }
  DrawportTextureType GetType() { return (*program->GetTextureHandle("t"_iid))->GetDescription().type; }
};

TEST_F(GpuTextureSizesTest, ColumnsAreTexturesOfTwoDimensionsAndLinesAlongZOfThree) {
  ExpectBack({1, 9, 1}, TextureFormat::F32, 4);
  EXPECT_EQ(GetType(), DrawportTextureType::Texture2D);
  ExpectBack({1, 9, 1}, TextureFormat::U8, 3);
  ExpectBack({1, 1, 7}, TextureFormat::F32, 1);
  EXPECT_EQ(GetType(), DrawportTextureType::Texture3D);
  ExpectBack({1, 1, 7}, TextureFormat::U8, 3);
  ExpectBack({9, 1, 7}, TextureFormat::U8, 1);
  EXPECT_EQ(GetType(), DrawportTextureType::Texture3D);
  ExpectBack({9, 1, 1}, TextureFormat::U16, 2);
  EXPECT_EQ(GetType(), DrawportTextureType::Texture1D);
}

TEST_F(GpuTextureSizesTest, ASingleTexelHasOneDimension) {
  for (const TextureFormat format : {TextureFormat::F32, TextureFormat::U8})
    for (const UInt32 channels : {1u, 2u, 3u, 4u}) ExpectBack({1, 1, 1}, format, channels);
  EXPECT_EQ(GetType(), DrawportTextureType::Texture1D);
  // A kernel that declares two dimensions does not take it.
  AddKernel(*program, "k"_iid, "net.ostra.parity.texture2d.krn");
  ExpectBack({1, 1, 1}, TextureFormat::F32, 4);
  ASSERT_THAT(program->SetTextureToActiveKernel("t"_iid, "image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(),
              IsErrorWith(kIllegalArgumentError,
                          "The kernel's texture \"image\" is a 2D texture, but a 1D texture is linked to it."));
}

TEST_F(GpuTextureSizesTest, OddRegionsOfOddTexturesAreReadPacked) {
  const std::vector<Vec3<Int32>> ends = {{13, 7, 3}, {37, 1, 5}, {1, 19, 1}, {1, 1, 1}, {36, 18, 4}, {99, 3, 99}};
  for (const Int alignment : {1, 256}) {
    SetDrawportRowAlignment(alignment);
    ExpectBack({37, 19, 5}, TextureFormat::U8, 3, ends);
    ExpectBack({37, 19, 5}, TextureFormat::F32, 1, ends);
    ExpectBack({37, 19, 1}, TextureFormat::U16, 3, ends);
    ExpectBack({37, 19, 1}, TextureFormat::U8, 1, ends);
    ExpectBack({37, 1, 1}, TextureFormat::F32, 3, ends);
  }
}

TEST_F(GpuTextureSizesTest, RegionsWithoutTexelsAreEmpty) {
  ExpectBack({5, 4, 3}, TextureFormat::F32, 1);
  for (const Vec3<Int32>& end : {Vec3<Int32>(0, 4, 3), Vec3<Int32>(5, -1, 3), Vec3<Int32>(INT32_MIN)}) {
    const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(0), end);
    ASSERT_THAT(read, IsOk());
    EXPECT_EQ(read->GetIf<SamplingData>()->_dataSize, 0);
  }
}

// The largest extents, as the device says them when it refuses a texture.
struct Largest {
  UInt32 in1D = 0, in2D = 0, in3D = 0;
};

class LargestTextureTest : public GpuTextureSizesTest {
 protected:
  UInt32 FindLimit(const Size& tooLarge) {
    TextureBindData data = Describe(tooLarge, TextureFormat::U8, 1, {});
    const auto stored = program->StoreTextureBindData("limit"_iid, data, false);
    EXPECT_THAT(stored, IsErrorContaining(kIllegalArgumentError, "is not possible; the GPU device has at most "));
    if (stored) return 0;
    const std::string message(stored.GetError().GetMessage().GetView());
    std::smatch found;
    if (!std::regex_search(message, found, std::regex("at most ([0-9]+) x"))) return 0;
    return static_cast<UInt32>(std::stoul(found[1]));
  }
  void ExpectRefused(const Size& size) {
    TextureBindData data = Describe(size, TextureFormat::U8, 1, {});
    EXPECT_THAT(program->StoreTextureBindData("t"_iid, data, false),
                IsErrorContaining(kIllegalArgumentError, "is not possible; the GPU device has at most "));
  }
  static constexpr UInt32 kFar = 1u << 24;
};

TEST_F(LargestTextureTest, TexturesMayBeAsLongAsTheDeviceSays) {
  const Largest largest{FindLimit({kFar, 1, 1}), FindLimit({kFar, 2, 1}), FindLimit({kFar, 1, 2})};
  ASSERT_GE(largest.in1D, 4096u);
  ASSERT_GE(largest.in2D, 4096u);
  ASSERT_GE(largest.in3D, 256u);
  const std::vector<Vec3<Int32>> ends = {Vec3<Int32>(1 << 30), {1 << 30, 1, 1}, {1, 1 << 30, 1}, {1, 1, 1 << 30}};
  ExpectBack({largest.in1D, 1, 1}, TextureFormat::F32, 4, ends);
  ExpectBack({largest.in2D, 2, 1}, TextureFormat::F32, 4, ends);
  ExpectBack({2, largest.in2D, 1}, TextureFormat::F32, 3, ends);
  ExpectBack({largest.in3D, 1, 2}, TextureFormat::F32, 3, ends);
  ExpectBack({1, largest.in3D, 2}, TextureFormat::U8, 1, ends);
  ExpectBack({1, 1, largest.in3D}, TextureFormat::F32, 4, ends);
  ExpectRefused({largest.in1D + 1, 1, 1});
  ExpectRefused({largest.in2D + 1, 2, 1});
  ExpectRefused({1, largest.in2D + 1, 1});
  ExpectRefused({largest.in3D + 1, 1, 2});
  ExpectRefused({1, largest.in3D + 1, 2});
  ExpectRefused({1, 1, largest.in3D + 1});
}

TEST_F(LargestTextureTest, TheLongestRowFitsTheSmallestStagingMemory) {
  const UInt32 longest = std::max(FindLimit({kFar, 1, 1}), FindLimit({kFar, 2, 1}));
  program = nullptr;
  SetDrawportStagingCapacity(1);
  const auto cache = GetDefaultDrawportCache();
  ASSERT_THAT(cache, IsOk());
  const auto drawport = (*cache)->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem);
  ASSERT_THAT(drawport, IsOk());
  auto context = (*drawport)->CreateOffscreenRenderContext(false, 0);
  ASSERT_THAT(context, IsOk());
  auto made = CreateObject<ParallelProgramInterface>(kGpuProgramClass);
  ASSERT_THAT(made, IsOk());
  program = *made;
  ASSERT_THAT(program->Init(Url(), &*context, 0, false), IsOk());
  const Int capacity = (*drawport)->GetCapabilities().GetValue(DrawportCapability::TextureStagingCapacity);
  EXPECT_GE(capacity, Int{longest} * 16);
  EXPECT_LT(capacity, Int{longest} * 16 * 4);  // so that there are several blocks
  ExpectBack({longest, 5, 1}, TextureFormat::F32, 4);
  ExpectBack({longest - 1, 5, 1}, TextureFormat::F32, 3);
  ExpectBack({61, 67, 47}, TextureFormat::F32, 2, {Vec3<Int32>(1 << 30), {60, 66, 46}});
}

}  // namespace
}  // namespace ostra::test
