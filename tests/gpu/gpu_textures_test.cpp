// Textures of the GPU program: whose texture a name stands for, updates, and textures that make room for others.
#include "tests/gpu/textures_fixture.h"

namespace ostra::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TEST_F(GpuTexturesTest, AfterASwapEachNameHasATextureOfItsOwn) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  ASSERT_THAT(StoreTexture("b"_iid, 4, 4, 2), IsOk());
  ASSERT_THAT(program->SwapTextures("a"_iid, "b"_iid), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 2);
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());  // with the key of what is called b now
  EXPECT_NE(*program->GetTextureHandle("a"_iid), *program->GetTextureHandle("b"_iid));
  EXPECT_EQ(GetFirst("b"_iid), 1);
  TextureBindData empty = Describe(4, 4);
  ASSERT_THAT(program->CreateTexture("a"_iid, empty), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 0);
  EXPECT_EQ(GetFirst("b"_iid), 1);
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  EXPECT_EQ(GetFirst("b"_iid), 1);
}

TEST_F(GpuTexturesTest, TheSameTexelsUnderTheSameNameFindTheSameTexture) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  DrawportTexture* const first = *program->GetTextureHandle("a"_iid);
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  EXPECT_EQ(*program->GetTextureHandle("a"_iid), first);
  // Other extents with as many bytes are another texture, of a key that is extended.
  ASSERT_THAT(StoreTexture("a"_iid, 8, 2, 1), IsOk());
  EXPECT_EQ((*program->GetTextureHandle("a"_iid))->GetDescription().extent.width, 8);
}

TEST_F(GpuTexturesTest, AnUpdateTakesTexelsOfAnotherFormatAsBytes) {
  EXPECT_THAT(program->UpdateTextureBindData("a"_iid, Fill(4, 4, 1)),
              IsErrorWith(kIllegalArgumentError, "texture for update could not be found"));
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  TextureBindData integers = Fill(4, 4, 2);
  integers._format = TextureFormat::U32;
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, integers), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 2);
  // A format that no texture of the device has.
  integers = Fill(4, 4, 3);
  integers._format = TextureFormat::I16;
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, integers), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 3);
  // Floats for a texture of halves are not halved, and never read behind their end.
  TextureBindData halves = Describe(4, 4);
  halves._format = TextureFormat::F16;
  ASSERT_THAT(program->StoreTextureBindData("h"_iid, halves, false), IsOk());
  ASSERT_THAT(program->UpdateTextureBindData("h"_iid, Fill(4, 4, 3)), IsOk());
}

TEST_F(GpuTexturesTest, AnUpdateOfFewerTexelsFillsACornerAndOneOfMoreIsSaid) {
  ASSERT_THAT(StoreTexture("a"_iid, 4, 4, 1), IsOk());
  auto* texture = static_cast<RecordingTexture*>(*program->GetTextureHandle("a"_iid));
  const auto at = [&](Int x, Int y) {
    Float32 value = -1;
    MemCopy(&value, texture->At(x, y, 0), 4);
    return value;
  };
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, Fill(2, 3, 5)), IsOk());
  EXPECT_EQ(at(1, 2), 5);
  EXPECT_EQ(at(2, 2), 1);
  EXPECT_EQ(at(1, 3), 1);
  TextureBindData cut = Fill(4, 4, 7);
  cut._dataSize = 40;  // of 64 bytes
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, cut), IsOk());
  EXPECT_EQ(at(1, 2), 5);  // a block that is not reached whole is left as it is
}

TEST_F(GpuTexturesTest, AnUpdateChangesTheSampler) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(StoreTexture("image"_iid, 4, 4, 1), IsOk());
  TextureBindData data = Fill(4, 4, 2);
  data._filter = TextureFilter::POINT;
  TakeCalls();
  ASSERT_THAT(program->UpdateTextureBindData("image"_iid, data), IsOk());
  EXPECT_EQ(TakeCalls()[0], "get sampler 168");
  const auto read = Read("image"_iid);
  ASSERT_THAT(read, IsOk());
  EXPECT_EQ(read->GetIf<SamplingData>()->_flags._bits & PackedTextureFlags::kFilterMask, 0u);
}

TEST_F(GpuTexturesTest, ALinkWhoseTextureWasDeletedLeadsToTheParametersOwnName) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(StoreTexture("a"_iid, 3, 4, 1), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernel("a"_iid, "image"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture image = 3"));
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture image = -1"));
  ASSERT_THAT(StoreTexture("image"_iid, 7, 4, 1), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("texture image = 7"));
  EXPECT_THAT(program->DeleteTexture("nowhere"_iid, false), IsOk());
}

TEST_F(GpuTexturesTest, ExtentsWhoseBytesCannotBeCountedAreNoTexels) {
  TextureBindData data = Describe(4, 4);
  const Float32 texel = 1;
  data._data = reinterpret_cast<const Byte*>(&texel);
  data._dataSize = 4;
  data._dimensions = Vec3<UInt32>(1u << 31, 1u << 31, 1);
  device.failing = "valid texture";  // as a device does
  EXPECT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsErrorWith(kIllegalStateError, "made-up failure"));
}

