// Textures of the CPU program: which samplers it makes, and what its methods do with them.
#include "tests/parallelprogram/texture_program_fixture.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

constexpr const char* kCombinationMessage =
    "Combination of input parameters (dimensions/formatOut/numberChannels/sampleLinear) not allowed.";

// Both slots, against the reference. The slot of a point sampler is called with integers.
void ExpectSameLookups(const TextureSamplerDataHelper& sampler, const Texture& texture) {
  const Int outputs = texture.bindData._numChannels;
  const std::size_t dimensions = static_cast<std::size_t>(*CheckBindData(texture.bindData));
  const std::vector<Int32> texel(dimensions, 1);
  const std::vector<Float32> middle(dimensions, 0.3f);
  const SamplingData& data = sampler._samplingData;
  const auto sampleAsFetch = reinterpret_cast<FetchFunction>(sampler._sample);
  if (texture.bindData._format == TextureFormat::U8) {
    EXPECT_EQ(CallByte(sampler._fetch, texel, 0, data), ReferenceByte(texture, texel, 0));
    EXPECT_EQ(CallByte(sampleAsFetch, texel, 0, data), ReferenceByte(texture, texel, 0));
    return;
  }
  EXPECT_TRUE(HaveSameBits(Call(sampler._fetch, outputs, texel, 0, data), ReferenceFetch(texture, outputs, texel, 0)));
  if (texture.bindData._filter == TextureFilter::LINEAR) {
    EXPECT_TRUE(
        HaveSameBits(Call(sampler._sample, outputs, middle, 0, data), ReferenceSample(texture, outputs, middle, 0)));
  } else {
    EXPECT_TRUE(HaveSameBits(Call(sampleAsFetch, outputs, texel, 0, data), ReferenceFetch(texture, outputs, texel, 0)));
  }
}

struct KindCase {
  TextureFormat format;
  Int32 filter;
  UInt32 channels;
  Int32 firstKind;
};

TEST_F(TextureProgramTest, EveryAllowedCombinationGetsItsKind) {
  AddTextureKernel("any"_iid, kAnySampler);
  std::mt19937 random(4);
  const KindCase cases[] = {
      {TextureFormat::U8, 0, 1, 1},    {TextureFormat::F32, 0, 1, 29},  {TextureFormat::F16, 1, 1, 153},
      {TextureFormat::F32, 1, 1, 157}, {TextureFormat::F16, 1, 2, 185}, {TextureFormat::F32, 1, 2, 189},
      {TextureFormat::F16, 1, 3, 217}, {TextureFormat::F32, 1, 3, 221}, {TextureFormat::F16, 1, 4, 249},
      {TextureFormat::F32, 1, 4, 253}, {TextureFormat::F32, 2, 1, 29}};
  const Vec3<UInt32> extents[] = {{16, 1, 1}, {16, 16, 1}, {16, 4, 2}};
  for (const KindCase& one : cases) {
    for (Int32 dimensions = 1; dimensions <= 3; ++dimensions) {
      Texture texture;
      texture.bindData._dimensions = extents[dimensions - 1];
      texture.bindData._format = one.format;
      texture.bindData._filter = static_cast<TextureFilter>(one.filter);
      texture.bindData._numChannels = one.channels;
      FillTexels(texture, 1, random);
      ASSERT_THAT(Store("a"_iid, texture), IsOk());
      const TextureSamplerDataHelper* sampler = GetSampler("a"_iid);
      ASSERT_NE(sampler, nullptr);
      EXPECT_EQ(sampler->_kind, one.firstKind + dimensions - 1);
      EXPECT_EQ(sampler->_valueType, *GetElementType(texture.bindData));
      ExpectSameLookups(*sampler, texture);
    }
  }
}

// Every combination of format, filter, channel count and dimensionality, against the list above as a formula.
TEST_F(TextureProgramTest, AllOtherCombinationsAreRefused) {
  int allowed = 0;
  for (Int32 format = -3; format <= 70; ++format)
    for (Int32 filter = 0; filter <= 2; ++filter)
      for (UInt32 channels = 1; channels <= 4; ++channels)
        for (const Vec3<UInt32>& extent : {Vec3<UInt32>{4, 1, 1}, Vec3<UInt32>{4, 4, 1}, Vec3<UInt32>{4, 4, 2}}) {
          Texture texture;
          texture.bindData._dimensions = extent;
          texture.bindData._format = static_cast<TextureFormat>(format);
          texture.bindData._filter = static_cast<TextureFilter>(filter);
          texture.bindData._numChannels = channels;
          const auto result = Store("a"_iid, texture);
          const Bool isPoint = filter != 1;
          const Bool hasKind = isPoint ? channels == 1 && (format == 0 || format == 7) : format == 6 || format == 7;
          if (hasKind) {
            EXPECT_THAT(result, IsOk());
            ++allowed;
          } else if (format >= 8) {
            EXPECT_FALSE(result.IsOk()) << format;
          } else {
            EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, kCombinationMessage)) << format;
          }
        }
  EXPECT_EQ(allowed, 3 * (2 * 2 + 2 * 4));
}

