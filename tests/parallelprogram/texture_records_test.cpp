// The records that describe textures: defaults, checks, packing, copies, data types.
#include "parallelprogram/textures/texture_types.h"
#include "tests/parallelprogram/texture_family.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

constexpr const char* kExtentMessage = "_dimensions in texBindData have to be larger or equal to 1!";
constexpr const char* kRangeMessage = "Dimensions has to be in the range [1,3], numberChannels in [1,4].";

Result<Int> Check(Vec3<UInt32> extent, UInt32 channels = 1) {
  TextureBindData bindData;
  bindData._dimensions = extent;
  bindData._numChannels = channels;
  return CheckBindData(bindData);
}

TEST(TextureBindDataTest, StartsWithValuesThatAreNoTexture) {
  const TextureBindData bindData;
  EXPECT_EQ(bindData._data, nullptr);
  EXPECT_EQ(bindData._dataSize, 0);
  EXPECT_EQ(bindData._dimensions, Vec3<UInt32>(4294967295u, 4294967295u, 4294967295u));
  EXPECT_EQ(Int32(bindData._format), -1);
  EXPECT_EQ(bindData._numChannels, 4294967295u);
  EXPECT_EQ(bindData._reserved, 4294967295u);
  EXPECT_FALSE(bindData._normalizedValues);
  EXPECT_EQ(bindData._filter, TextureFilter::LINEAR);
  EXPECT_TRUE(bindData._normalizedCoordinates);
  EXPECT_FALSE(bindData._sRGB);
  EXPECT_THAT(bindData._wrapModes, testing::Each(TextureWrapMode::CLAMP));
  EXPECT_THAT(bindData._borderColor, testing::Each(0.0f));
  EXPECT_THAT(CheckBindData(bindData), IsErrorWith(kIllegalArgumentError, kRangeMessage));
}

TEST(TextureBindDataTest, TheDimensionalityIsTheNumberOfAxesLongerThanOneTexel) {
  EXPECT_EQ(*Check({5, 1, 1}), 1);
  EXPECT_EQ(*Check({1, 64, 1}), 1);
  EXPECT_EQ(*Check({5, 1, 2}), 2);
  EXPECT_EQ(*Check({5, 6, 7}), 3);
  EXPECT_THAT(Check({1, 1, 1}), IsErrorWith(kIllegalArgumentError, kRangeMessage));
  for (const Vec3<UInt32>& extent : {Vec3<UInt32>{0, 5, 7}, Vec3<UInt32>{5, 0, 7}, Vec3<UInt32>{5, 7, 0}})
    EXPECT_THAT(Check(extent, 9), IsErrorWith(kIllegalArgumentError, kExtentMessage));
  for (const UInt32 channels : {0u, 5u})
    EXPECT_THAT(Check({5, 6, 7}, channels), IsErrorWith(kIllegalArgumentError, kRangeMessage));
}

TEST(TextureBindDataTest, FlagsArePackedAndLargeValuesSpill) {
  TextureBindData bindData;
  EXPECT_EQ(PackTextureFlags(bindData)._bits, 0x100 | 0x40 | 1 << 4 | 1 << 2 | 1);
  bindData._wrapModes[0] = static_cast<TextureWrapMode>(5);
  bindData._wrapModes[1] = TextureWrapMode::REPEAT;
  EXPECT_EQ(PackTextureFlags(bindData)._bits & 0xF, 0b0101);
  bindData._wrapModes[2] = static_cast<TextureWrapMode>(8);
  EXPECT_EQ(PackTextureFlags(bindData)._bits & 0xC0, 0xC0);
  bindData._wrapModes[2] = static_cast<TextureWrapMode>(0x7F02);  // the low byte counts
  EXPECT_EQ(PackTextureFlags(bindData)._bits & 0xFFF0, 0x100 | 0x40 | 2 << 4);
  bindData._filter = static_cast<TextureFilter>(0xFF);
  EXPECT_EQ(PackTextureFlags(bindData)._bits >> 6, 0xFF | 4);
}

TEST(TextureBindDataTest, OtherValuesOfTheCoordinateFlagAreKept) {
  Texture texture = MakeCountingTexture({4, 1, 1});
  const Byte two = 2;
  MemCopy(&texture.bindData._normalizedCoordinates, &two, 1);
  EXPECT_EQ(PackTextureFlags(texture.bindData)._bits & 0xFF00, 0x200);
  // The copy of a description must not look at the flag, which is no Bool now; the sampler is put together by hand.
  SamplingData data = MakeCountingTexture({4, 1, 1}).Build();
  data._flags = PackTextureFlags(texture.bindData);
  Float32 result = 0;
  const Float32 middle = 0.5f;
  (*SelectSampleFunction<1, 1>(MakeCountingTexture({4, 1, 1}).bindData))(&result, &middle, 0, &data);
  EXPECT_EQ(result, 1.5f);
}

