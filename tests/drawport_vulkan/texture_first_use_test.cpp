// First uses of textures: what is filled whole is not zero-filled before, and what is not filled is zero.
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/drawport_vulkan/replaced_function.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::Each;

namespace {

constexpr Int kWidth = 16;
constexpr Int kHeight = 4;
constexpr Int kDepth = 3;
constexpr Int kRowFloats = kWidth * 4;

class TextureFirstUseTest : public DriverTest, public testing::WithParamInterface<DrawportTextureType> {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    if (IsSkipped()) return;
    _context = Take(MakeContext());
    g_clear = vkCmdClearColorImage;
    g_clears = 0;
    _clear.emplace(vkCmdClearColorImage, &Clear);
  }
  void TearDown() override {
    _clear.reset();
    _context = {};
    DriverTest::TearDown();
  }

  CommandList& GetList() { return static_cast<Context&>(*_context).GetCommands(); }
  ImageRef MakeImage(Bool isImage = false) {
    DrawportTextureDescription description;
    description.type = GetParam();
    description.format = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
    description.extent = {kWidth, kHeight, GetParam() == DrawportTextureType::Texture1D ? 1 : kDepth};
    description.isImage = isImage;
    return Take(ImageResource::Create(GetList().GetDevice(), description));
  }
  Int GetDepth() const { return GetParam() == DrawportTextureType::Texture1D ? 1 : kDepth; }

  Result<void> TryWrite(ImageResource& image, const DrawportRegion& region, Float32 value) {
    const Int floats = region.extent.width * 4 * region.extent.height * region.extent.depth;
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           GetList().AllocStagingBuffer(floats * 4, DrawportStagingUse::HostReadWrite));
    OSTRA_ASSIGN_OR_RETURN(
        Byte * mapped, GetList().PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, image, region, 0, 0, 0, 0));
    std::fill_n(reinterpret_cast<Float32*>(mapped), floats, value);
    Result<void> written = GetList().UnmapTexture(*staging);
    GetList().ReleaseStagingBuffer(staging);
    return written;
  }
  // Rows of all slices in one; the rest of the row's slice and then whole slices have to be asked for one by one.
  void WriteRows(ImageResource& image, Int y, Int z, Int count, Float32 value) {
    Take(TryWrite(image, {{0, y, z}, {kWidth, count, 1}}, value));
  }
  std::vector<Float32> ReadRow(ImageResource& image, Int y, Int z) {
    DrawportStagingBuffer* staging =
        Take(GetList().AllocStagingBuffer(kRowFloats * 4, DrawportStagingUse::HostReadWrite));
    const Byte* mapped = Take(
        GetList().PrivateMapTexture(*staging, DrawportMapMode::Read, image, {{0, y, z}, {kWidth, 1, 1}}, 0, 0, 0, 0));
    std::vector<Float32> row(kRowFloats);
    MemCopy(row.data(), mapped, kRowFloats * 4);
    Take(GetList().UnmapTexture(*staging));
    GetList().ReleaseStagingBuffer(staging);
    return row;
  }
  void ExpectRows(ImageResource& image, const std::vector<Float32>& values) {
    for (Int z = 0; z < GetDepth(); ++z) {
      for (Int y = 0; y < kHeight; ++y) {
        const auto row = static_cast<std::size_t>(z * kHeight + y);
        EXPECT_THAT(ReadRow(image, y, z), Each(row < values.size() ? values[row] : 0.0f)) << "row " << row;
      }
    }
  }

  static VKAPI_ATTR void VKAPI_CALL Clear(VkCommandBuffer commands, VkImage image, VkImageLayout layout,
                                          const VkClearColorValue* color, uint32_t count,
                                          const VkImageSubresourceRange* ranges) {
    ++g_clears;
    g_clear(commands, image, layout, color, count, ranges);
  }
  static inline PFN_vkCmdClearColorImage g_clear = nullptr;
  static inline int g_clears = 0;
  DrawportContextRef _context;
  std::optional<ReplacedFunction<PFN_vkCmdClearColorImage>> _clear;
};
INSTANTIATE_TEST_SUITE_P(Types, TextureFirstUseTest,
                         testing::Values(DrawportTextureType::Texture1D, DrawportTextureType::Texture2D,
                                         DrawportTextureType::Texture3D),
                         [](const auto& instance) {
                           return std::to_string(static_cast<int>(instance.param) + 1) + "D";
                         });

