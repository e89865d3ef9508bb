// Textures of the loader and links to them: keys, formats, adoption, reading back.
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

class LoaderTexturesTest : public LoaderTest {
 protected:
  void AddStages() {
    WriteStage("t.vert", {"(attribute Vector32) position", "(const TextureSampler_2D_R_F32_LINEAR) image"});
    WriteStage("t.frag",
               {"(const TextureSampler_2D_R_F32_LINEAR) image", "(TextureSampler_2D_R_F32_POINT) drawing",
                "(out Vector4d32) f_color"},
               "\tf_color = SampleTexture(colorTexture, vec2(0.0, 0.0)) * SampleTexture(depthTexture, vec2(0.0, "
               "0.0)).x;\n");
    AddProgram("p"_iid, {"t.vert", "t.frag"});
    TakeCalls();
  }
  static TextureBindData Describe(UInt32 width, UInt32 height, TextureFormat format = TextureFormat::F32,
                                  UInt32 channels = 1) {
    TextureBindData data;
    data._dimensions = Vec3<UInt32>(width, height, 1);
    data._format = format;
    data._numChannels = channels;
    data._dataSize = Int64{GetElementSize(format)} * channels * width * height;
    return data;
  }
  void Store(InternedId id, UInt32 width, UInt32 height) {
    TextureBindData data = Describe(width, height);
    std::vector<Float32> texels(static_cast<std::size_t>(width) * height);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i);
    data._data = reinterpret_cast<const Byte*>(texels.data());
    ASSERT_THAT(loader->StoreTextureBindData(id, data, false), IsOk());
  }
  static Data MakeEntry(DrawportTexture* texture, DrawportTextureSampler* sampler) {
    TextureSamplerEntry entry;
    entry._texture = texture;
    entry._sampler = sampler;
    return *Data::Create(std::move(entry));
  }
  Result<Data> ReadBack(InternedId id) {
    return loader->GetTextureData(id, Vec3<Int32>(1, 1, 1), Vec3<Int32>(2, 2, 2));
  }
};

TEST_F(LoaderTexturesTest, ATextureIsFilledInBlocksAndReadBackWhole) {
  Store("t"_iid, 1024, 64);
  EXPECT_THAT(TakeCalls(), ElementsAre("get sampler 171", "get texture 262144", "valid texture", "staging 65536 use 4",
                                       "map texture 8 at 0,0,0 of 1024x16x1", "map texture 8 at 0,16,0 of 1024x16x1",
                                       "map texture 8 at 0,32,0 of 1024x16x1", "map texture 8 at 0,48,0 of 1024x16x1",
                                       "release", "valid sampler"));
  const auto data = ReadBack("t"_iid);  // whatever the region
  ASSERT_THAT(data, IsOk());
  const auto* record = data->GetIf<SamplingData>();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->_dimensions, Vec3<UInt32>(1024, 64, 1));
  ASSERT_EQ(record->_dataSize, 262144);
  for (const std::size_t i : {std::size_t{0}, std::size_t{40000}, std::size_t{65535}})
    EXPECT_EQ(reinterpret_cast<const Float32*>(record->_texels)[i], static_cast<Float32>(i));
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 4", "map texture 1 at 0,0,0 of 1024x16x1",
                                       "map texture 1 at 0,16,0 of 1024x16x1", "map texture 1 at 0,32,0 of 1024x16x1",
                                       "map texture 1 at 0,48,0 of 1024x16x1", "release"));
}

// Rows that are wider than the staging memory are read in parts.
TEST_F(LoaderTexturesTest, ASingleRowMayBeReadInParts) {
  TextureBindData wide = Describe(20000, 2);
  ASSERT_THAT(loader->CreateTexture("t"_iid, wide), IsOk());
  TakeCalls();
  ASSERT_THAT(ReadBack("t"_iid), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 4", "map texture 1 at 0,0,0 of 16384x1x1",
                                       "map texture 1 at 16384,0,0 of 3616x1x1", "map texture 1 at 0,1,0 of 16384x1x1",
                                       "map texture 1 at 16384,1,0 of 3616x1x1", "release"));
  TextureBindData row = Describe(20000, 1);
  ASSERT_THAT(loader->CreateTexture("row"_iid, row), IsOk());
  TakeCalls();
  ASSERT_THAT(ReadBack("row"_iid), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 4", "map texture 1 at 0,0,0 of 16384x1x1",
                                       "map texture 1 at 16384,0,0 of 3616x1x1", "release"));
  TextureBindData slices = Describe(20000, 1);
  slices._dimensions.z = 2;
  slices._dataSize *= 2;
  ASSERT_THAT(loader->CreateTexture("slices"_iid, slices), IsOk());
  TakeCalls();
  ASSERT_THAT(ReadBack("slices"_iid), IsOk());
  EXPECT_EQ(TakeCalls().size(), 6u);
}