TEST(TextureBindDataTest, FormatsHaveElementTypes) {
  const char* names[] = {"uchar", "char", "uint16", "int16", "uint32", "int32", "float32", "float32"};
  TextureBindData bindData;
  for (Int32 format = 0; format < 8; ++format) {
    bindData._format = static_cast<TextureFormat>(format);
    auto type = GetElementType(bindData);
    ASSERT_THAT(type, IsOk());
    EXPECT_EQ(type->GetName().GetView(), names[format]);
  }
  for (const Int32 format : {-1, 8}) {
    bindData._format = static_cast<TextureFormat>(format);
    EXPECT_THAT(GetElementType(bindData), IsErrorWith(kIllegalStateError, "TextureFormat not defined."));
  }
}

TEST(SamplingDataTest, IsBuiltWithACopyOfTheTexels) {
  Texture texture = MakeCountingTexture({4, 3, 1}, 2);
  texture.bindData._borderColor[3] = 5;
  const SamplingData data = texture.Build();
  EXPECT_EQ(data._dimensions, Vec3<UInt32>(4, 3, 1));
  EXPECT_EQ(data._numChannels, 2u);
  EXPECT_EQ(data._dataSize, 96);
  EXPECT_EQ(data._format, TextureFormat::F32);
  EXPECT_EQ(data._borderColor[3], 5);
  ASSERT_NE(data._texels, nullptr);
  EXPECT_NE(data._texels, texture.texels.data());
  EXPECT_EQ(std::memcmp(data._texels, texture.texels.data(), 96), 0);
}

TEST(SamplingDataTest, IsBlackWithoutTexelsAndEmptyWithoutACopy) {
  TextureBindData bindData = MakeCountingTexture({256, 1, 1}).bindData;
  bindData._dataSize = 1024;
  auto black = BuildSamplingData(bindData);
  ASSERT_THAT(black, IsOk());
  EXPECT_EQ(std::vector<Byte>(black->_texels, black->_texels + 1024), std::vector<Byte>(1024));
  auto empty = BuildSamplingData(bindData, false);
  ASSERT_THAT(empty, IsOk());
  EXPECT_EQ(empty->_texels, nullptr);
  EXPECT_EQ(empty->_dataSize, 1024);
}

TEST(SamplingDataTest, SizesThatMemoryCannotHoldAreRefused) {
  TextureBindData bindData = MakeCountingTexture({4, 1, 1}).bindData;
  for (const Int size : {Int{-1}, std::numeric_limits<Int>::min(), std::numeric_limits<Int>::max(), Int{1} << 59}) {
    bindData._dataSize = size;
    EXPECT_THAT(BuildSamplingData(bindData), IsErrorOfKind(kOutOfMemoryError)) << size;
  }
}

TEST(SamplingDataTest, CopiesAreDeepAndMovesLeaveTheDescription) {
  SamplingData first = MakeCountingTexture({4, 3, 1}).Build();
  first._borderColor[0] = 2;
  SamplingData copy;
  ASSERT_THAT(copy.CopyFrom(first), IsOk());
  EXPECT_NE(copy._texels, first._texels);
  EXPECT_EQ(std::memcmp(copy._texels, first._texels, 48), 0);
  const SamplingData moved = std::move(first);
  EXPECT_EQ(moved._borderColor[0], 2);
  EXPECT_EQ(moved._dimensions, Vec3<UInt32>(4, 3, 1));
  EXPECT_EQ(first._texels, nullptr);  // NOLINT(bugprone-use-after-move): what a move leaves is part of the contract
  EXPECT_EQ(first._borderColor[0], 0);
  EXPECT_EQ(first._dimensions, Vec3<UInt32>(0, 0, 0));
  EXPECT_EQ(first._dataSize, 48);
  EXPECT_EQ(first._numChannels, 1u);
  EXPECT_EQ(first._format, TextureFormat::F32);
}

TEST(SamplingDataTest, RunningOutOfMemoryLeavesNoTexels) {
  const Texture texture = MakeCountingTexture({4, 3, 1});
  ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(SamplingData data, BuildSamplingData(texture.GetBindData()));
    SamplingData copy;
    auto copied = copy.CopyFrom(data);
    EXPECT_EQ(copied.IsOk(), copy._texels != nullptr);
    return copied;
  });
}