TEST_P(TextureFirstUseTest, ATextureThatIsFilledWholeIsNotCleared) {
  for (const Bool isImage : {false, true}) {
    const ImageRef image = MakeImage(isImage);
    Take(TryWrite(*image, {{0, 0, 0}, {kWidth, kHeight, GetDepth()}}, 5));
    ExpectRows(*image, std::vector<Float32>(static_cast<std::size_t>(kHeight * GetDepth()), 5));
  }
  EXPECT_EQ(g_clears, 0);
}

TEST_P(TextureFirstUseTest, NorIsOneThatIsFilledInPieces) {
  const ImageRef image = MakeImage();
  std::vector<Float32> values;
  for (Int z = 0; z < GetDepth(); ++z) {
    WriteRows(*image, 0, z, 3, static_cast<Float32>(z + 1));
    if (z == 1) Take(GetList().Execute(true));
    WriteRows(*image, 3, z, 1, 7);
    for (const int value : {static_cast<int>(z + 1), static_cast<int>(z + 1), static_cast<int>(z + 1), 7})
      values.push_back(static_cast<Float32>(value));
  }
  ExpectRows(*image, values);
  EXPECT_EQ(g_clears, 0);
}

TEST_P(TextureFirstUseTest, WhatIsNotFilledIsZero) {
  for (Int filled = 0; filled <= kHeight; ++filled) {
    for (const Bool isSubmitted : {false, true}) {
      SCOPED_TRACE(testing::Message() << filled << " rows, submitted " << isSubmitted);
      const ImageRef image = MakeImage();
      if (filled > 0) WriteRows(*image, 0, 0, filled, 5);
      if (isSubmitted) Take(GetList().Execute(false));
      ExpectRows(*image, std::vector<Float32>(static_cast<std::size_t>(filled), 5));
    }
  }
}

TEST_P(TextureFirstUseTest, APieceThatLeavesAGapKeepsWhatWasFilled) {
  const ImageRef image = MakeImage();
  WriteRows(*image, 0, 0, 1, 5);
  Take(GetList().Execute(false));
  WriteRows(*image, 1, 0, 1, 6);
  WriteRows(*image, 3, 0, 1, 7);
  ExpectRows(*image, {5, 6, 0, 7});
}

TEST_P(TextureFirstUseTest, APartOfARowComesBehindZeros) {
  const ImageRef image = MakeImage();
  Take(TryWrite(*image, {{2, 0, 0}, {kWidth - 2, 1, 1}}, 5));
  EXPECT_EQ(g_clears, 0) << "the setup is recorded with the submission";
  const std::vector<Float32> row = ReadRow(*image, 0, 0);
  EXPECT_EQ(g_clears, 1);
  EXPECT_EQ(row[0], 0);
  EXPECT_EQ(row[8], 5);
}

TEST_P(TextureFirstUseTest, APieceThatCouldNotBeSubmittedIsZeroAgain) {
  const ImageRef image = MakeImage();
  WriteRows(*image, 0, 0, 1, 5);
  Take(GetList().Execute(true));
  WriteRows(*image, 1, 0, 1, 6);
  CallFaults::FailNth(1, VK_ERROR_OUT_OF_DEVICE_MEMORY);
  EXPECT_THAT(GetList().Execute(false), IsErrorOfKind(kOutOfMemoryError));
  CallFaults::Disable();
  ExpectRows(*image, {5});
  WriteRows(*image, 1, 0, 1, 7);
  ExpectRows(*image, {5, 7});
}

}  // namespace
