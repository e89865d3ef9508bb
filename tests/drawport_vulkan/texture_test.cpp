// Textures: every pixel format there and back, sampling, images, layers, padded rows, and what is refused.
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;
using testing::FloatEq;
using testing::Pointwise;

namespace {

PixelFormatRef Find(std::string_view name) {
  return Take(GetPixelFormat(Take(Id::Create("net.ostra.image.pixelformat." + std::string(name)))));
}

class TextureTest : public GpuTest {
 protected:
  DrawportTexture* MakeTexture(DrawportTextureType type, PixelFormatRef format, const DrawportExtent& extent,
                               Bool isImage = false) {
    auto item = Take(_cache->GetTexture(
        {{++_keys, 1, 0}}, Take(DrawportTextureDescribe::Create([&](DrawportTextureDescription& description) {
          description = {type, format, extent, isImage};
        }))));
    textures.push_back(item);
    return Take(item->MakeValid(*_context, {}));
  }
  void TearDown() override {
    textures.clear();
    samplers.clear();
    GpuTest::TearDown();
  }

  DrawportTextureSampler* MakeSampler(UInt8 key) {
    samplers.push_back(Take(_cache->GetTextureSampler(key)));
    return Take(samplers.back()->MakeValid(*_context));
  }

  // Writes packed texels, block by block where the staging buffer is smaller.
  void Fill(DrawportTexture& texture, const void* texels, const DrawportRegion& region) {
    const Int rowBytes = region.extent.width * texture.GetDescription().format->GetBytesPerPixel();
    Transfer(texture, region, DrawportMapMode::WriteDiscard, [&](Byte* mapped, Int row) {
      MemCopy(mapped, static_cast<const Byte*>(texels) + row * rowBytes, rowBytes);
    });
  }
  std::vector<Byte> Read(DrawportTexture& texture, const DrawportRegion& region) {
    const Int rowBytes = region.extent.width * texture.GetDescription().format->GetBytesPerPixel();
    std::vector<Byte> texels(static_cast<std::size_t>(rowBytes * region.extent.height * region.extent.depth));
    Transfer(texture, region, DrawportMapMode::Read,
             [&](Byte* mapped, Int row) { MemCopy(texels.data() + row * rowBytes, mapped, rowBytes); });
    return texels;
  }
  template <class CopyRow>
  void Transfer(DrawportTexture& texture, const DrawportRegion& region, DrawportMapMode mode, CopyRow copyRow) {
    const Int size = Take(texture.GetStagingBufferSize(region.origin, region.extent, 0, 0));
    const Int rows = region.extent.height * region.extent.depth;
    DrawportStagingBuffer* staging =
        Take(_cache->AllocStagingBuffer(*_context, {.bytes = size, .use = DrawportStagingUse::HostReadWrite}));
    Byte* mapped = Take(GetList().PrivateMapTexture(*staging, mode, texture, region, 0, 0, 0, 0));
    for (Int row = 0; row < rows; ++row) copyRow(mapped + row * (size / rows), row);
    Take(GetList().UnmapTexture(*staging));
    GetList().ReleaseStagingBuffer(staging);
  }

  std::vector<Byte> MakeTexels(Int bytes, UInt32 seed) {
    std::vector<Byte> texels(static_cast<std::size_t>(bytes));
    for (Byte& byte : texels) byte = static_cast<Byte>((seed = seed * 1664525u + 1013904223u) >> 25);
    return texels;
  }

  // Samples a two-dimensional texture of four floats at the given places.
  std::vector<Vector4d32> Sample(DrawportTexture* texture, UInt8 samplerKey, const std::vector<Vector2d32>& places) {
    DrawportDeviceBuffer* input = MakeBuffer(places);
    DrawportDeviceBuffer* output = MakeBuffer(static_cast<Int>(places.size() * sizeof(Vector4d32)));
    ProgramBuilder program(*this);
    program.Texture("picture", DrawportTextureType::Texture2D, texture->GetDescription().format, true);
    program.Reads("places", "vec2", 8).Writes("colors", "vec4", 16).Uniform(DrawportShaderValueType::UInt, "count");
    DrawportTextureSampler* sampler = MakeSampler(samplerKey);
    program.Run(
        "uint i = InGlobalInvocationID.x;\n"
        "if (i < UNIFORM(count)) UNIFORM_BUFFER(colors)[i] = SampleTexture(picture, UNIFORM_BUFFER(places)[i]);\n",
        static_cast<UInt32>(places.size() / 64 + 1), [&](ProgramValues& values) {
          values.SetTexture("picture", texture, sampler);
          values.SetBuffer("places", input);
          values.SetBuffer("colors", output);
          values.Set("count", static_cast<UInt32>(places.size()));
        });
    return Download<Vector4d32>(*output);
  }

