// Textures that kernels of the GPU program write: by one dispatch, read by the next after a barrier, and read back, in
// every width that texels are stored in.
#include <filesystem>
#include <fstream>

#include "ostra/config/configuration.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/settings.h"
#include "ostra/math/half_float.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

using enum TextureFormat;

struct ImageKind {
  TextureFormat format;
  const char* element;  // in kernel files
  const char* numbers;  // that kernels fetch and store: "float" means vec2 to vec4 as well
};
constexpr ImageKind kF32{F32, "F32", "float"}, kF16{F16, "F16", "float"}, kU8{U8, "U8", "uint"},
    kU16{U16, "U16", "uint"}, kU32{U32, "U32", "uint"}, kI32{I32, "S32", "int"};

class GpuImagesTest : public DeviceProgramTest {
 protected:
  void TearDown() override {
    program = nullptr;
    SetDrawportShadingLanguage(kShadingLanguageGlsl);
    EXPECT_THAT(Configuration::SetValue("g_32bitOnlyParallelProgram", "false", "test"), IsOk());
  }
  void Make32BitOnly() {
    ASSERT_THAT(Configuration::SetValue("g_32bitOnlyParallelProgram", "true", "test"), IsOk());
    program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
  }

  static std::string GetType(const ImageKind& kind, int dimensions, UInt32 channels) {
    return "TextureSampler_" + std::to_string(dimensions) + "D_" + std::string("RGBA").substr(0, channels) + "_" +
           kind.element + "_POINT";
  }
  static std::string GetValueType(const ImageKind& kind, UInt32 channels) {
    const std::string numbers = kind.numbers;
    if (channels == 1) return numbers;
    return (numbers == "float" ? "vec" : numbers) + std::to_string(channels);
  }
  static const char* GetPlace(int dimensions) {
    return dimensions == 1 ? "at.x" : dimensions == 2 ? "int2(at.x, at.y)" : "at";
  }

  // Adds a kernel of one invocation per texel, which is the active one then.
  void AddTexelKernel(const std::string& parameters, const std::string& code) {
    std::filesystem::create_directories(folder);
    const std::string name = "kernel" + std::to_string(++files);
    const std::filesystem::path file = folder / (name + ".krn");
    const auto id = InternedId::Create(name);
    ASSERT_THAT(id, IsOk());
    std::ofstream(file) << "#define KERNELINPUTS \\\n"
                        << parameters << "\n\nGROUPSIZE(1, 1, 1)\n\n"
                        << "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n"
                        << "\tint3 at = int3(int(InGlobalInvocationID.x), int(InGlobalInvocationID.y), "
                           "int(InGlobalInvocationID.z));\n"
                        << code << "}\nOSTRA_PARALLEL_KERNEL_END\n";
    ASSERT_THAT(program->AddKernel(*id, *Url::Create(file.string()), true), IsOk());
    program->SetActiveKernel(*id);
  }