TEST_F(GpuTexturesTest, TexturesMakeRoomInTheirOrder) {
  const DiagnosticRecorder diagnostics;
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"none"_iid, "small"_iid, "a"_iid, "b"_iid});
  ASSERT_THAT(StoreTexture("small"_iid, 64, 64, 9), IsOk());
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  EXPECT_THAT(TakeCalls(), Not(Contains("free trash")));
  // 4 MiB are kept free, and 16 are wanted of a little less than 24.
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  EXPECT_THAT(TakeCalls(), Not(Contains("free trash")));
  ASSERT_THAT(StoreLarge("c"_iid, 3), IsOk());
  // Room is made between finding out that the texture is new and giving it memory.
  EXPECT_THAT(TakeCalls(), ElementsAre("get sampler 171", "get texture 16777216", "execute 1",
                                       "staging 16777216 use 32", "map texture 1 at 0,0,0 of 2048x2048x1", "release",
                                       "free trash", "valid texture", "staging 16777216 use 4",
                                       "map texture 8 at 0,0,0 of 2048x2048x1", "release", "valid sampler"));
  EXPECT_TRUE(IsOnDevice("small"_iid));
  EXPECT_FALSE(IsOnDevice("a"_iid));
  EXPECT_TRUE(IsOnDevice("b"_iid));
  // It is read from the host.
  TakeCalls();
  EXPECT_EQ(GetFirst("a"_iid), 1);
  EXPECT_THAT(TakeCalls(), ElementsAre());
  // Where nothing is left to evict, the texture is made all the same.
  ASSERT_THAT(StoreLarge("d"_iid, 4), IsOk());
  ASSERT_THAT(StoreLarge("e"_iid, 5), IsOk());
  EXPECT_FALSE(IsOnDevice("b"_iid));
  EXPECT_TRUE(IsOnDevice("c"_iid));
  // Told once, with sizes.
  ASSERT_EQ(diagnostics.GetLines().size(), 1u);
  EXPECT_THAT(diagnostics.GetLines()[0],
              AllOf(HasSubstr("of 41943040 bytes are free: the texture \"a\" of 16777216 bytes"),
                    HasSubstr("is kept by the host")));
}

TEST_F(GpuTexturesTest, OnlyANewTextureMakesRoom) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"a"_iid, "b"_iid});
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  TakeCalls();
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  TextureBindData wrong = Fill(2048, 2048, 1);
  wrong._format = TextureFormat::I16;
  EXPECT_THAT(
      program->StoreTextureBindData("c"_iid, wrong, false),
      IsErrorWith(kIllegalArgumentError, "wrong combination of _numChannels and _format to determine the PixelFormat"));
  EXPECT_THAT(TakeCalls(), Not(Contains("free trash")));
}

TEST_F(GpuTexturesTest, ATextureWithFewerTexelsThanItHasRoomForStays) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"short"_iid, "b"_iid});
  TextureBindData data = Fill(2048, 2300, 1);  // a little less than 18 MiB
  data._dataSize = 17 * kMiB;
  ASSERT_THAT(program->StoreTextureBindData("short"_iid, data, false), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(StoreLarge("c"_iid, 3), IsOk());
  EXPECT_TRUE(IsOnDevice("short"_iid));
  EXPECT_FALSE(IsOnDevice("b"_iid));
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre(HasSubstr("the texture \"b\" of 16777216 bytes is kept by the host")));
}

TEST_F(GpuTexturesTest, ABudgetThatNobodyKnowsEvictsNothing) {
  for (const VideoMemoryBudget unknown : {VideoMemoryBudget{-1, -1}, VideoMemoryBudget{0, 0}}) {
    StartOutOfCore(unknown.available, unknown.total, {"a"_iid});
    device.countsTextures = false;
    ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
    ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
    TextureBindData endless = Describe(4, 4);
    endless._dataSize = INT64_MAX;
    ASSERT_THAT(program->StoreTextureBindData("c"_iid, endless, false), IsOk());
    EXPECT_TRUE(IsOnDevice("a"_iid));
    EXPECT_THAT(TakeCalls(), Not(Contains("free trash")));
  }
}

constexpr const char* kThreeTextures = R"(#define KERNELINPUTS \
(const TextureSampler_2D_R_F32_LINEAR) a, \
(const TextureSampler_2D_R_F32_LINEAR) b, \
(const TextureSampler_2D_R_F32_LINEAR) c, \
(Block<Float32>) values