  std::vector<DrawportTextureItemRef> textures;
  std::vector<DrawportTextureSamplerItemRef> samplers;
};

TEST_F(TextureTest, TexelsOfEveryFormatAndDimensionComeBackAsTheyWere) {
  for (Int i = 0; i < kPixelFormatCount; ++i) {
    const PixelFormat& format = GetPixelFormats()[i];
    const std::pair<DrawportTextureType, DrawportExtent> shapes[] = {{DrawportTextureType::Texture1D, {33, 1, 1}},
                                                                     {DrawportTextureType::Texture2D, {17, 9, 1}},
                                                                     {DrawportTextureType::Texture3D, {7, 5, 3}}};
    for (const auto& [type, extent] : shapes) {
      DrawportTexture* texture = MakeTexture(type, &format, extent);
      const DrawportRegion whole{{}, extent};
      const std::vector<Byte> texels =
          MakeTexels(extent.width * extent.height * extent.depth * format.GetBytesPerPixel(), static_cast<UInt32>(i));
      EXPECT_THAT(Read(*texture, whole), Each(Byte(0))) << format.id.GetView();
      Fill(*texture, texels.data(), whole);
      EXPECT_EQ(Read(*texture, whole), texels) << format.id.GetView() << " " << static_cast<Int>(type);
    }
  }
}

TEST_F(TextureTest, BlocksAreWrittenAndReadWhereTheyLie) {
  for (const char* name : {"rgba.u8", "rgb.f32"}) {
    DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture3D, Find(name), {10, 8, 6});
    const Int size = texture->GetDescription().format->GetBytesPerPixel();
    const std::vector<Byte> block = MakeTexels(4 * 3 * 2 * size, 5);
    Fill(*texture, block.data(), {{5, 4, 3}, {4, 3, 2}});
    EXPECT_EQ(Read(*texture, {{5, 4, 3}, {4, 3, 2}}), block);
    const std::vector<Byte> all = Read(*texture, {{}, {10, 8, 6}});
    for (Int z = 0; z < 6; ++z) {
      for (Int y = 0; y < 8; ++y) {
        for (Int x = 0; x < 10; ++x) {
          const Bool isInside = x >= 5 && x < 9 && y >= 4 && y < 7 && z >= 3 && z < 5;
          const Byte expected =
              isInside ? block[static_cast<std::size_t>((((z - 3) * 3 + y - 4) * 4 + x - 5) * size)] : 0;
          ASSERT_EQ(all[static_cast<std::size_t>(((z * 8 + y) * 10 + x) * size)], expected)
              << x << " " << y << " " << z;
        }
      }
    }
  }
}

TEST_F(TextureTest, RowsMayBePaddedInStagingBuffers) {
  for (const Int alignment : {256, 10}) {
    SetDrawportRowAlignment(alignment);
    for (const char* name : {"dynamic.redu8", "rgba.f32", "rgb.u16"}) {
      DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find(name), {37, 11, 1});
      const Int size = texture->GetDescription().format->GetBytesPerPixel();
      const Int pitch = (37 * size + alignment - 1) / alignment * alignment;
      EXPECT_EQ(Take(texture->GetStagingBufferSize({}, {37, 11, 1}, 0, 0)), pitch * 11);
      const std::vector<Byte> texels = MakeTexels(37 * 11 * size, 3);
      Fill(*texture, texels.data(), {{}, {37, 11, 1}});
      EXPECT_EQ(Read(*texture, {{}, {37, 11, 1}}), texels) << name;
    }
  }
}

TEST_F(TextureTest, AStagingBufferIsMappedForOneBlockAfterTheOther) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.f32"), {64, 64, 1});
  const std::vector<Byte> texels = MakeTexels(64 * 64 * 16, 9);
  const Int block = 64 * 16 * 4;
  DrawportStagingBuffer* staging =
      Take(_cache->AllocStagingBuffer(*_context, {.bytes = block, .use = DrawportStagingUse::HostReadWrite}));
  for (Int y = 0; y < 64; y += 4) {
    Byte* mapped = Take(GetList().PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, *texture,
                                                    {{0, y, 0}, {64, 4, 1}}, 0, 0, 0, 0));
    MemCopy(mapped, texels.data() + y * 64 * 16, block);
    Take(GetList().UnmapTexture(*staging));
  }
  GetList().ReleaseStagingBuffer(staging);
  EXPECT_EQ(Read(*texture, {{}, {64, 64, 1}}), texels);
}