TEST_F(TextureProgramTest, FormatsThatLookLikeAKindFailWhenTheirFunctionsAreChosen) {
  Texture texture;
  texture.bindData._dimensions = {4, 4, 1};
  texture.bindData._format = static_cast<TextureFormat>(38);
  texture.bindData._filter = TextureFilter::POINT;
  texture.bindData._numChannels = 1;
  EXPECT_THAT(Store("a"_iid, texture), IsErrorWith(kIllegalStateError, "Illegal state: Invalid format"));
  EXPECT_THAT(program->GetTextureData("a"_iid, {0, 0, 0}, {0, 0, 0}),
              IsErrorWith(kIllegalArgumentError, "texture sampler identifier not found"));
  EXPECT_THAT(program->Reset(), IsOk());
}

TEST_F(TextureProgramTest, DescriptionsAreCheckedFirst) {
  Texture texture;
  texture.bindData._dimensions = {5, 0, 7};
  EXPECT_THAT(Store("a"_iid, texture),
              IsErrorWith(kIllegalArgumentError, "_dimensions in texBindData have to be larger or equal to 1!"));
  texture.bindData._dimensions = {1, 1, 1};
  EXPECT_THAT(Store("a"_iid, texture),
              IsErrorWith(kIllegalArgumentError, "Dimensions has to be in the range [1,3], numberChannels in [1,4]."));
}

TEST_F(TextureProgramTest, CreatedTexturesAreBlackAndTheCallerSeesThatThereAreNoTexels) {
  const Texture texture = MakeCountingTexture({4, 1, 1});
  TextureBindData bindData = texture.GetBindData();
  ASSERT_THAT(program->CreateTexture("a"_iid, bindData), IsOk());
  EXPECT_EQ(bindData._data, nullptr);
  EXPECT_EQ(ReadTexture("a"_iid), Values(4, 0.0f));
}

TEST_F(TextureProgramTest, SizesThatDoNotMatchTheExtentsAreAccepted) {
  Texture texture = MakeCountingTexture({4, 1, 1});
  texture.bindData._dimensions = {4, 4000, 400};
  ASSERT_THAT(Store("a"_iid, texture), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{0, 1, 2, 3}));
}

TEST_F(TextureProgramTest, TexturesThatAreReadAlongAnAxisOfOneTexelAreWarnedOf) {
  DiagnosticRecorder recorder;
  ASSERT_THAT(Store("line"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("picture"_iid, MakeCountingTexture({4, 2, 1})), IsOk());
  EXPECT_THAT(recorder.GetLines(), testing::IsEmpty());
  ASSERT_THAT(Store("column"_iid, MakeCountingTexture({1, 4, 1})), IsOk());
  EXPECT_THAT(recorder.GetLines(), testing::ElementsAre(testing::HasSubstr(
                                       "The texture \"column\" of 1 x 4 x 1 texels counts as 1-dimensional, "
                                       "and axis x has 1 texel: pad it to 2.")));
  ASSERT_THAT(Store("slab"_iid, MakeCountingTexture({4, 1, 2})), IsOk());
  EXPECT_THAT(recorder.GetLines().back(), testing::HasSubstr("counts as 2-dimensional, and axis y has 1 texel"));
}

TEST_F(TextureProgramTest, UpdatesCompareSizesAndNothingElse) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  Texture update = MakeFloatTexture({2, 1, 1}, 2, {9, 8, 7, 6});
  update.bindData._format = TextureFormat::I32;
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, update.GetBindData()), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{9, 8, 7, 6}));
  TextureBindData empty = update.GetBindData();
  empty._data = nullptr;
  ASSERT_THAT(program->UpdateTextureBindData("a"_iid, empty), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{9, 8, 7, 6}));
  empty._dataSize = 15;
  EXPECT_THAT(
      program->UpdateTextureBindData("a"_iid, empty),
      IsErrorWith(kIllegalArgumentError, "Size of input TextureBindData differs from the size of the stored texture."));
  EXPECT_THAT(program->UpdateTextureBindData("b"_iid, empty),
              IsErrorWith(kIllegalArgumentError, "texture sampler identifier not found"));
}