  static constexpr UInt32 kWidth = 5, kHeight = 4, kDepth = 3;
  static Vec3<UInt32> GetSize(int dimensions) {
    return {kWidth, dimensions > 1 ? kHeight : 1, dimensions > 2 ? kDepth : 1};
  }
  void Dispatch(int dimensions) {
    const Vec3<UInt32> size = GetSize(dimensions);
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(size.x, size.y, size.z, true), IsOk());
    ASSERT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  }

  // Element `channel` of texel `i` after the kernels below.
  static UInt32 GetExpected(UInt32 i, UInt32 channel) { return 1 + 2 * (i + 60 * channel); }

  static Float64 GetElement(const SamplingData& record, Int element, Int size) {
    const Byte* at = record._texels + element * size;
    const auto read = [at]<class T>(T value) {
      MemCopy(&value, at, static_cast<Int>(sizeof(T)));
      return static_cast<Float64>(value);
    };
    if (record._format == F32 || (record._format == F16 && size == 4)) return read(Float32());
    if (record._format == F16) {
      UInt16 bits = 0;
      MemCopy(&bits, at, 2);
      return Float64{Float32(HalfFloat::FromBits(bits))};
    }
    if (record._format == I32) return read(Int32());
    return size == 1 ? read(UInt8()) : size == 2 ? read(UInt16()) : read(UInt32());
  }

  // Three dispatches: one writes the numbers of the texels into an image, one writes what it finds there again, and one
  // copies what it finds in the texture into a buffer.
  void ExpectWritten(const ImageKind& kind, int dimensions, UInt32 channels, Int storedSize) {
    SCOPED_TRACE(GetType(kind, dimensions, channels));
    const Vec3<UInt32> size = GetSize(dimensions);
    const UInt32 count = size.x * size.y * size.z;
    const std::string type = GetType(kind, dimensions, channels), value = GetValueType(kind, channels);
    const std::string place = GetPlace(dimensions), number = kind.numbers;
    std::string elements, written;
    for (UInt32 channel = 0; channel < channels; ++channel) {
      elements += (channel > 0 ? ", " : "") + number + "(i + " + std::to_string(60 * channel) + ")";
      const std::string element = channels == 1 ? "texel" : std::string("texel.") + "xyzw"[channel];
      written += "\tUNIFORM_BUFFER(found)[" + std::to_string(channels) + " * i + " + std::to_string(channel) +
                 "] = float(" + element + ");\n";
    }
    const std::string index =
        "\tint i = (at.z * " + std::to_string(kHeight) + " + at.y) * " + std::to_string(kWidth) + " + at.x;\n";

    TextureBindData data;
    data._dimensions = size;
    data._format = kind.format;
    data._numChannels = channels;
    data._filter = TextureFilter::POINT;
    data._dataSize = Int64{count} * channels * (kind.format == F16 ? 2 : GetElementSize(kind.format));
    ASSERT_THAT(program->CreateTexture("picture"_iid, data), IsOk());

    AddTexelKernel("(" + type + ") target",
                   index + "\tStoreImage(target, " + place + ", " + value + "(" + elements + "));\n");
    ASSERT_THAT(program->SetTextureToActiveKernel("picture"_iid, "target"_iid), IsOk());
    Dispatch(dimensions);
    AddTexelKernel("(" + type + ") target", "\t" + value + " texel = FetchTexture(target, " + place +
                                                ");\n\tStoreImage(target, " + place + ", texel + texel + " + value +
                                                "(1" +
                                                (number == "float"  ? ".0"
                                                 : number == "uint" ? "u"
                                                                    : "") +
                                                "));\n");
    ASSERT_THAT(program->SetTextureToActiveKernel("picture"_iid, "target"_iid), IsOk());
    Dispatch(dimensions);
    AddTexelKernel("(const " + type + ") source, \\\n(Block<Float32>) found",
                   index + "\t" + value + " texel = FetchTexture(source, " + place + ");\n" + written);
    StoreBuffer(*program, "found"_iid, std::vector<Float32>(std::size_t{count} * channels, -1.0f));
    ASSERT_THAT(program->SetTextureToActiveKernel("picture"_iid, "source"_iid), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("found"_iid), IsOk());
    Dispatch(dimensions);

    const std::vector<Float32> found = ReadBuffer<Float32>(*program, "found"_iid);
    ASSERT_EQ(found.size(), std::size_t{count} * channels);
    const auto read = program->GetTextureData("picture"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 30));
    ASSERT_THAT(read, IsOk());
    const auto* record = read->GetIf<SamplingData>();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->_dimensions, size);
    ASSERT_EQ(record->_dataSize, Int64{count} * channels * storedSize);
    for (UInt32 i = 0; i < count; ++i)
      for (UInt32 channel = 0; channel < channels; ++channel) {
        const Int element = Int{i} * channels + channel;
        UInt32 expected = GetExpected(i, channel);
        if (kind.format == U8 && storedSize == 1) expected = std::min(expected, 255u);  // clamped
        ASSERT_EQ(found[static_cast<std::size_t>(element)], static_cast<Float32>(expected)) << element;
        ASSERT_EQ(GetElement(*record, element, storedSize), expected) << element;
      }
  }

  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
  int files = 0;
};

TEST_F(GpuImagesTest, WhatADispatchWritesTheNextOneReads) {
  for (const UInt32 channels : {1u, 2u, 3u, 4u}) ExpectWritten(kF32, 2, channels, 4);
}

TEST_F(GpuImagesTest, ImagesHaveOneToThreeDimensions) {
  for (const int dimensions : {1, 3}) {
    ExpectWritten(kF32, dimensions, 4, 4);
    ExpectWritten(kU32, dimensions, 1, 4);
  }
}

TEST_F(GpuImagesTest, IntegersAreWrittenAsTheyAre) {
  for (const UInt32 channels : {1u, 4u}) {
    ExpectWritten(kU32, 2, channels, 4);
    ExpectWritten(kI32, 2, channels, 4);
  }
}

