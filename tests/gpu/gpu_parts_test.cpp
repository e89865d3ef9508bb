// The arithmetic of the GPU program: keys, pieces of transfers, blocks of textures, work groups, formats, locations.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "ostra/math/half_float.h"
#include "parallelprogram/device/buffer_transfer.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/kernel_location.h"
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/device/texture_storage.h"
#include "parallelprogram/device/texture_transfer.h"
#include "parallelprogram/gpu/work_group_counts.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

// The fold as it is described: byte by byte.
UInt64 FoldSlowly(const std::vector<Byte>& bytes) {
  UInt64 key = 0;
  for (const Byte byte : bytes) {
    auto value = static_cast<UInt32>(static_cast<Int32>(static_cast<signed char>(byte)));
    value ^= (value >> 12) ^ (value >> 20);
    value ^= (value >> 7) ^ (value >> 4);
    key = key * 0xBF58476D1CE4E5B9ULL + value + 1;
  }
  return key;
}

std::vector<Byte> MakeBytes(std::size_t count) {
  std::mt19937 random(static_cast<unsigned>(count) + 1);
  std::vector<Byte> bytes(count);
  for (Byte& byte : bytes) byte = static_cast<Byte>(random());
  return bytes;
}

TEST(CacheKeysTest, BytesAreFoldedOneByOneHoweverManyThereAre) {
  for (const std::size_t count : {0, 1, 7, 8, 9, 255, 4096, (1 << 20) - 1, 1 << 20, (1 << 20) + 1, (3 << 20) + 5}) {
    const std::vector<Byte> bytes = MakeBytes(count);
    const auto key = FoldBytes(bytes.data(), static_cast<Int>(count));
    ASSERT_THAT(key, IsOk());
    EXPECT_EQ(*key, FoldSlowly(bytes)) << count;
  }
}

TEST(CacheKeysTest, MixingShiftsAndNothingElse) {
  EXPECT_EQ(MixKey(0), 0u);
  constexpr UInt64 kValue = 0x123456789ABCDEF0ULL;
  UInt64 expected = kValue ^ (kValue >> 32);
  expected ^= (expected >> 20) ^ (expected >> 12);
  expected ^= (expected >> 7) ^ (expected >> 4);
  EXPECT_EQ(MixKey(kValue), expected);
}

TEST(CacheKeysTest, TheKeyOfAParserIsMadeOfHashNameAndStamp) {
  constexpr UInt64 kMultiplier = 0xBF58476D1CE4E5B9ULL;
  const UInt64 expected = (11 * kMultiplier + 23) * kMultiplier + MixKey(35) + 1;
  EXPECT_EQ(MakeParserKey(11, 22, 35), expected);
}

TEST(TransferPiecesTest, AChunkIsCutIntoA64thOfTheCapacity) {
  const auto count = [](Int chunk, Int capacity) { return CutChunk(chunk, capacity).count; };
  constexpr Int kCapacity = 65536;  // pieces of 1024, rests below 256
  EXPECT_EQ(count(1, kCapacity), 1);
  EXPECT_EQ(count(1024, kCapacity), 1);
  EXPECT_EQ(count(1025, kCapacity), 1);  // a rest of one byte goes with the piece in front of it
  EXPECT_EQ(count(1024 + 255, kCapacity), 1);
  EXPECT_EQ(count(1024 + 256, kCapacity), 2);
  EXPECT_EQ(count(2048, kCapacity), 2);
  EXPECT_EQ(count(65536, kCapacity), 64);
  EXPECT_EQ(CutChunk(65536, kCapacity).size, 1024);
  EXPECT_EQ(count(65532, 65532), 64);  // 64ths of 1023, and 60 bytes more with the last
}