TEST_F(TextureProgramTest, BytesAreCopiedBetweenTextures) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("b"_iid, MakeFloatTexture({2, 2, 1}, 1, {9, 8, 7, 6})), IsOk());
  ASSERT_THAT(Store("c"_iid, MakeCountingTexture({5, 1, 1})), IsOk());
  EXPECT_THAT(program->CopyTextureBytes("a"_iid, "b"_iid, 8, 4, 8), IsOk());
  EXPECT_EQ(ReadTexture("b"_iid), (Values{9, 8, 1, 2}));
  EXPECT_THAT(program->CopyTextureBytes("a"_iid, "b"_iid, -1, 99, -99), IsOk());
  EXPECT_EQ(ReadTexture("b"_iid), (Values{0, 1, 2, 3}));
  EXPECT_THAT(program->CopyTextureBytes("a"_iid, "a"_iid, 12, 0, 4), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{0, 0, 1, 2}));
  EXPECT_THAT(program->CopyTextureBytes("a"_iid, "b"_iid, 0, 16, 16), IsOk());
}

TEST_F(TextureProgramTest, CopiesOutsideTheTexturesAreRefused) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("c"_iid, MakeCountingTexture({5, 1, 1})), IsOk());
  const auto copy = [&](InternedId source, InternedId target, Int count, Int from, Int to) {
    return program->CopyTextureBytes(source, target, count, from, to);
  };
  const char* source = "bytesCount + sourceBytesOffset is larger than source texture size.";
  const char* target = "bytesCount + targetBytesOffset is larger than target texture size.";
  constexpr Int kMax = std::numeric_limits<Int>::max();
  EXPECT_THAT(copy("x"_iid, "y"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, "source texture could not be found."));
  EXPECT_THAT(copy("a"_iid, "y"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, "target texture could not be found."));
  EXPECT_THAT(
      copy("a"_iid, "c"_iid, -1, 0, 0),
      IsErrorWith(kIllegalArgumentError, "If bytesCount is negative, both textures should be of the same size."));
  EXPECT_THAT(copy("a"_iid, "c"_iid, 17, 0, 0), IsErrorWith(kIllegalArgumentError, source));
  EXPECT_THAT(copy("a"_iid, "c"_iid, 8, 9, 99), IsErrorWith(kIllegalArgumentError, source));
  EXPECT_THAT(copy("a"_iid, "c"_iid, 8, 0, 13), IsErrorWith(kIllegalArgumentError, target));
  EXPECT_THAT(copy("a"_iid, "c"_iid, kMax, kMax, 0), IsErrorWith(kIllegalArgumentError, source));
  EXPECT_THAT(copy("a"_iid, "c"_iid, 4, -4, 0), IsErrorWith(kIllegalArgumentError, source));
  EXPECT_THAT(copy("a"_iid, "c"_iid, 4, 0, -4), IsErrorWith(kIllegalArgumentError, target));
}