TEST_F(TextureTest, SamplesTheNearestTexelOrMixesFour) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.f32"), {2, 2, 1});
  const std::vector<Vector4d32> texels = {{0, 0, 0, 1}, {4, 0, 0, 1}, {0, 4, 0, 1}, {4, 4, 0, 1}};
  Fill(*texture, texels.data(), {{}, {2, 2, 1}});
  const UInt8 clamp = DrawportSamplerKey::kClampX | DrawportSamplerKey::kClampY;
  EXPECT_THAT(Sample(texture, clamp, {{0.1f, 0.1f}, {0.9f, 0.1f}, {0.2f, 0.7f}}),
              ElementsAre(texels[0], texels[1], texels[2]));
  EXPECT_THAT(Sample(texture, clamp | DrawportSamplerKey::kLinear, {{0.5f, 0.5f}, {0.25f, 0.25f}}),
              ElementsAre(Vector4d32(2, 2, 0, 1), texels[0]));
}

TEST_F(TextureTest, RepeatsClampsOrFadesOutsideTheTexture) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.f32"), {2, 1, 1});
  const std::vector<Vector4d32> texels = {{1, 1, 1, 1}, {2, 2, 2, 2}};
  Fill(*texture, texels.data(), {{}, {2, 1, 1}});
  const std::vector<Vector2d32> places = {{1.25f, 0.5f}, {-0.25f, 0.5f}};
  EXPECT_THAT(Sample(texture, 0, places), ElementsAre(texels[0], texels[1]));
  EXPECT_THAT(Sample(texture, DrawportSamplerKey::kClampX, places), ElementsAre(texels[1], texels[0]));
  EXPECT_THAT(Sample(texture, DrawportSamplerKey::kBorderX, places), Each(Vector4d32(0, 0, 0, 0)));
}

TEST_F(TextureTest, FetchesApplyTheWrapModesOfTheSampler) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.f32"), {2, 1, 1});
  const std::vector<Vector4d32> texels = {{1, 1, 1, 1}, {2, 2, 2, 2}};
  Fill(*texture, texels.data(), {{}, {2, 1, 1}});
  for (const auto& [key, expected] : {std::pair<UInt8, Float32>{UInt8(0), 1.0f},
                                      {DrawportSamplerKey::kClampX, 2.0f},
                                      {DrawportSamplerKey::kBorderX, 0.0f}}) {
    DrawportDeviceBuffer* output = MakeBuffer(16);
    DrawportTextureSampler* sampler = MakeSampler(key);
    ProgramBuilder program(*this);
    program.Texture("picture", DrawportTextureType::Texture2D, Find("rgba.f32"), false).Writes("colors", "vec4", 16);
    program.Run("UNIFORM_BUFFER(colors)[0] = FetchTexture(picture, int2(2, 0));\n", 1, [&](ProgramValues& values) {
      values.SetTexture("picture", texture, sampler);
      values.SetBuffer("colors", output);
    });
    EXPECT_THAT(Download<Float32>(*output), Each(expected)) << int(key);
  }
}

TEST_F(TextureTest, LayersLieAlongTheNextDimension) {
  const std::pair<DrawportTextureType, DrawportExtent> shapes[] = {{DrawportTextureType::Texture1D, {4, 3, 1}},
                                                                   {DrawportTextureType::Texture2D, {4, 1, 3}}};
  for (const auto& [type, extent] : shapes) {
    const Bool is1D = type == DrawportTextureType::Texture1D;
    DrawportTexture* texture = MakeTexture(type, Find("dynamic.redf32"), extent);
    std::vector<Float32> texels(12);
    std::iota(texels.begin(), texels.end(), 1.0f);
    Fill(*texture, texels.data(), {{}, extent});
    // The middle layer is written again by itself.
    const Float32 middle[] = {50, 60, 70, 80};
    Fill(*texture, middle, is1D ? DrawportRegion{{0, 1, 0}, {4, 1, 1}} : DrawportRegion{{0, 0, 1}, {4, 1, 1}});
    std::copy(std::begin(middle), std::end(middle), texels.begin() + 4);
    const std::vector<Byte> bytes = Read(*texture, {{}, extent});
    EXPECT_EQ(std::memcmp(bytes.data(), texels.data(), bytes.size()), 0);

    DrawportDeviceBuffer* output = MakeBuffer(12 * 4);
    DrawportTextureSampler* sampler = MakeSampler(0);
    ProgramBuilder program(*this);
    program.Texture("picture", type, Find("dynamic.redf32"), true, true).Writes("values", "float", 4);
    const std::string at = is1D ? "int(i % 4u)" : "int2(int(i % 4u), 0)";
    program.Run(
        "uint i = InGlobalInvocationID.x;\n"
        "if (i < 12u) UNIFORM_BUFFER(values)[i] = FetchTextureLayer(picture, " +
            at + ", i / 4u);\n",
        1, [&](ProgramValues& values) {
          values.SetTexture("picture", texture, sampler);
          values.SetBuffer("values", output);
        });
    EXPECT_EQ(Download<Float32>(*output), texels);
  }
}