TEST(TextureBlocksTest, WholeRowsAndSlicesAreTakenWhereTheyFit) {
  constexpr Int kMegabyte = 1 << 20;
  const auto blocks = [](const DrawportExtent& extent, Int texelSize, Int capacity) {
    const Int width = GetBlockWidth(extent.width, texelSize, capacity);
    const TextureBlocks size = GetBlocks(extent, width, width * texelSize, capacity);
    return std::vector<Int>{size.width, size.height, size.depth};
  };
  EXPECT_THAT(blocks({1024, 1024, 1}, 4, kMegabyte), testing::ElementsAre(1024, 256, 1));
  EXPECT_THAT(blocks({16, 16, 16}, 4, kMegabyte), testing::ElementsAre(16, 16, 16));
  EXPECT_THAT(blocks({64, 64, 64}, 16, kMegabyte), testing::ElementsAre(64, 64, 16));
  EXPECT_THAT(blocks({100000, 2, 1}, 16, kMegabyte), testing::ElementsAre(65536, 1, 1));
}

TEST(WorkGroupCountsTest, OneDimensionGoesOnInFurtherRows) {
  const auto counts = [](UInt32 x, UInt32 y, UInt32 z, const WorkGroupSize& size) {
    const WorkGroupCounts groups = GetWorkGroupCounts(x, y, z, size);
    return std::vector<UInt32>{groups.x, groups.y, groups.z};
  };
  using testing::ElementsAre;
  constexpr WorkGroupSize kLine{64, 1, 1}, kTile{8, 8, 1}, kCube{4, 4, 4};
  EXPECT_THAT(counts(1, 1, 1, kLine), ElementsAre(1, 1, 1));
  EXPECT_THAT(counts(64, 0, 0, kLine), ElementsAre(1, 1, 1));
  EXPECT_THAT(counts(65, 1, 0, kLine), ElementsAre(2, 1, 1));
  EXPECT_THAT(counts(65535 * 64, 1, 1, kLine), ElementsAre(65535, 1, 1));
  EXPECT_THAT(counts(65535 * 64 + 1, 1, 1, kLine), ElementsAre(65535, 2, 1));
  EXPECT_THAT(counts(0xFFFFFFFF, 1, 1, {1, 1, 1}), ElementsAre(65535, 65535, 1));
  EXPECT_THAT(counts(0, 1, 1, kLine), ElementsAre(0, 0, 0));
  EXPECT_THAT(counts(9, 17, 1, kTile), ElementsAre(2, 3, 1));
  EXPECT_THAT(counts(65536 * 8, 8, 1, kTile), ElementsAre(65535, 2, 1));  // twice as many rows for twice the groups
  EXPECT_THAT(counts(65535 * 8, 16, 1, kTile), ElementsAre(65535, 2, 1));
  EXPECT_EQ(counts(8, 8, 0, kTile)[2], 0u);
  EXPECT_EQ(counts(8, 0, 8, kCube)[1], 0u);
  EXPECT_THAT(counts(5, 6, 7, kCube), ElementsAre(2, 2, 2));
  EXPECT_THAT(counts(1, 2, 0xFFFFFFFF, {1, 1, 1}), ElementsAre(1, 2, 65535));
}

TextureBindData MakeBindData(TextureFormat format, UInt32 channels) {
  TextureBindData data;
  data._format = format;
  data._numChannels = channels;
  data._dimensions = Vec3<UInt32>(4, 2, 1);
  return data;
}

TEST(TextureStorageTest, FilterAndWrapModesMakeTheKeyOfTheSampler) {
  TextureBindData data;
  const auto set = [&](TextureFilter filter, Int32 x, Int32 y, Int32 z) {
    data._filter = filter;
    data._wrapModes[0] = static_cast<TextureWrapMode>(x);
    data._wrapModes[1] = static_cast<TextureWrapMode>(y);
    data._wrapModes[2] = static_cast<TextureWrapMode>(z);
    return Int32{MakeSamplerKey(data)};
  };
  EXPECT_EQ(set(TextureFilter::POINT, 0, 0, 0), 0x00);
  EXPECT_EQ(set(TextureFilter::LINEAR, 0, 0, 0), 0x03);
  EXPECT_EQ(set(TextureFilter::POINT, 1, 1, 1), 0x08 | 0x20 | 0x80);
  EXPECT_EQ(set(TextureFilter::POINT, 2, 2, 2), 0x0C | 0x30 | 0xC0);
  EXPECT_EQ(set(TextureFilter::POINT, 3, 7, -1), 0x00);
  EXPECT_EQ(set(static_cast<TextureFilter>(2), 0, 1, 2), 0x20 | 0xC0);
}

