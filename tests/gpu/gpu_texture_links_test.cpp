// Textures of the GPU program under their names: handles and cache items, links of kernels, names of two programs,
// images that kernels write, and layers, of which the device has one.
#include "parallelprogram/device/device_textures.h"
#include "tests/gpu/textures_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

class GpuTextureLinksTest : public GpuTexturesTest {
 protected:
  // A kernel with the parameters and one line of code.
  void AddTextureKernel(InternedId id, const std::string& parameters, const std::string& line) {
    AddKernel(id, "#define KERNELINPUTS \\\n" + parameters + "\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\t" +
                      line + "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  }
};

TEST_F(GpuTextureLinksTest, HandlesAndCacheItemsAreThoseOfTheTexture) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  ASSERT_THAT(StoreTexture("b"_iid, 8, 4, 1), IsOk());
  const auto item = program->GetTextureCacheRef("a"_iid);
  ASSERT_THAT(item, IsOk());
  ASSERT_TRUE(*item);
  DrawportTexture* const texture = *program->GetTextureHandle("a"_iid);
  ASSERT_TRUE(texture);
  EXPECT_EQ(texture, *(*item)->MakeValid(*context, {}));
  EXPECT_EQ(texture->GetDescription().extent.width, 4);
  const auto samplerItem = program->GetTextureSamplerCacheRef("a"_iid);
  ASSERT_THAT(samplerItem, IsOk());
  ASSERT_TRUE(*samplerItem);
  DrawportTextureSampler* const sampler = *program->GetTextureSamplerHandle("a"_iid);
  ASSERT_TRUE(sampler);
  EXPECT_EQ(sampler, *(*samplerItem)->MakeValid(*context));
  EXPECT_NE(texture, *program->GetTextureHandle("b"_iid));
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(*program->GetTextureHandle("a"_iid), nullptr);
  EXPECT_EQ(*program->GetTextureSamplerHandle("a"_iid), nullptr);
  EXPECT_THAT(program->GetTextureCacheRef("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->GetTextureSamplerCacheRef("a"_iid), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(GpuTextureLinksTest, ASwapNeedsBothTextures) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  EXPECT_THAT(program->SwapTextures("a"_iid, "b"_iid),
              IsErrorWith(kIllegalArgumentError, "texture two could not be found"));
  EXPECT_THAT(program->SwapTextures("b"_iid, "a"_iid),
              IsErrorWith(kIllegalArgumentError, "texture one could not be found"));
  EXPECT_EQ(GetFirst("a"_iid), 1);
}

TEST_F(GpuTextureLinksTest, TexturesAndCountersOfTwoProgramsAreDifferentOnesUnderOneName) {
  const ParallelProgramRef other = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(other->Init(Url(), &context, 0, false), IsOk());
  TextureBindData data = Fill(4, 4, 1);
  ASSERT_THAT(program->StoreTextureBindData("a"_iid, data, false), IsOk());
  ASSERT_THAT(other->StoreTextureBindData("a"_iid, data, false), IsOk());
  EXPECT_NE(*program->GetTextureHandle("a"_iid), *other->GetTextureHandle("a"_iid));
  ASSERT_THAT(other->UpdateTextureBindData("a"_iid, Fill(4, 4, 2)), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 1);
  for (const ParallelProgramRef& some : {program, other})
    ASSERT_THAT(some->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounter("hits"_iid, 1), IsOk());
  ASSERT_THAT(other->SetAtomicCounter("hits"_iid, 2), IsOk());
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 1u);
}

TEST_F(GpuTextureLinksTest, ACreatedTextureTakesNoTexels) {
  TextureBindData data = Fill(4, 4, 3);
  ASSERT_THAT(program->CreateTexture("a"_iid, data), IsOk());
  EXPECT_EQ(data._data, nullptr);
  EXPECT_THAT(TakeCalls(),
              ElementsAre("get sampler 171", "get texture 64", "valid texture", "valid sampler", "execute 1"));
  EXPECT_EQ(GetFirst("a"_iid), 0);
}

TEST_F(GpuTextureLinksTest, AStoreThatFailsLeavesTheFormerTexture) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  DrawportTexture* const former = *program->GetTextureHandle("a"_iid);
  TakeCalls();
  for (const UInt32 channels : {0u, 5u}) {
    TextureBindData wrong = Fill(4, 4, 2);
    wrong._numChannels = channels;
    EXPECT_THAT(program->StoreTextureBindData("a"_iid, wrong, false),
                IsErrorWith(kIllegalArgumentError,
                            "wrong combination of _numChannels and _format to determine the PixelFormat"));
  }
  EXPECT_THAT(TakeCalls(), ElementsAre("get sampler 171", "get sampler 171"));
  for (const char* call : {"get sampler", "get texture", "valid texture", "valid sampler"}) {
    device.failing = call;
    EXPECT_THAT(StoreTexture("a"_iid, 4, 5, 2), IsErrorWith(kIllegalStateError, "made-up failure")) << call;
  }
  device.failing.clear();
  EXPECT_EQ(*program->GetTextureHandle("a"_iid), former);
  EXPECT_EQ(GetFirst("a"_iid), 1);
}