TEST_F(GpuImagesTest, NarrowTexelsAreWrittenInTheirWidth) {
  Bool with16bit = false, with8bit = false;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  if (!with16bit || !with8bit) GTEST_SKIP() << "This device stores narrow texels in 32 bits.";
  for (const UInt32 channels : {1u, 2u, 3u, 4u}) {
    ExpectWritten(kF16, 2, channels, 2);
    ExpectWritten(kU8, 2, channels, 1);
    ExpectWritten(kU16, 2, channels, 2);
  }
}

TEST_F(GpuImagesTest, NarrowTexelsAreWrittenIn32BitsWhenThatIsAskedFor) {
  Make32BitOnly();
  for (const UInt32 channels : {1u, 4u}) {
    ExpectWritten(kF16, 2, channels, 4);
    ExpectWritten(kU8, 2, channels, 4);
    ExpectWritten(kU16, 2, channels, 4);
  }
  ExpectWritten(kU8, 3, 1, 4);
}

TEST_F(GpuImagesTest, TheOtherLanguageWritesTheSame) {
  program = nullptr;  // with the drawport of the first language
  SetDrawportShadingLanguage(kShadingLanguageHlsl);
  const auto cache = GetDefaultDrawportCache();
  ASSERT_THAT(cache, IsOk());
  const auto drawport = (*cache)->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem);
  ASSERT_THAT(drawport, IsOk());
  ASSERT_EQ((*drawport)->GetShadingLanguage(), kShadingLanguageHlsl);
  program = MakeProgram(kGpuProgramClass);
  ASSERT_TRUE(program);
  for (const UInt32 channels : {1u, 4u}) {
    ExpectWritten(kF32, 2, channels, 4);
    ExpectWritten(kI32, 2, channels, 4);
  }
  ExpectWritten(kF32, 1, 2, 4);
  ExpectWritten(kF32, 3, 3, 4);
  Make32BitOnly();
  ExpectWritten(kU8, 2, 1, 4);
  ExpectWritten(kF16, 2, 4, 4);
}

TEST_F(GpuImagesTest, AnImageOfAnotherFormatThanDeclaredIsRefused) {
  TextureBindData data;
  data._dimensions = Vec3<UInt32>(4, 4, 1);
  data._format = U32;
  data._numChannels = 1;
  data._dataSize = 64;
  ASSERT_THAT(program->CreateTexture("picture"_iid, data), IsOk());
  AddTexelKernel("(TextureSampler_2D_R_F32_POINT) target", "\tStoreImage(target, int2(0, 0), 1.0);\n");
  ASSERT_THAT(program->SetTextureToActiveKernel("picture"_iid, "target"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(),
              IsErrorContaining(kIllegalArgumentError, "The image \"target\" of the GPU program has the pixel format"));
}

TEST_F(GpuImagesTest, WhatAKernelHasWrittenIsReplacedByAStore) {
  const std::vector<Float32> ones(16, 1.0f);
  TextureBindData data;
  data._data = reinterpret_cast<const Byte*>(ones.data());
  data._dimensions = Vec3<UInt32>(4, 4, 1);
  data._format = F32;
  data._numChannels = 1;
  data._dataSize = 64;
  ASSERT_THAT(program->StoreTextureBindData("target"_iid, data, false), IsOk());
  AddTexelKernel("(TextureSampler_2D_R_F32_POINT) target",
                 "\tStoreImage(target, int2(at.x, at.y), FetchTexture(target, int2(at.x, at.y)) + 1.0);\n");
  const auto run = [&] {
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(4, 4, 1, false), IsOk());
  };
  const auto getLast = [&] {
    const auto read = program->GetTextureData("target"_iid, Vec3<Int32>(0), Vec3<Int32>(4));
    EXPECT_THAT(read, IsOk());
    return read ? GetElement(*read->GetIf<SamplingData>(), 15, 4) : -1;
  };
  run();
  EXPECT_EQ(getLast(), 2);
  // The same texels under the same name find the texture that was written, and fill it again.
  ASSERT_THAT(program->StoreTextureBindData("target"_iid, data, false), IsOk());
  EXPECT_EQ(getLast(), 1);
  run();
  ASSERT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  run();
  EXPECT_EQ(getLast(), 3);
  ASSERT_THAT(program->CreateTexture("target"_iid, data), IsOk());
  EXPECT_EQ(getLast(), 0);
}

}  // namespace
}  // namespace ostra::test