std::string FindName(TextureFormat format, UInt32 channels, const NarrowTexels& narrow) {
  const auto found = FindTextureFormat(MakeBindData(format, channels), narrow);
  if (!found) {
    EXPECT_THAT(found, IsErrorWith(kIllegalArgumentError,
                                   "wrong combination of _numChannels and _format to determine the PixelFormat"));
    return "none";
  }
  const std::string name((*found)->id.GetView());
  return name.substr(std::string("net.ostra.image.pixelformat.").size());
}

TEST(TextureStorageTest, FormatsAreStoredAsTheDeviceCanReadAndWriteThem) {
  using enum TextureFormat;
  constexpr NarrowTexels kAll{true, true}, kNo8{true, false}, kNo16{false, true}, kNone{false, false};
  EXPECT_EQ(FindName(F32, 1, kAll), "dynamic.redf32");
  EXPECT_EQ(FindName(F16, 2, kAll), "dynamic.redgreenf16");
  EXPECT_EQ(FindName(F16, 3, kNo16), "rgb.f32");
  EXPECT_EQ(FindName(F16, 4, kNo8), "rgba.f16");
  EXPECT_EQ(FindName(U32, 4, kNone), "rgba.u32");
  EXPECT_EQ(FindName(I32, 3, kAll), "rgb.s32");
  EXPECT_EQ(FindName(U8, 1, kAll), "dynamic.redu8");
  EXPECT_EQ(FindName(U8, 1, kNo8), "dynamic.redu32");
  EXPECT_EQ(FindName(U16, 2, kAll), "dynamic.redgreenu16");
  EXPECT_EQ(FindName(U16, 2, kNo16), "dynamic.redgreenu16");
  EXPECT_EQ(FindName(U16, 2, kNo8), "dynamic.redgreenu32");
  EXPECT_EQ(FindName(I8, 2, kAll), "dynamic.redgreens8");
  EXPECT_EQ(FindName(I8, 3, kAll), "rgb.u8");
  EXPECT_EQ(FindName(I8, 4, kAll), "rgba.u8");
  EXPECT_EQ(FindName(I8, 4, kNo8), "rgba.s32");
  EXPECT_EQ(FindName(I16, 1, kAll), "none");
  EXPECT_EQ(FindName(F32, 0, kAll), "none");
  EXPECT_EQ(FindName(F32, 5, kAll), "none");
  EXPECT_EQ(FindName(INVALID, 1, kAll), "none");
}

TEST(TextureStorageTest, BytesPerChannelCountInTheKeyByARuleOfTheirOwn) {
  using enum TextureFormat;
  EXPECT_EQ(GetBytesPerChannel(F16, {true, false}), 2);
  EXPECT_EQ(GetBytesPerChannel(U16, {true, false}), 2);
  EXPECT_EQ(GetBytesPerChannel(I16, {true, true}), 2);
  EXPECT_EQ(GetBytesPerChannel(U16, {false, true}), 4);
  EXPECT_EQ(GetBytesPerChannel(U8, {false, true}), 1);
  EXPECT_EQ(GetBytesPerChannel(I8, {true, false}), 4);
  EXPECT_EQ(GetBytesPerChannel(F32, {true, true}), 4);
}

TEST(TextureStorageTest, OnlyLeadingBytesAndSizeMakeTheKeyOfATexture) {
  std::vector<Byte> bytes = MakeBytes(32);
  TextureBindData data = MakeBindData(TextureFormat::F32, 1);
  data._data = bytes.data();
  data._dataSize = 32;
  const auto key = MakeTextureKey(5, data, {});
  ASSERT_THAT(key, IsOk());
  EXPECT_EQ(key->values[0], 5u);
  EXPECT_EQ(key->values[1], 4u * 4 * 2);
  EXPECT_EQ(key->values[2], FoldSlowly({bytes.begin(), bytes.begin() + 9}));
  bytes[9] ^= 1;
  EXPECT_TRUE(*MakeTextureKey(5, data, {}) == *key);
  data._numChannels = 4;
  EXPECT_TRUE(*MakeTextureKey(5, data, {}) == *key);
  bytes[8] ^= 1;
  EXPECT_FALSE(*MakeTextureKey(5, data, {}) == *key);
  data._data = nullptr;
  EXPECT_EQ(MakeTextureKey(5, data, {})->values[2], 0u);
}