TEST_F(TextureTest, ThreeChannelsAreReadAsThree) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgb.f32"), {2, 1, 1});
  const std::vector<Vector32> texels = {{1, 2, 3}, {4, 5, 6}};
  Fill(*texture, texels.data(), {{}, {2, 1, 1}});
  DrawportDeviceBuffer* output = MakeBuffer(24);
  DrawportTextureSampler* sampler = MakeSampler(0);
  ProgramBuilder program(*this);
  program.Texture("picture", DrawportTextureType::Texture2D, Find("rgb.f32"), true).Writes("colors", "vec3", 12);
  program.Run(
      "uint i = InGlobalInvocationID.x;\n"
      "if (i < 2u) UNIFORM_BUFFER(colors)[i] = FetchTexture(picture, int2(int(i), 0));\n",
      1, [&](ProgramValues& values) {
        values.SetTexture("picture", texture, sampler);
        values.SetBuffer("colors", output);
      });
  EXPECT_THAT(Download<Float32>(*output), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(TextureTest, BlocksOfThreeChannelsInsideOfATextureAreChangedOverInPaddedRows) {
  for (const Int alignment : {1, 4, 256}) {
    SetDrawportRowAlignment(alignment);
    for (const char* name : {"rgb.u8", "rgb.u16", "rgb.f16", "rgb.u32", "rgb.f32"}) {
      const PixelFormatRef format = Find(name);
      const DrawportExtent extent = {301, 203, 1};
      DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, format, extent);
      const DrawportRegion block{{17, 5, 0}, {211, 190, 1}};
      const Int texelSize = format->GetBytesPerPixel();
      const std::vector<Byte> texels = MakeTexels(block.extent.width * block.extent.height * texelSize, 3);
      Fill(*texture, texels.data(), block);
      EXPECT_EQ(Read(*texture, block), texels) << name << " " << alignment;
      // Around it nothing has changed.
      const std::vector<Byte> all = Read(*texture, {{}, extent});
      std::vector<Byte> wanted(all.size(), 0);
      for (Int row = 0; row < block.extent.height; ++row)
        MemCopy(wanted.data() + ((row + block.origin.y) * extent.width + block.origin.x) * texelSize,
                texels.data() + row * block.extent.width * texelSize, block.extent.width * texelSize);
      EXPECT_EQ(all, wanted) << name << " " << alignment;
    }
  }
}

TEST_F(TextureTest, ImagesAreWrittenByOneDispatchAndReadByTheNextAfterABarrier) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("dynamic.redf32"), {8, 8, 1}, true);
  ProgramBuilder program(*this);
  program.Image("picture", DrawportTextureType::Texture2D, Find("dynamic.redf32")).GroupSize(8, 8, 1);
  GpuComputeRef compute = program.Make(
      "int2 at = int2(InGlobalInvocationID.xy);\n"
      "StoreImage(picture, at, FetchTexture(picture, at) * 2.0 + float(at.x));\n",
      [&](ProgramValues& values) { values.SetImage("picture", texture); });
  Take(compute->UpdateUniforms(_context, true));
  for (int i = 0; i < 3; ++i) {
    Take(compute->Dispatch(1, 1, 1));
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::Texture));
  }
  const std::vector<Byte> bytes = Read(*texture, {{}, {8, 8, 1}});
  std::vector<Float32> texels(64);
  MemCopy(texels.data(), bytes.data(), 256);
  for (Int i = 0; i < 64; ++i) EXPECT_EQ(texels[static_cast<std::size_t>(i)], 7.0f * static_cast<Float32>(i % 8));
}