TEST(SamplerObjectTest, CopiesAndMovesLeaveTheFetchFunction) {
  const Texture texture = MakeCountingTexture({4, 1, 1});
  const auto noFetch = [](void* result, const Int32*, UInt32, const SamplingData*) { return result; };
  TextureSamplerObj_1D_R_F32_LINEAR sampler;
  sampler._kind = 157;
  sampler._sample = *SelectSampleFunction<1, 1>(texture.bindData);
  sampler._fetch = *SelectFetchFunction<1, 1>(texture.bindData);
  sampler._samplingData = texture.Build();
  sampler._valueType = GetDataType<Float32>();

  TextureSamplerObj_1D_R_F32_LINEAR copy;
  copy._fetch = noFetch;
  const DataType& type = GetDataType<TextureSamplerObj_1D_R_F32_LINEAR>();
  ASSERT_THAT(type.Copy(&copy, &sampler), IsOk());
  EXPECT_EQ(copy._kind, 157);
  EXPECT_EQ(copy._fetch, static_cast<FetchFunction>(noFetch));
  EXPECT_EQ(copy._valueType, GetDataType<Float32>());
  EXPECT_EQ(copy.Sample(0.5f), 1.5f);
  EXPECT_NE(copy._samplingData._texels, sampler._samplingData._texels);

  TextureSamplerObj_1D_R_F32_LINEAR moved;
  moved._fetch = noFetch;
  type.Move(&moved, &sampler);
  EXPECT_EQ(moved._fetch, static_cast<FetchFunction>(noFetch));
  EXPECT_EQ(moved.Sample(0.5f), 1.5f);
  EXPECT_EQ(sampler._samplingData._texels, nullptr);
}

TEST(TextureTypesTest, RecordsAreRegisteredInOrder) {
  std::vector<std::string> ids, names;
  ASSERT_THAT(ForEachTextureType([&](DataType type) -> Result<void> {
                ids.emplace_back(type.GetId().GetView());
                names.emplace_back(type.GetView());
                OSTRA_RETURN_IF_ERROR(DataType::Find(type.GetId()));
                return OK;
              }),
              IsOk());
  const std::string prefix = "net.ostra.datatype.parallelprogram.textures.";
  EXPECT_THAT(ids, testing::ElementsAre(prefix + "imagestoragebuffer", prefix + "samplingdata",
                                        prefix + "packedtextureflags", prefix + "texturebinddata"));
  EXPECT_THAT(names, testing::ElementsAre("ostra::ImageStorageBuffer", "ostra::SamplingData",
                                          "ostra::PackedTextureFlags", "ostra::TextureBindData"));
}

TEST(TextureTypesTest, SamplerTypesAreRegisteredInOrder) {
  std::vector<std::string> expectedIds, expectedNames, ids, names;
  const std::string prefix = "net.ostra.datatype.parallelprogram.textures.";
  for (const char* rest : {"R_F32_POINT", "R_F32_LINEAR", "RG_F32_LINEAR", "RGB_F32_LINEAR", "RGBA_F32_LINEAR",
                           "R_I32_POINT", "R_U16_POINT", "R_U8_POINT"}) {
    for (const char* dimension : {"1D_", "2D_", "3D_"}) {
      std::string id = rest;
      const bool isPoint = id.ends_with("POINT");
      id = id.substr(0, id.rfind('_')) + (isPoint ? "_point" : "_linear");
      expectedIds.push_back(prefix + "texturesamplerobj_" + dimension + id);
      expectedNames.push_back(std::string("ostra::TextureSamplerObj_") + dimension + rest);
    }
  }
  expectedIds.push_back(prefix + "texturesamplerdatahelper");
  expectedNames.push_back("ostra::TextureSamplerDataHelper");
  ASSERT_THAT(ForEachSamplerType([&](DataType type) -> Result<void> {
                ids.emplace_back(type.GetId().GetView());
                names.emplace_back(type.GetView());
                return OK;
              }),
              IsOk());
  EXPECT_EQ(ids, expectedIds);
  EXPECT_EQ(names, expectedNames);
}

TEST(TextureTypesTest, VisitingStopsAtTheFirstError) {
  int visits = 0;
  const auto result = ForEachSamplerType([&](DataType) -> Result<void> {
    if (++visits < 3) return OK;
    return Error::Make(kIllegalStateError, "third", "test", 1);
  });
  EXPECT_THAT(result, IsErrorWith(kIllegalStateError, "third"));
  EXPECT_EQ(visits, 3);
}

TEST(TextureTypesTest, RecordsCannotBeComparedOrHashed) {
  DiagnosticRecorder diagnostics;
  const DataType& type = GetDataType<TextureBindData>();
  const TextureBindData a, b;
  EXPECT_FALSE(type.IsEqual(&a, &b));
  type.Compare(&a, &b);
  type.GetHashCode(&a);
  UniqueHashStream stream;
  type.GetUniqueHashCode(&a, stream);
  EXPECT_THAT(diagnostics.GetLines(),
              testing::ElementsAre("Stop: IsEqual not defined.", "Stop: Compare not defined.",
                                   "Stop: GetHashCode not defined.", "Stop: GetUniqueHashCode not defined."));
}

}  // namespace
}  // namespace ostra::test