template <class From, class To>
std::vector<To> Convert(TextureFormat format, const NarrowTexels& narrow, const std::vector<From>& elements) {
  TextureBindData data = MakeBindData(format, 1);
  data._dimensions = Vec3<UInt32>(static_cast<UInt32>(elements.size()), 1, 1);
  data._data = reinterpret_cast<const Byte*>(elements.data());
  data._dataSize = static_cast<Int64>(elements.size() * sizeof(From));
  const auto stored = MakeStoredTexels(data, **FindTextureFormat(data, narrow));
  EXPECT_THAT(stored, IsOk());
  EXPECT_EQ(stored->size, static_cast<Int>(elements.size() * sizeof(To)));
  std::vector<To> result(elements.size());
  MemCopy(result.data(), stored->data, stored->size);
  return result;
}

TEST(TextureStorageTest, TexelsAreMadeAsWideAsTheyAreStored) {
  using testing::ElementsAre;
  constexpr NarrowTexels kAll{true, true}, kNone{false, false};
  EXPECT_THAT((Convert<Float32, UInt16>(TextureFormat::F16, kAll, {1.0f, -0.5f, 1e6f})),
              ElementsAre(0x3C00, 0xB800, 0x7C00));
  EXPECT_THAT((Convert<UInt16, Float32>(TextureFormat::F16, kNone, {0x3C00, 0xB800, 0x7BFF})),
              ElementsAre(1.0f, -0.5f, 65504.0f));
  EXPECT_THAT((Convert<UInt16, UInt16>(TextureFormat::F16, kAll, {0x3C00, 0xB800, 0x7BFF})),
              ElementsAre(0x3C00, 0xB800, 0x7BFF));
  EXPECT_THAT((Convert<UInt8, UInt32>(TextureFormat::U8, kNone, {0, 7, 255})), ElementsAre(0u, 7u, 255u));
  EXPECT_THAT((Convert<Int8, Int32>(TextureFormat::I8, kNone, {-128, -1, 127})), ElementsAre(-128, -1, 127));
  EXPECT_THAT((Convert<UInt16, UInt32>(TextureFormat::U16, kNone, {0, 256, 65535})), ElementsAre(0u, 256u, 65535u));
  EXPECT_THAT((Convert<UInt8, UInt8>(TextureFormat::U8, kAll, {0, 7, 255})), ElementsAre(0, 7, 255));
}

TEST(TextureStorageTest, AReadRecordLeadsBackToItsDescription) {
  TextureBindData data = MakeBindData(TextureFormat::F16, 3);
  data._wrapModes[0] = TextureWrapMode::REPEAT;
  data._wrapModes[1] = TextureWrapMode::CLAMP;
  data._wrapModes[2] = TextureWrapMode::BORDER;
  for (const TextureFilter filter : {TextureFilter::POINT, TextureFilter::LINEAR}) {
    data._filter = filter;
    SamplingData record;
    record._format = data._format;
    record._numChannels = data._numChannels;
    record._dimensions = data._dimensions;
    record._flags._bits = static_cast<UInt16>(1 << 2 | 2 << 4 | static_cast<int>(filter) << 6 | 1 << 8);
    const TextureBindData back = ostra::MakeBindData(record);
    EXPECT_EQ(MakeSamplerKey(back), MakeSamplerKey(data));
    EXPECT_EQ(back._format, data._format);
    EXPECT_EQ(back._numChannels, 3u);
    EXPECT_EQ(back._dimensions, data._dimensions);
    EXPECT_TRUE(back._normalizedCoordinates);
  }
}

// A folder with resources that goes with the test.
class KernelLocationTest : public testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directories(folder / "shaders"); }
  void Touch(const std::string& name) { std::ofstream(folder / "shaders" / name) << "\n"; }
  // The name of the file that is found, and its template argument in brackets.
  std::string Locate(const std::string& name) {
    const auto base = Url::Create(folder.string());
    const auto file = Url::Create("relative://" + name);
    const auto location = LocateKernel(*base, *file);
    EXPECT_THAT(location, IsOk());
    EXPECT_EQ(std::string(location->file.GetDirectory().GetPath().GetView()), (folder / "shaders").string());
    std::string text(location->file.GetName().GetView());
    if (location->templateArgument.IsPopulated())
      text.append("[").append(location->templateArgument.GetView()).append("]");
    return text;
  }
  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
};