TEST_F(TextureProgramTest, SwappingExchangesNamesAndKeepsLinks) {
  AddTextureKernel("any"_iid, kAnySampler);
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("b"_iid, MakeFloatTexture({2, 1, 1}, 1, {9, 8})), IsOk());
  const TextureSamplerDataHelper* linked = GetSampler("a"_iid);
  ASSERT_THAT(program->SwapTextures("a"_iid, "b"_iid), IsOk());
  EXPECT_EQ(ReadTexture("a"_iid), (Values{9, 8}));
  EXPECT_EQ(ReadTexture("b"_iid), (Values{0, 1, 2, 3}));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSampler(), linked);
  EXPECT_THAT(program->SwapTextures("x"_iid, "b"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  EXPECT_THAT(program->SwapTextures("b"_iid, "x"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
  EXPECT_EQ(ReadTexture("b"_iid), (Values{0, 1, 2, 3}));
}

TEST_F(TextureProgramTest, DeletingRemovesEveryLinkOfEveryKernel) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("keep"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  for (const InternedId kernel : {"first"_iid, "second"_iid}) {
    AddTextureKernel(kernel, kAnySampler);
    ASSERT_THAT(program->SetTextureToActiveKernel("a"_iid, "any"_iid), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernel("a"_iid, "other"_iid), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernelSameId("keep"_iid), IsOk());
  }
  ASSERT_THAT(program->DeleteTexture("a"_iid, true), IsOk());
  EXPECT_THAT(program->DeleteTexture("a"_iid, false), IsOk());
  for (const InternedId kernel : {"first"_iid, "second"_iid}) {
    program->SetActiveKernel(kernel);
    SeenSampler() = nullptr;
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_EQ(SeenSampler(), nullptr);
  }
  EXPECT_THAT(program->GetTextureData("a"_iid, {0, 0, 0}, {0, 0, 0}),
              IsErrorWith(kIllegalArgumentError, "texture sampler identifier not found"));
}

TEST_F(TextureProgramTest, LinksNeedAKernelAndASampler) {
  EXPECT_THAT(program->SetKernelTextureLink("a"_iid, Data()), IsErrorWith(kIllegalStateError, kNoActiveKernel));
  EXPECT_THAT(program->SetTextureToActiveKernelSameId("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  EXPECT_THAT(program->SetTextureToActiveKernelSameId("a"_iid), IsErrorWith(kIllegalStateError, kNoActiveKernel));
  AddTextureKernel("any"_iid, kAnySampler);
  EXPECT_THAT(program->SetKernelTextureLink("a"_iid, *Data::Create(Int32(3))), IsErrorOfKind(kIllegalArgumentError));
  TextureSamplerDataHelper* none = nullptr;
  EXPECT_THAT(program->SetKernelTextureLink("a"_iid, *Data::Create(none)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(TextureProgramTest, KernelsReadTheirTextures) {
  Texture texture = MakeCountingTexture({8, 8, 1}, 4);
  texture.bindData._normalizedCoordinates = false;
  ASSERT_THAT(Store("image"_iid, texture), IsOk());
  AddTextureKernel("copy"_iid, kCopyTexture);
  StoreBuffer<Vec4<Float32>>("result"_iid, std::vector<Vec4<Float32>>(64, Vec4<Float32>(0)));
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("result"_iid), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(64, 1, 1, false), IsOk());
  const auto result = ReadBuffer<Vec4<Float32>>("result"_iid);
  for (Int i = 0; i < 64; ++i) {
    const Float32 first = static_cast<Float32>(4 * i);
    EXPECT_EQ(result[static_cast<std::size_t>(i)], Vec4<Float32>(first, first + 1, first + 2, first + 3));
  }
}

TEST_F(TextureProgramTest, CopiesOfKernelsKeepTheirLinks) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  AddTextureKernel("any"_iid, kAnySampler);
  const TextureSamplerDataHelper* linked = GetSampler("a"_iid);
  ASSERT_THAT(program->CopyKernel("any"_iid, "copy"_iid, true), IsOk());
  program->SetActiveKernel("copy"_iid);
  SeenSampler() = nullptr;
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_EQ(SeenSampler(), linked);
}

TEST_F(TextureProgramTest, TexturesOfAnotherKindAreRefused) {
  AddTextureKernel("copy"_iid, kCopyTexture);
  ASSERT_THAT(Store("image"_iid, MakeCountingTexture({8, 8, 1}, 3)), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(),
              IsErrorWith(kIllegalArgumentError,
                          "The kernel's texture \"image\" is a ostra::TextureSamplerObj_2D_RGBA_F32_LINEAR, but a "
                          "ostra::TextureSamplerObj_2D_RGB_F32_LINEAR is linked to it."));
}

TEST_F(TextureProgramTest, ResetDropsTexturesAndTheirMemory) {
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());  // the first texture makes types known, which stay
  const Int before = AllocationFaults::GetLiveCount();
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(Store("a"_iid, MakeCountingTexture({4, 1, 1})), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
  EXPECT_THAT(program->GetTextureData("a"_iid, {0, 0, 0}, {0, 0, 0}), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(TextureProgramTest, RunningOutOfMemoryIsReportedAndLeavesTheProgramUsable) {
  const Texture texture = MakeCountingTexture({4, 4, 1}, 2);
  ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    const auto reset = [&] { EXPECT_THAT(program->Reset(), IsOk()); };
    auto scenario = [&]() -> Result<void> {
      OSTRA_RETURN_IF_ERROR(Store("a"_iid, texture));
      OSTRA_RETURN_IF_ERROR(Store("b"_iid, texture));
      OSTRA_RETURN_IF_ERROR(program->SwapTextures("a"_iid, "b"_iid));
      OSTRA_RETURN_IF_ERROR(program->GetTextureData("a"_iid, {0, 0, 0}, {1, 1, 1}));
      return program->DeleteTexture("a"_iid, false);
    };
    auto result = scenario();
    reset();
    return result;
  });
}

}  // namespace
}  // namespace ostra::test