constexpr const char* kTwoTextures =
    "(const TextureSampler_2D_R_F32_LINEAR) a, \\\n(const TextureSampler_2D_R_F32_LINEAR) b, \\\n(Block<Float32>) "
    "values";

TEST_F(GpuTextureLinksTest, ADeletedTextureLeavesAllLinksOfAllKernels) {
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(StoreTexture("t"_iid, 5, 4, 1), IsOk());
  ASSERT_THAT(StoreTexture("other"_iid, 6, 4, 1), IsOk());
  for (const InternedId& id : {"one"_iid, "two"_iid}) {
    AddTextureKernel(id, kTwoTextures, "UNIFORM_BUFFER(values)[0] = 1.0;");
    program->SetActiveKernel(id);
    ASSERT_THAT(program->SetTextureToActiveKernel("t"_iid, "a"_iid), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernel(id == "one"_iid ? "t"_iid : "other"_iid, "b"_iid), IsOk());
  }
  ASSERT_THAT(program->DeleteTexture("t"_iid, false), IsOk());
  program->SetActiveKernel("one"_iid);
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture a = -1", "texture b = -1"}));
  program->SetActiveKernel("two"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture a = -1", "texture b = 6"}));
}

TEST_F(GpuTextureLinksTest, AnEmptiedLinkKeepsItsDescription) {
  const auto makeEntry = [](DrawportTexture* texture, UInt32 width) {
    TextureSamplerEntry entry;
    entry._texture = texture;
    entry._state = TextureSamplerEntry::kWritable;
    entry._samplingData._dimensions = Vec3<UInt32>(width, 2, 1);
    entry._samplingData._dataSize = Int64{8} * width;
    entry._samplingData._format = TextureFormat::F32;
    return entry;
  };
  RecordingTexture deleted, kept;
  DataDictionary links;
  ASSERT_THAT(links.Set("a"_iid, makeEntry(&deleted, 3)), IsOk());
  ASSERT_THAT(links.Set("b"_iid, makeEntry(&kept, 4)), IsOk());
  ASSERT_THAT(links.Set("c"_iid, makeEntry(&deleted, 5)), IsOk());
  EXPECT_TRUE(*EmptyTextureLinks(links, &deleted, "t"_iid));
  EXPECT_FALSE(*EmptyTextureLinks(links, &deleted, "t"_iid));
  for (const auto& [name, width] : {std::pair("a"_iid, 3u), std::pair("c"_iid, 5u)}) {
    const TextureSamplerEntry* emptied = FindTextureEntry(links, name);
    ASSERT_TRUE(emptied);
    EXPECT_EQ(emptied->_texture, nullptr);
    EXPECT_EQ(emptied->_sampler, nullptr);
    EXPECT_FALSE(emptied->_textureItem);
    EXPECT_FALSE(emptied->_samplerItem);
    EXPECT_EQ(emptied->_samplingData._dimensions, Vec3<UInt32>(width, 2, 1));
    EXPECT_EQ(emptied->_samplingData._dataSize, Int64{8} * width);
    EXPECT_EQ(emptied->_samplingData._format, TextureFormat::F32);
    EXPECT_EQ(emptied->_state, TextureSamplerEntry::kWritable);
    EXPECT_EQ(emptied->_textureId, "t"_iid);
  }
  EXPECT_EQ(FindTextureEntry(links, "b"_iid)->_texture, &kept);
}

TEST_F(GpuTextureLinksTest, AnEvictedTextureIsUnknownOnceNothingIsEvictedAnyMore) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"a"_iid});
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  ASSERT_THAT(StoreLarge("c"_iid, 3), IsOk());
  ASSERT_FALSE(IsOnDevice("a"_iid));
  g_outOfCoreParallelProgram = false;
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(Read("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(diagnostics.GetLines(), Not(Contains("Stop")));
  EXPECT_EQ(diagnostics.GetLines().size(), 1u);
}

TEST_F(GpuTextureLinksTest, WhatAKernelWritesIsBoundAsAnImage) {
  AddTextureKernel("k"_iid, "(TextureSampler_2D_R_F32_POINT) target, \\\n(const TextureSampler_2D_R_F32_POINT) source",
                   "StoreImage(target, int2(0, 0), FetchTexture(source, int2(0, 0)));");
  ASSERT_THAT(StoreTexture("image"_iid, 5, 4, 1), IsOk());
  EXPECT_TRUE((*program->GetTextureHandle("image"_iid))->GetDescription().isImage);
  ASSERT_THAT(StoreTexture("source"_iid, 6, 4, 1), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernel("image"_iid, "target"_iid), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const std::vector<std::string> taken = TakeCalls();
  EXPECT_THAT(taken, IsSupersetOf({"image target = 5", "texture source = 6"}));
  EXPECT_THAT(taken, Not(Contains("texture target = 5")));
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, true), IsOk());
  ASSERT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("dispatch 1 1 1", "barrier 136", "dispatch 1 1 1"));
}