OSTRA_PARALLEL_KERNEL(Three, KERNELINPUTS)
{
	UNIFORM_BUFFER(values)[0] = 1.0;
}
OSTRA_PARALLEL_KERNEL_END
)";

TEST_F(GpuTexturesTest, AKernelsTexturesComeBackTogether) {
  // All three fit, but not with what is kept free.
  StartOutOfCore(52 * kMiB, 64 * kMiB, {"a"_iid, "b"_iid, "c"_iid});
  AddKernel("k"_iid, kThreeTextures);
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  for (const InternedId& id : {"a"_iid, "b"_iid, "c"_iid}) {
    ASSERT_THAT(StoreLarge(id, 1), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernelSameId(id), IsOk());
  }
  EXPECT_FALSE(IsOnDevice("a"_iid));  // made room for c
  TakeCalls();
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  for (const InternedId& id : {"a"_iid, "b"_iid, "c"_iid}) EXPECT_TRUE(IsOnDevice(id));
  const std::vector<std::string> taken = TakeCalls();
  EXPECT_THAT(taken, testing::IsSupersetOf({"texture a = 2048", "texture b = 2048", "texture c = 2048"}));
  EXPECT_EQ(std::count(taken.begin(), taken.end(), "execute 1"), 2);  // before and after the restore
  EXPECT_EQ(GetFirst("a"_iid), 1);
}

TEST_F(GpuTexturesTest, ATextureOfTwoParametersCountsOnce) {
  StartOutOfCore(42 * kMiB, 42 * kMiB, {"other"_iid, "a"_iid});
  AddKernel("k"_iid, kThreeTextures);
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  ASSERT_THAT(StoreTexture("other"_iid, 1024, 1024, 2), IsOk());
  for (const InternedId& name : {"a"_iid, "b"_iid, "c"_iid})
    ASSERT_THAT(program->SetTextureToActiveKernel("a"_iid, name), IsOk());
  ASSERT_THAT(StoreTexture("other"_iid, 2048, 2049, 2), IsOk());
  TakeCalls();
  // 16 MiB for three parameters, where 42 - 32 MiB are free: the other one goes, and nothing else.
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_FALSE(IsOnDevice("other"_iid));
  const std::vector<std::string> taken = TakeCalls();
  EXPECT_EQ(std::count(taken.begin(), taken.end(), "free trash"), 1);
}

TEST_F(GpuTexturesTest, DeletingAnEvictedTextureForGoodDropsItsTexels) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {"a"_iid});
  ASSERT_THAT(StoreLarge("a"_iid, 1), IsOk());
  ASSERT_THAT(StoreLarge("b"_iid, 2), IsOk());
  ASSERT_THAT(StoreLarge("c"_iid, 3), IsOk());
  ASSERT_FALSE(IsOnDevice("a"_iid));
  ASSERT_THAT(program->DeleteTexture("a"_iid, true), IsOk());
  EXPECT_EQ(GetFirst("a"_iid), 1);
  ASSERT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  const DiagnosticRecorder diagnostics;
  EXPECT_FALSE(Read("a"_iid));
  EXPECT_THAT(diagnostics.GetLines(), Contains("Stop"));
}

TEST_F(GpuTexturesTest, ADispatchOutOfCoreUpdatesFirst) {
  StartOutOfCore(40 * kMiB, 40 * kMiB, {});
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 1), IsOk());
  TakeCalls();
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("buffer values = 4", "texture image = -1", "barrier 16384", "dispatch 1 1 1"));
  ASSERT_THAT(program->SetUniform("factor"_iid, Float64(2)), IsOk());
  EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(TakeCalls(), Not(Contains("barrier 16384")));
}

TEST_F(GpuTexturesTest, FunctionsOfHeadersAreLookedThroughForLayersAndNoises) {
  Write("net.ostra.test.calls.h",
        "inline float look(float x)\n{\n\tfloat noise = RenderNoise(5, vec3(x, 0.0, 0.0), 0.0);\n"
        "\treturn noise + FetchTextureLayer(image, int2(0, 0), 0).x;\n}\n");
  AddKernel("k"_iid,
            "#define KERNELINPUTS \\\n(const TextureSampler_2D_R_F32_LINEAR) image, \\\n(Block<Float32>) values\n\n"
            "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tfloat x = 0.0;\n\tADDNOISECALL\n\tx = look(1.0);\n\t"
            "UNIFORM_BUFFER(values)[0] = x;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  Bool hasLayers = false, hasNoise = false;
  for (const DrawportParameter& parameter : GetCache().programs["k"]->description.GetParameters()) {
    hasLayers = hasLayers || (parameter.name == "image"_iid && parameter.hasLayers);
    hasNoise = hasNoise || parameter.name == "noiseData_5"_iid;
  }
  EXPECT_TRUE(hasLayers);
  EXPECT_TRUE(hasNoise);
}

}  // namespace
}  // namespace ostra::test