TEST_F(TextureTest, RefusesTexturesThatTheDeviceCannotHave) {
  const auto make = [&](DrawportTextureType type, PixelFormatRef format, const DrawportExtent& extent, Bool isImage) {
    auto item = Take(_cache->GetTexture(
        {{++_keys, 1, 0}}, Take(DrawportTextureDescribe::Create([&](DrawportTextureDescription& description) {
          description = {type, format, extent, isImage};
        }))));
    return item->MakeValid(*_context, {});
  };
  const PixelFormatRef format = Find("rgba.u8");
  EXPECT_THAT(make(DrawportTextureType::Texture2D, nullptr, {1, 1, 1}, false),
              IsErrorWith(kIllegalArgumentError, "A texture needs a pixel format."));
  EXPECT_THAT(make(DrawportTextureType::Texture2D, format, {0, 1, 1}, false), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(make(DrawportTextureType::Texture2D, format, {1 << 20, 1, 1}, false),
              IsErrorContaining(kIllegalArgumentError, "A texture of 1048576 x 1 x 1 texels is not possible"));
  EXPECT_THAT(make(DrawportTextureType::Texture1D, format, {4, 1, 2}, false), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(TextureTest, RefusesBlocksThatAreNotInTheTexture) {
  DrawportTexture* texture = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.u8"), {8, 8, 1});
  EXPECT_EQ(Take(texture->GetStagingBufferSize({}, {8, 8, 1}, 0, 0)), 256);
  EXPECT_THAT(texture->GetStagingBufferSize({1, 0, 0}, {8, 8, 1}, 0, 0),
              IsErrorWith(kIllegalArgumentError,
                          "A block of 8 x 8 x 1 texels at (1, 0, 0) is not inside a texture of 8 x 8 x 1."));
  EXPECT_THAT(texture->GetStagingBufferSize({}, {8, 8, 1}, 1, 0), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(texture->GetStagingBufferSize({}, {8, 0, 1}, 0, 0), IsErrorOfKind(kIllegalArgumentError));
  DrawportStagingBuffer* staging =
      Take(_cache->AllocStagingBuffer(*_context, {.bytes = 255, .use = DrawportStagingUse::HostReadWrite}));
  EXPECT_THAT(GetList().PrivateMapTexture(*staging, DrawportMapMode::Read, *texture, {{}, {8, 8, 1}}, 0, 0, 0, 0),
              IsErrorWith(kIllegalArgumentError, "256 bytes cannot be mapped in a staging buffer of 255 bytes."));
  EXPECT_THAT(GetList().UnmapTexture(*staging), IsErrorOfKind(kIllegalStateError));
  GetList().ReleaseStagingBuffer(staging);
}

TEST_F(TextureTest, RefusesToBindTexturesThatDoNotFitTheParameter) {
  DrawportTexture* flat = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.f32"), {2, 2, 1});
  DrawportTexture* deep = MakeTexture(DrawportTextureType::Texture3D, Find("rgba.f32"), {2, 2, 2});
  DrawportTexture* integers = MakeTexture(DrawportTextureType::Texture2D, Find("rgba.u32"), {2, 2, 1});
  DrawportTextureSampler* sampler = MakeSampler(0);
  DrawportDeviceBuffer* output = MakeBuffer(16);
  ProgramBuilder program(*this);
  program.Texture("picture", DrawportTextureType::Texture2D, Find("rgba.f32"), true).Writes("colors", "vec4", 16);
  GpuComputeRef compute =
      program.Make("UNIFORM_BUFFER(colors)[0] = FetchTexture(picture, int2(0, 0));\n", [&](ProgramValues& values) {
        EXPECT_THAT(
            values.TrySetTexture("picture", deep, sampler),
            IsErrorWith(kIllegalArgumentError, "The texture \"picture\" of the GPU program has other dimensions."));
        EXPECT_THAT(values.TrySetTexture("picture", integers, sampler), IsErrorOfKind(kIllegalArgumentError));
        EXPECT_THAT(values.TrySetTexture("picture", nullptr, nullptr), IsOk());
        values.SetBuffer("colors", output);
      });
  Take(compute->UpdateUniforms(_context, true));
  EXPECT_THAT(compute->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The parameter \"picture\" of the GPU program is not set."));
  static_cast<void>(flat);
}

TEST_F(TextureTest, SaysWhatFormatsCanBeUsedFor) {
  const auto half = _context->GetPixelFormatAccessFlags(Find("dynamic.redf16"), true);
  EXPECT_TRUE(HasAccess(half, DrawportPixelFormatAccess::Sampled));
  EXPECT_TRUE(HasAccess(_context->GetPixelFormatAccessFlags(Find("rgba.f32"), true),
                        DrawportPixelFormatAccess::ShaderReadWrite));
  // A format asked for as another class than its own, and no format.
  EXPECT_EQ(_context->GetPixelFormatAccessFlags(Find("dynamic.redf16"), false), DrawportPixelFormatAccess::None);
  EXPECT_EQ(_context->GetPixelFormatAccessFlags(nullptr, true), DrawportPixelFormatAccess::None);
}

}  // namespace