TEST_F(KernelLocationTest, AVariantForTheGpuComesFirst) {
  EXPECT_EQ(Locate("net.example.blur.krn"), "net.example.blur.krn");  // also when it is not there
  Touch("net.example.blur");
  EXPECT_EQ(Locate("net.example.blur.krn"), "net.example.blur");
  Touch("net.example.blur_gpu");
  EXPECT_EQ(Locate("net.example.blur.krn"), "net.example.blur_gpu");
  Touch("net.example.blur_gpu.krn");
  EXPECT_EQ(Locate("net.example.blur.krn"), "net.example.blur_gpu.krn");
}

TEST_F(KernelLocationTest, ANameMayCarryATemplateArgument) {
  EXPECT_EQ(Locate("net.example.blur_float_T_.krn"), "net.example.blur.krn[float]");
  EXPECT_EQ(Locate("net.example.my_blur_vec4_T_.krn"), "net.example.my_blur.krn[vec4]");
  EXPECT_EQ(Locate("net.example.blur_T_.krn"), "net.example.blur_T_.krn");  // an argument is missing
  Touch("net.example.blur_gpu.krn");
  EXPECT_EQ(Locate("net.example.blur_float_T_.krn"), "net.example.blur_gpu.krn[float]");
}

TEST_F(KernelLocationTest, OtherLocationsAreTakenAsTheyAre) {
  const auto location = LocateKernel(Url("/resources"_s), Url("/kernels/net.example.blur_float_T_.krn"_s));
  ASSERT_THAT(location, IsOk());
  EXPECT_EQ(location->file.GetText(), "/kernels/net.example.blur_float_T_.krn");
  EXPECT_TRUE(location->templateArgument.IsEmpty());
}

TEST_F(KernelLocationTest, ParsersAreSharedUntilAFileChanges) {
  ResetParserCache();
  const std::string path = (folder / "k.krn").string();
  const auto write = [&](const std::string& name, const std::string& text, int seconds) {
    std::ofstream(folder / name) << text;
    std::filesystem::last_write_time(folder / name, std::filesystem::file_time_type(std::chrono::seconds(seconds)));
  };
  write("k.krn", "GROUPSIZE(8, 4, 2)\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n",
        100);
  AtomicInt32 lock;
  KernelSource source{*Url::Create(path), String(), kTargetGlsl, 77};
  const auto first = ParseKernel(source, lock);
  ASSERT_THAT(first, IsOk());
  EXPECT_EQ(first->parser->GetWorkGroupSize(), Vec3<Int32>(8, 4, 2));
  EXPECT_TRUE(ParseKernel(source, lock)->parser == first->parser);
  EXPECT_EQ(first->stamp, *MakeSourcesStamp(source.file, first->parser->GetFiles()));
  EXPECT_EQ(GetCachedParserCount(), 1);

  source.templateArgument = "float"_s;
  const auto other = ParseKernel(source, lock);
  EXPECT_FALSE(other->parser == first->parser);
  source.language = kTargetHlsl;
  EXPECT_FALSE(ParseKernel(source, lock)->parser == other->parser);

  const auto before = ParseKernel(source, lock);
  write("k.krn", "GROUPSIZE(16, 1, 1)\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n",
        200);
  const auto after = ParseKernel(source, lock);
  ASSERT_THAT(after, IsOk());
  EXPECT_EQ(after->parser->GetWorkGroupSize(), Vec3<Int32>(16, 1, 1));
  EXPECT_NE(after->stamp, before->stamp);

  source.language = "COBOL"_id;
  EXPECT_THAT(ParseKernel(source, lock), IsErrorWith(kIllegalStateError, "parser could not be build"));
  ResetParserCache();
  EXPECT_EQ(GetCachedParserCount(), 0);
}

}  // namespace
}  // namespace ostra