constexpr const char* kLayered = "(const TextureSampler_2D_R_F32_LINEAR) image, \\\n(Block<Float32>) values";
constexpr const char* kOneLayer =
    "The kernel's texture \"image\" is read by layer, but a texture with several layers is linked to it: textures on "
    "the GPU have one.";

TEST_F(GpuTextureLinksTest, AKernelThatReadsByLayerIsRefusedATextureOfSeveral) {
  AddTextureKernel("k"_iid, kLayered, "UNIFORM_BUFFER(values)[0] = FetchTextureLayer(image, int2(0, 0), 1u);");
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  TextureBindData layers = Fill(4, 8, 1);
  layers._dimensions = Vec3<UInt32>(4, 4, 1);
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, layers, false), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernel("t"_iid, "image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalArgumentError, kOneLayer));
  // Also when it comes under the parameter's own name, after a delete, and where it was created.
  ASSERT_THAT(program->DeleteTexture("t"_iid, false), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->CreateTexture("image"_iid, layers), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalArgumentError, kOneLayer));
  // One layer is what it looks like.
  ASSERT_THAT(StoreTexture("one"_iid, 4, 4, 1), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernel("one"_iid, "image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(GpuTextureLinksTest, OtherKernelsReadTheFirstLayer) {
  AddTextureKernel("k"_iid, kLayered, "UNIFORM_BUFFER(values)[0] = FetchTexture(image, int2(0, 0));");
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  TextureBindData layers = Number({4, 8, 1});
  layers._dimensions = Vec3<UInt32>(4, 4, 1);
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, layers, false), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  const auto read = Read("image"_iid);
  ASSERT_THAT(read, IsOk());
  EXPECT_EQ(read->GetIf<SamplingData>()->_dataSize, 64);
  EXPECT_EQ(GetFirst("image"_iid), 0);
}