TEST_F(LoaderTexturesTest, RowsWithGapsAreRefusedInsteadOfOverrunning) {
  device.rowAlignment = 256;
  Store("t"_iid, 5, 3);
  TakeCalls();
  EXPECT_THAT(ReadBack("t"_iid),
              IsErrorWith(kIllegalStateError,
                          "Tried to copy more bytes than allocated in parallelProgramGPU.GetTextureData(). Texture "
                          "maybe too small (Minimum of 256 bytes per line)?"));
  EXPECT_EQ(TakeCalls().back(), "release");
  Store("aligned"_iid, 64, 3);
  EXPECT_THAT(ReadBack("aligned"_iid), IsOk());
  // Blocks whose gaps would not even fit the staging memory.
  TextureBindData large = Describe(60, 1000);
  ASSERT_THAT(loader->CreateTexture("large"_iid, large), IsOk());
  TakeCalls();
  EXPECT_THAT(ReadBack("large"_iid), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65536 use 4", "release"));
}

TEST_F(LoaderTexturesTest, AReadThatFailsSaysSoAndReleasesItsStagingBuffer) {
  Store("t"_iid, 4, 4);
  device.failing = "map texture";
  EXPECT_THAT(ReadBack("t"_iid), IsErrorWith(kIllegalStateError, "MapTexture in GetTextureData failed"));
  EXPECT_EQ(TakeCalls().back(), "release");
  device.failing = "";
  EXPECT_THAT(ReadBack("t"_iid), IsOk());
  EXPECT_THAT(ReadBack("nothing"_iid), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(LoaderTexturesTest, TheKeyIsMadeOfNameSizeAndLeadingBytes) {
  const GeneralShaderLoaderRef other = MakeLoader();
  Store("t"_iid, 4, 4);
  Store("t"_iid, 4, 4);
  Store("u"_iid, 4, 4);
  TextureBindData bytes = Describe(16, 1, TextureFormat::U8, 4);
  ASSERT_THAT(loader->CreateTexture("t"_iid, bytes), IsOk());
  TextureBindData same = Describe(4, 4);
  ASSERT_THAT(other->CreateTexture("t"_iid, same), IsOk());
  const auto& keys = GetCache().textureKeys;
  EXPECT_TRUE(keys[0] == keys[1]);
  EXPECT_NE(keys[0].values[0], keys[2].values[0]);
  EXPECT_EQ(keys[0].values[2], keys[2].values[2]);
  EXPECT_EQ(keys[0].values[1], 64u);  // the bytes that were given
  EXPECT_EQ(keys[3].values[0], keys[0].values[0]);
  EXPECT_EQ(keys[3].values[1], 64u);
  EXPECT_EQ(keys[3].values[2], 0u);
  EXPECT_NE(keys.back().values[0], keys[0].values[0]);
  const auto before = keys[0];
  const DrawportContextRef old = context;
  context = DrawportContextRef::Adopt(NewObj<RecordingContext>(device, old->GetDrawport()));
  ASSERT_TRUE(loader->UpdateContext(context));
  Store("t"_iid, 4, 4);
  EXPECT_NE(GetCache().textureKeys.back().values[0], before.values[0]);
  EXPECT_EQ(GetCache().textureKeys.back().values[2], before.values[2]);
}

TEST_F(LoaderTexturesTest, FormatsAreStoredAsTheyAre) {
  struct Case {
    TextureFormat format;
    UInt32 channels;
    Id expected;
  };
  const Case cases[] = {
      {TextureFormat::U8, 1, "net.ostra.image.pixelformat.dynamic.redu8"_id},
      {TextureFormat::U8, 4, "net.ostra.image.pixelformat.rgba.u8"_id},
      {TextureFormat::I8, 2, "net.ostra.image.pixelformat.dynamic.redgreens8"_id},
      {TextureFormat::I8, 4, "net.ostra.image.pixelformat.rgba.u8"_id},
      {TextureFormat::U16, 2, "net.ostra.image.pixelformat.dynamic.redgreenu16"_id},
      {TextureFormat::U32, 1, "net.ostra.image.pixelformat.dynamic.redu32"_id},
      {TextureFormat::I32, 4, "net.ostra.image.pixelformat.rgba.s32"_id},
      {TextureFormat::F16, 4, "net.ostra.image.pixelformat.rgba.f16"_id},
      {TextureFormat::F32, 3, "net.ostra.image.pixelformat.rgb.f32"_id},
  };
  for (const Case& c : cases) {
    TextureBindData data = Describe(4, 4, c.format, c.channels);
    ASSERT_THAT(loader->CreateTexture("t"_iid, data), IsOk());
    EXPECT_EQ((*loader->GetTextureHandle("t"_iid))->GetDescription().format, *GetPixelFormat(c.expected));
  }
  constexpr const char* kWrong = "wrong combination of _numChannels and _format to determine the PixelFormat";
  TextureBindData third = Describe(4, 4, TextureFormat::I16);
  EXPECT_THAT(loader->CreateTexture("u"_iid, third), IsErrorWith(kIllegalArgumentError, kWrong));
  TextureBindData unknown = Describe(4, 4, static_cast<TextureFormat>(99));
  EXPECT_THAT(loader->CreateTexture("u"_iid, unknown), IsErrorWith(kIllegalArgumentError, kWrong));
  for (const UInt32 channels : {0u, 5u}) {
    TextureBindData odd = Describe(4, 4, TextureFormat::F32, channels);
    EXPECT_THAT(loader->CreateTexture("u"_iid, odd), IsErrorWith(kIllegalArgumentError, kWrong));
  }
  EXPECT_EQ(*loader->GetTextureHandle("u"_iid), nullptr);
}

TEST_F(LoaderTexturesTest, ACreatedTextureIsThereWhenTheCallReturns) {
  const std::vector<Float32> texels(16, 1.0f);
  TextureBindData data = Describe(4, 4);
  data._dimensions.z = 0;  // as good as 1
  data._data = reinterpret_cast<const Byte*>(texels.data());
  ASSERT_THAT(loader->CreateTexture("t"_iid, data), IsOk());
  EXPECT_EQ(data._data, nullptr);
  EXPECT_EQ(TakeCalls().back(), "execute 1");
  const auto read = ReadBack("t"_iid);
  ASSERT_THAT(read, IsOk());
  EXPECT_EQ(reinterpret_cast<const Float32*>(read->GetIf<SamplingData>()->_texels)[0], 0.0f);
  // A texture that the device has not been told of is none.
  device.failing = "execute";
  TextureBindData other = Describe(8, 8);
  EXPECT_THAT(loader->CreateTexture("t"_iid, other), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_THAT(loader->CreateTexture("u"_iid, other), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_EQ((*loader->GetTextureHandle("t"_iid))->GetDescription().extent.width, 4);
  EXPECT_EQ(*loader->GetTextureHandle("u"_iid), nullptr);
}

// Size and bytes are those of the texture that is held.
TEST_F(LoaderTexturesTest, TexturesOfOneKeyButOtherExtentsAreOthers) {
  AddStages();
  const auto create = [&](UInt32 width, UInt32 height, UInt32 depth) {
    TextureBindData data = Describe(width, height);
    data._dimensions.z = depth;
    data._dataSize = 0;
    ASSERT_THAT(loader->CreateTexture("t"_iid, data), IsOk());
    const DrawportExtent& extent = (*loader->GetTextureHandle("t"_iid))->GetDescription().extent;
    EXPECT_EQ(extent.width, width);
    EXPECT_EQ(extent.height, height);
    EXPECT_EQ(extent.depth, depth);
  };
  create(8, 8, 1);
  ASSERT_THAT(loader->SetTextureToActiveProgram("t"_iid, "image"_iid, 1), IsOk());
  create(4, 4, 1);
  ASSERT_THAT(loader->SetTextureToActiveProgram("t"_iid, "image"_iid, 0), IsOk());
  create(4, 4, 4);
}

TEST_F(LoaderTexturesTest, AnUpdateReplacesTheTexels) {
  TextureBindData data = Describe(4, 4);
  const std::vector<Float32> texels(16, 5.0f);
  data._data = reinterpret_cast<const Byte*>(texels.data());
  EXPECT_THAT(loader->UpdateTextureBindData("t"_iid, data),
              IsErrorWith(kIllegalArgumentError, "texture for update could not be found"));
  Store("t"_iid, 4, 4);
  DrawportTexture* texture = *loader->GetTextureHandle("t"_iid);
  ASSERT_THAT(loader->UpdateTextureBindData("t"_iid, data), IsOk());
  EXPECT_EQ(*loader->GetTextureHandle("t"_iid), texture);
  EXPECT_EQ(reinterpret_cast<const Float32*>(ReadBack("t"_iid)->GetIf<SamplingData>()->_texels)[3], 5.0f);
  // Another size describes the same texture.
  TextureBindData larger = Describe(8, 4);
  ASSERT_THAT(loader->UpdateTextureBindData("t"_iid, larger), IsOk());
  EXPECT_EQ(*loader->GetTextureHandle("t"_iid), texture);
}

TEST_F(LoaderTexturesTest, LinksAreThoseOfOneStage) {
  AddStages();
  Store("a"_iid, 4, 2);
  Store("b"_iid, 6, 2);
  ASSERT_THAT(loader->SetTextureToActiveProgram("a"_iid, "image"_iid, 1), IsOk());
  ASSERT_THAT(loader->SetTextureToActiveProgram("b"_iid, "image"_iid, 0), IsOk());
  ASSERT_THAT(loader->SetTextureToActiveProgram("b"_iid, "drawing"_iid, 1), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture 0.image = 6", "texture 6.image = 4", "image 6.drawing = 6"}));
  EXPECT_THAT(loader->SetTextureToActiveProgramSameId("nothing"_iid, 0), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(LoaderTexturesTest, AParameterWithoutLinkIsTheLoadersTextureOfItsName) {
  AddStages();
  Store("image"_iid, 4, 2);
  ASSERT_THAT(loader->SetTextureToActiveProgramSameId("image"_iid, 0), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture 0.image = 4", "texture 6.image = 4", "image 6.drawing = -1"}));
}

TEST_F(LoaderTexturesTest, ALinkToSomethingElseIsSaidAndFails) {
  AddStages();
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(loader->SetProgramTextureLink("image"_iid, *Data::Create(1.0f), 0),
              IsErrorWith(kIllegalArgumentError, "Texture link not found!"));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("Texture link not found!"));
}

TEST_F(LoaderTexturesTest, ATextureOfSeveralLayersIsRefusedToAStageThatReadsByLayer) {
  WriteStage("l.vert", {"(attribute Vector32) position", "(const TextureSampler_2D_R_F32_LINEAR) image"});
  WriteStage("l.frag", {"(const TextureSampler_2D_R_F32_LINEAR) image", "(out Vector4d32) f_color"},
             "\tf_color = vec4(FetchTextureLayer(image, int2(0, 0), 1u), 0.0, 0.0, 1.0);\n");
  AddProgram("p"_iid, {"l.vert", "l.frag"});
  TextureBindData data = Describe(8, 4);
  data._dataSize *= 2;
  ASSERT_THAT(loader->CreateTexture("layers"_iid, data), IsOk());
  ASSERT_THAT(loader->SetTextureToActiveProgram("layers"_iid, "image"_iid, 0), IsOk());
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
  ASSERT_THAT(loader->SetTextureToActiveProgram("layers"_iid, "image"_iid, 1), IsOk());
  EXPECT_THAT(loader->UpdateUniforms(&pass),
              IsErrorWith(kIllegalArgumentError,
                          "The stage's texture \"image\" is read by layer, but a texture with several layers is linked "
                          "to it: textures on the GPU have one."));
}

TEST_F(LoaderTexturesTest, ATextureOfOtherDimensionsIsRefusedWhenItIsBound) {
  AddStages();
  Store("row"_iid, 8, 1);
  ASSERT_THAT(loader->SetTextureToActiveProgram("row"_iid, "image"_iid, 1), IsOk());
  EXPECT_THAT(loader->UpdateUniforms(&pass),
              IsErrorWith(kIllegalArgumentError,
                          "The stage's texture \"image\" is a 2D texture, but a 1D texture is linked to it."));
}

TEST_F(LoaderTexturesTest, TexturesOfOthersAreAdoptedWithBothHandlesOnly) {
  AddStages();
  Store("other"_iid, 4, 2);  // stays, and keeps alive what is adopted
  DrawportTexture* texture = *loader->GetTextureHandle("other"_iid);
  DrawportTextureSampler* sampler = *loader->GetTextureSamplerHandle("other"_iid);
  Store("own"_iid, 4, 2);
  ASSERT_TRUE(texture && sampler);
  const auto isNull = IsErrorWith(kIllegalArgumentError, "texture or sampler is nullptr");
  EXPECT_THAT(loader->SetSamplerAndTextureHandle("image"_iid, texture, nullptr, {}, {}), isNull);
  EXPECT_THAT(loader->SetSamplerAndTextureHandle("image"_iid, nullptr, sampler, {}, {}), isNull);
  EXPECT_EQ(*loader->GetTextureHandle("image"_iid), nullptr);
  ASSERT_THAT(loader->SetSamplerAndTextureHandle("image"_iid, texture, sampler, {}, {}), IsOk());
  EXPECT_EQ(*loader->GetTextureHandle("image"_iid), texture);
  EXPECT_EQ(*loader->GetTextureSamplerHandle("image"_iid), sampler);
  ASSERT_THAT(loader->SetTextureToActiveProgramSameId("image"_iid, 1), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture 6.image = 4"));
  EXPECT_THAT(
      ReadBack("image"_iid),
      IsErrorWith(kIllegalStateError, "The texture \"image\" was made elsewhere; nothing is known about its texels."));
  EXPECT_THAT(loader->UpdateTextureBindData("image"_iid, Describe(4, 2)),
              IsErrorWith(kIllegalArgumentError, "texture for update could not be found"));
  // An entry that is there keeps what it describes, and stays when a handle is missing.
  ASSERT_THAT(loader->SetSamplerAndTextureHandle("own"_iid, texture, sampler, {}, {}), IsOk());
  EXPECT_THAT(ReadBack("own"_iid), IsOk());
  Store("larger"_iid, 8, 8);
  DrawportTexture* larger = *loader->GetTextureHandle("larger"_iid);
  EXPECT_THAT(loader->SetSamplerAndTextureHandle("own"_iid, larger, nullptr, {}, {}), isNull);
  EXPECT_EQ(*loader->GetTextureHandle("own"_iid), texture);
  ASSERT_THAT(loader->SetSamplerAndTextureHandle("own"_iid, larger, sampler, {}, {}), IsOk());
  EXPECT_THAT(ReadBack("own"_iid), IsErrorOfKind(kIllegalStateError));
}

TEST_F(LoaderTexturesTest, TexturesOfTheDrawPassReachEveryStageThatNamesThem) {
  AddStages();
  Store("depth"_iid, 16, 2);
  Store("color"_iid, 32, 2);
  const Data depth = MakeEntry(*loader->GetTextureHandle("depth"_iid), *loader->GetTextureSamplerHandle("depth"_iid));
  const Data color = MakeEntry(*loader->GetTextureHandle("color"_iid), *loader->GetTextureSamplerHandle("color"_iid));
  ASSERT_THAT(loader->SetDepthTextureHandleActiveProgram("any"_iid, depth), IsOk());
  ASSERT_THAT(loader->SetColorTextureHandleActiveProgram("any"_iid, color), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture 6.depthTexture = 16", "texture 6.colorTexture = 32"}));
  EXPECT_THAT(loader->SetColorTextureHandleActiveProgram("any"_iid, *Data::Create(1.0f)),
              IsErrorOfKind(kIllegalArgumentError));
  // Another program has textures of its own.
  AddProgram("q"_iid, {"t.vert", "t.frag"});
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture 6.depthTexture = -1", "texture 6.colorTexture = -1"}));
}

TEST_F(LoaderTexturesTest, DeletedTexturesLeaveTheirDescriptionInLinks) {
  AddStages();
  Store("a"_iid, 4, 2);
  ASSERT_THAT(loader->SetTextureToActiveProgram("a"_iid, "image"_iid, 1), IsOk());
  ASSERT_THAT(loader->DeleteTexture("a"_iid), IsOk());
  EXPECT_EQ(*loader->GetTextureHandle("a"_iid), nullptr);
  EXPECT_EQ(*loader->GetTextureSamplerHandle("a"_iid), nullptr);
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture 6.image = -1"));
  // The link comes back with a texture of that name.
  Store("a"_iid, 8, 2);
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture 6.image = 8"));
  EXPECT_THAT(loader->DeleteTexture("nothing"_iid), IsOk());
}

TEST_F(LoaderTexturesTest, DeletedTexturesLeaveTheLinksOfAllPrograms) {
  AddStages();
  Store("a"_iid, 4, 2);
  ASSERT_THAT(loader->SetTextureToActiveProgram("a"_iid, "image"_iid, 0), IsOk());
  ASSERT_THAT(loader->SetTextureToActiveProgram("a"_iid, "image"_iid, 1), IsOk());
  AddProgram("q"_iid, {"t.vert", "t.frag"});
  ASSERT_THAT(loader->SetTextureToActiveProgram("a"_iid, "image"_iid, 1), IsOk());
  ASSERT_THAT(loader->DeleteTexture("a"_iid), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture 6.image = -1"));
  loader->SetActiveProgram("p"_iid);
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), IsSupersetOf({"texture 0.image = -1", "texture 6.image = -1"}));
}

TEST_F(LoaderTexturesTest, CopyingTexelsDoesNothing) {
  EXPECT_THAT(loader->CopyTextureBytes("a"_iid, "b"_iid, 4, 0, 0), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

}  // namespace
}  // namespace ostra::test