TEST_F(GpuTextureLinksTest, FurtherLayersOfAnUpdateAreSaidOnce) {
  ASSERT_THAT(StoreTexture("t"_iid, 4, 4, 1), IsOk());
  TextureBindData layers = Fill(4, 8, 2);
  layers._dimensions = Vec3<UInt32>(4, 4, 1);
  const DiagnosticRecorder diagnostics;
  for (int i = 0; i < 2; ++i) ASSERT_THAT(program->UpdateTextureBindData("t"_iid, layers), IsOk());
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("Textures on the GPU have one layer; further ones are left out, at attribute t"));
  AddTextureKernel("k"_iid, kLayered, "UNIFORM_BUFFER(values)[0] = FetchTextureLayer(image, int2(0, 0), 1u);");
  ASSERT_THAT(program->SetTextureToActiveKernel("t"_iid, "image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalArgumentError, kOneLayer));
}

TEST_F(GpuTextureLinksTest, ATextureWithoutAllItsTexelsIsNotBoundUntilTheyAreStoredAgain) {
  constexpr const char* kUnfilled =
      "The kernel's texture \"image\" (4 x 4 x 1 texels, 64 bytes) is incomplete: the transfer failed while its texels "
      "were written. Store the texture again and link it.";
  AddTextureKernel("k"_iid, kLayered, "UNIFORM_BUFFER(values)[0] = FetchTexture(image, int2(0, 0));");
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  const DiagnosticRecorder diagnostics;
  device.failing = "staging";
  ASSERT_THAT(StoreTexture("image"_iid, 4, 4, 1), IsOk());
  device.failing.clear();
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("made-up failure, at attribute image"));
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, kUnfilled));
  TextureBindData texels = Fill(4, 4, 2);
  ASSERT_THAT(program->UpdateTextureBindData("image"_iid, texels), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  // What an update leaves half written is no result, either.
  device.failing = "staging";
  ASSERT_THAT(program->UpdateTextureBindData("image"_iid, texels), IsOk());
  device.failing.clear();
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, kUnfilled));
  // What is stored anew is another texture.
  ASSERT_THAT(StoreTexture("image"_iid, 4, 4, 3), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, kUnfilled));
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(GpuTextureLinksTest, ATextureOfSeveralLayersIsNotEvicted) {
  StartOutOfCore(52 * kMiB, 52 * kMiB, {"layers"_iid, "b"_iid});
  TextureBindData layers = Fill(2048, 4096, 1);
  layers._dimensions = Vec3<UInt32>(2048, 2048, 1);
  ASSERT_THAT(program->StoreTextureBindData("layers"_iid, layers, false), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  ASSERT_THAT(StoreLarge("c"_iid, 3), IsOk());
  EXPECT_TRUE(IsOnDevice("layers"_iid));
  EXPECT_FALSE(IsOnDevice("b"_iid));
}

TEST(TextureStorageTest, MoreTexelsThanTheExtentsHoldAreFurtherLayers) {
  using enum TextureFormat;
  const auto hasLayers = [](TextureFormat format, Int64 bytes, const NarrowTexels& narrow = {}) {
    TextureBindData data;
    data._dimensions = Vec3<UInt32>(4, 2, 1);
    data._format = format;
    data._numChannels = 1;
    data._dataSize = bytes;
    return HasFurtherLayers(data, **FindTextureFormat(data, narrow));
  };
  EXPECT_FALSE(hasLayers(F32, 32));
  EXPECT_TRUE(hasLayers(F32, 33));
  EXPECT_FALSE(hasLayers(F32, 31));
  EXPECT_FALSE(hasLayers(U8, 8));
  EXPECT_TRUE(hasLayers(U8, 16));
  EXPECT_FALSE(hasLayers(F16, 32));  // floats
  EXPECT_TRUE(hasLayers(F16, 64));
  // Where texels are stored in 32 bits, four bytes for one are one.
  EXPECT_TRUE(hasLayers(U8, 16, {false, false}));
  EXPECT_FALSE(hasLayers(U8, 32, {false, false}));
  EXPECT_TRUE(hasLayers(U8, 40, {false, false}));
  EXPECT_FALSE(hasLayers(F32, -1));
}

}  // namespace
}  // namespace ostra::test
