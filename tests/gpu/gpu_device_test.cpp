// What only a program on a device does: reloading, textures that do not all fit, links that are not declared.
#include <chrono>
#include <filesystem>
#include <fstream>

#include "conformance/client_run.h"
#include "ostra/config/configuration.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/settings.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class GpuDeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    std::filesystem::create_directories(folder);
  }
  void TearDown() override {
    program = nullptr;
    SetDrawportMemoryLimit(0);
    Set("g_reloadKernelsParallelProgram", "false");
    Set("g_outOfCoreParallelProgram", "false");
    Set("g_32bitOnlyParallelProgram", "false");
  }
  static void Set(const char* variable, const char* value) {
    EXPECT_THAT(Configuration::SetValue(variable, value, "test"), IsOk());
  }
  // Writes a file of the test's folder with a stamp of its own.
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(folder / name) << text;
    std::filesystem::last_write_time(folder / name,
                                     std::filesystem::file_time_type(std::chrono::seconds(1'000'000 + ++stamp)));
  }
  void Add(InternedId id, const std::string& name) {
    ASSERT_THAT(program->AddKernel(id, *Url::Create((folder / name).string()), true), IsOk());
  }
  // Runs the active kernel once and returns the first number of the buffer "y".
  Float32 Run() {
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    const std::vector<Float32> values = ReadBuffer<Float32>(*program, "y"_iid);
    return values.empty() ? -1 : values[0];
  }
  static std::string MakeKernel(const std::string& expression, const std::string& include = "") {
    return include + "#define KERNELINPUTS \\\n(Block<Float32>) y\n\nGROUPSIZE(1, 1, 1)\n\n" +
           "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(y)[0] = " + expression +
           ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  }

  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
  int stamp = 0;
  ParallelProgramRef program;
};

TEST_F(GpuDeviceTest, AnEditedKernelIsPickedUpWhenThatIsAskedFor) {
  program = MakeProgram(kGpuProgramClass);
  Write("k.krn", MakeKernel("1.0"));
  Add("k"_iid, "k.krn");
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  EXPECT_EQ(Run(), 1);
  Write("k.krn", MakeKernel("2.0"));
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 1);

  Set("g_reloadKernelsParallelProgram", "true");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 2);
  Write("k.krn", MakeKernel("3.0"));
  program->ReloadKernels();
  EXPECT_EQ(Run(), 3);
}

TEST_F(GpuDeviceTest, AKernelIsPickedUpWhenItsHeaderWasEdited) {
  Set("g_reloadKernelsParallelProgram", "true");
  program = MakeProgram(kGpuProgramClass);
  Write("k.h", "#define VALUE 4.0\n");
  Write("k.krn", MakeKernel("VALUE", "#include \"k.h\"\n"));
  Add("k"_iid, "k.krn");
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  EXPECT_EQ(Run(), 4);
  Write("k.h", "#define VALUE 5.0\n");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 5);
}

TEST_F(GpuDeviceTest, AHeaderThatDoesNotCompileIsPickedUpOnceItWasCorrected) {
  Set("g_reloadKernelsParallelProgram", "true");
  program = MakeProgram(kGpuProgramClass);
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  Write("k.h", "#define VALUE rubbish\n");
  Write("k.krn", MakeKernel("VALUE"));
  {
    const DiagnosticRecorder diagnostics;
    Add("k"_iid, "k.krn");
  }
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalStateError));
  Write("k.h", "#define VALUE 6.0\n");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 6);
  // And one that only a failed edit has brought in.
  Write("k.h", "// INCLUDE_STRUCTS_BEGIN\n#include \"inner.h\"\n// INCLUDE_STRUCTS_END\n");
  Write("inner.h", "#define VALUE nonsense\n");
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(Run(), 6);
  Write("inner.h", "#define VALUE 7.0\n");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 7);
}

TEST_F(GpuDeviceTest, AnEditThatDoesNotCompileLeavesTheLastGoodKernel) {
  Set("g_reloadKernelsParallelProgram", "true");
  program = MakeProgram(kGpuProgramClass);
  Write("k.krn", MakeKernel("6.0"));
  Add("k"_iid, "k.krn");
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  EXPECT_EQ(Run(), 6);
  Write("k.krn", MakeKernel("rubbish"));
  const Result<void> checked = program->CheckActiveKernelForUpdatedShaders();
  ASSERT_FALSE(checked);
  EXPECT_THAT(std::string(checked.GetError().GetMessage().GetView()),
              HasSubstr("k.krn:8:25: error: unknown name \"rubbish\""));
  EXPECT_EQ(Run(), 6);
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());  // said once

  Write("k.krn", MakeKernel("nonsense"));
  DiagnosticRecorder diagnostics;
  program->ReloadKernels();
  ASSERT_EQ(diagnostics.GetLines().size(), 1u);
  EXPECT_THAT(diagnostics.GetLines()[0], HasSubstr("k.krn:8:25: error: unknown name \"nonsense\""));
  EXPECT_EQ(Run(), 6);
  Write("k.krn", MakeKernel("7.0"));
  program->ReloadKernels();
  EXPECT_EQ(Run(), 7);
}

TEST_F(GpuDeviceTest, AKernelThatDidNotCompileRunsOnceItDoes) {
  Set("g_reloadKernelsParallelProgram", "true");
  program = MakeProgram(kGpuProgramClass);
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  Write("k.krn", MakeKernel("rubbish"));
  {
    const DiagnosticRecorder diagnostics;
    Add("k"_iid, "k.krn");
  }
  EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsErrorOfKind(kIllegalStateError));
  Write("k.krn", MakeKernel("8.0"));
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_EQ(Run(), 8);
}

TEST_F(GpuDeviceTest, CopiesKeepTheTemplateArgument) {
  std::filesystem::create_directories(folder / "shaders");
  Write("shaders/k.krn", MakeKernel("float(TYPE(9.5))"));
  auto made = CreateObject<ParallelProgramInterface>(kGpuProgramClass);
  ASSERT_THAT(made, IsOk());
  program = *made;
  ASSERT_THAT(program->Init(*Url::Create(folder.string()), nullptr, 0, true), IsOk());
  ASSERT_THAT(program->AddKernel("k"_iid, Url("relative://k_int_T_.krn"_s), true), IsOk());
  StoreBuffer<Float32>(*program, "y"_iid, {0});
  EXPECT_EQ(Run(), 9);
  ASSERT_THAT(program->CopyKernel("k"_iid, "copy"_iid, true), IsOk());
  EXPECT_EQ(program->GetActiveKernelId(), "copy"_iid);
  EXPECT_EQ(Run(), 9);
}

constexpr const char* kReadTexture = R"(#define KERNELINPUTS \
(Int32) x, \
(Int32) y, \
(const TextureSampler_2D_RGBA_F32_LINEAR) image, \
(Block<Float32>) found

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(ReadTexture, KERNELINPUTS)
{
	vec4 texel = FetchTexture(image, int2(UNIFORM(x), UNIFORM(y)));
	UNIFORM_BUFFER(found)[0] = texel.x;
	UNIFORM_BUFFER(found)[1] = texel.w;
}
OSTRA_PARALLEL_KERNEL_END
)";

TEST_F(GpuDeviceTest, TexturesThatDoNotFitTogetherComeBackWhenTheyAreRead) {
  constexpr UInt32 kWidth = 2048, kHeight = 1024;  // 32 MiB
  constexpr int kTextures = 16;
  Set("g_outOfCoreParallelProgram", "true");
  SetDrawportMemoryLimit(Int{64} << 20);
  program = MakeProgram(kGpuProgramClass);
  ASSERT_TRUE(program);
  BaseArray<InternedId> order;
  for (int i = 0; i < kTextures; ++i) ASSERT_THAT(order.Append(*InternedId::Create("t@", i)), IsOk());
  ASSERT_THAT(program->SetTextureOutOfCoreDeleteOrder(order), IsOk());

  const auto make = [&](int number) {
    std::vector<Float32> texels(std::size_t{kWidth} * kHeight * 4);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i % 8191 + number * 10000);
    return texels;
  };
  for (int i = 0; i < kTextures; ++i) {
    const std::vector<Float32> texels = make(i);
    TextureBindData data = conformance::DescribeTexels(texels, kWidth, kHeight);
    ASSERT_THAT(program->StoreTextureBindData(order[i], data, true), IsOk()) << i;
  }
  Int onDevice = 0;
  for (const InternedId& id : order) onDevice += *program->GetTextureHandle(id) != nullptr;
  EXPECT_LT(onDevice, 3);
  EXPECT_GT(onDevice, 0);

  Write("read.krn", kReadTexture);
  Add("read"_iid, "read.krn");
  StoreBuffer<Float32>(*program, "found"_iid, {0, 0});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("found"_iid), IsOk());
  for (const int i : {0, 15, 7, 0}) {
    constexpr Int32 kX = 1234, kY = 567;
    // A texture that is not on the device has no entry to be linked; the parameter's own name leads to it.
    const std::vector<Float32> texels = make(i);
    TextureBindData data = conformance::DescribeTexels(texels, kWidth, kHeight);
    ASSERT_THAT(program->StoreTextureBindData(order[i], data, true), IsOk());
    ASSERT_THAT(program->SetTextureToActiveKernel(order[i], "image"_iid), IsOk());
    // Another texture takes its place before the kernel runs.
    const std::vector<Float32> other = make(i + 1);
    TextureBindData otherData = conformance::DescribeTexels(other, kWidth, kHeight);
    ASSERT_THAT(program->StoreTextureBindData(order[(i + 1) % kTextures], otherData, true), IsOk());
    ASSERT_THAT(program->SetUniform("x"_iid, Int32(kX)), IsOk());
    ASSERT_THAT(program->SetUniform("y"_iid, Int32(kY)), IsOk());
    ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk()) << i;
    const std::size_t place = (std::size_t{kY} * kWidth + kX) * 4;
    EXPECT_THAT(ReadBuffer<Float32>(*program, "found"_iid), ElementsAre(texels[place], texels[place + 3])) << i;
  }
  // Evicted or not, every byte can be read.
  for (const int i : {3, 4, 12}) {
    const auto data = program->GetTextureData(order[i], Vec3<Int32>(0), Vec3<Int32>(1 << 30));
    ASSERT_THAT(data, IsOk());
    const auto* record = data->GetIf<SamplingData>();
    ASSERT_TRUE(record);
    const std::vector<Float32> texels = make(i);
    ASSERT_EQ(record->_dataSize, static_cast<Int64>(texels.size() * sizeof(Float32)));
    EXPECT_EQ(std::memcmp(record->_texels, texels.data(), static_cast<std::size_t>(record->_dataSize)), 0) << i;
  }
}

TEST_F(GpuDeviceTest, AnotherContextOfTheDeviceFindsWhatWasStored) {
  for (const bool isDirect : {true, false}) {
    SetDrawportDirectMapping(isDirect);
    const auto cache = GetDefaultDrawportCache();
    ASSERT_THAT(cache, IsOk());
    const auto drawport = (*cache)->AllocDrawport((*cache)->GetCacheType(), kDrawportSubtypeSystem);
    ASSERT_THAT(drawport, IsOk());
    auto one = (*drawport)->CreateOffscreenRenderContext(true, 0);
    const auto two = (*drawport)->CreateOffscreenRenderContext(true, 0);
    ASSERT_THAT(one, IsOk());
    ASSERT_THAT(two, IsOk());
    auto made = CreateObject<ParallelProgramInterface>(kGpuProgramClass);
    ASSERT_THAT(made, IsOk());
    program = *made;
    ASSERT_THAT(program->Init(Url(), &*one, 0, false), IsOk());
    // Recorded in the first context and never executed by the client.
    const std::vector<Float32> texels(4 * 4 * 4, 0.5f);
    TextureBindData data = conformance::DescribeTexels(texels, 4, 4);
    ASSERT_THAT(program->StoreTextureBindData("image"_iid, data, false), IsOk());
    StoreBuffer<Float32>(*program, "found"_iid, {0, 0});
    Write("read.krn", kReadTexture);
    Add("read"_iid, "read.krn");
    ASSERT_THAT(program->SetUniform("x"_iid, Int32(3)), IsOk());
    ASSERT_THAT(program->SetUniform("y"_iid, Int32(3)), IsOk());
    ASSERT_THAT(program->UpdateDrawportContext(*two), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    EXPECT_THAT(ReadBuffer<Float32>(*program, "found"_iid), ElementsAre(0.5f, 0.5f));
    // Memory comes back, also of what the first context had.
    one = DrawportContextRef();
    ASSERT_THAT(program->DeleteTexture("image"_iid, false), IsOk());
    EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsErrorOfKind(kIllegalStateError));
    program = nullptr;
  }
  SetDrawportDirectMapping(true);
}

TEST_F(GpuDeviceTest, CountersHaveWhatWasRecordedBeforeAReset) {
  program = MakeProgram(kGpuProgramClass);
  Write("k.krn",
        "#define KERNELINPUTS \\\n(AtomicUInt32*) hits\n\nGROUPSIZE(1, 1, 1)\n\n"
        "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tATOMIC uint old = 0u;\n\tAtomicAdd(GetAtomicCounter(hits), "
        "1u, old);\n}\n"
        "OSTRA_PARALLEL_KERNEL_END\n");
  Add("k"_iid, "k.krn");
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(5, 1, 1, false), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  ASSERT_THAT(program->Init(Url(), nullptr, 0, true), IsOk());
  EXPECT_EQ(*program->GetAtomicCounter("hits"_iid), 5u);
}

TEST_F(GpuDeviceTest, LinkingATextureThatTheKernelDoesNotDeclareIsSaid) {
  program = MakeProgram(kGpuProgramClass);
  Write("read.krn", kReadTexture);
  Add("read"_iid, "read.krn");
  const std::vector<Float32> texels(4 * 4 * 4, 0.5f);
  TextureBindData data = conformance::DescribeTexels(texels, 4, 4);
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, data, false), IsOk());
  DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre());
  ASSERT_THAT(program->SetTextureToActiveKernel("image"_iid, "picture"_iid), IsOk());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("KernelTextureLink not set before picture"));
}

TEST_F(GpuDeviceTest, ATextureOfOtherDimensionsThanDeclaredIsRefused) {
  program = MakeProgram(kGpuProgramClass);
  Write("read.krn", kReadTexture);
  Add("read"_iid, "read.krn");
  StoreBuffer<Float32>(*program, "found"_iid, {0, 0});
  const std::vector<Float32> texels(4 * 4 * 4 * 4, 0.5f);
  TextureBindData data = conformance::DescribeTexels(texels, 4, 4);
  data._dimensions.z = 4;
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, data, false), IsOk());
  EXPECT_THAT(program->UpdateUniforms(),
              IsErrorWith(kIllegalArgumentError,
                          "The kernel's texture \"image\" is a 2D texture, but a 3D texture is linked to it."));
}

TEST_F(GpuDeviceTest, TexturesAreStoredIn32BitsWhenThatIsAskedFor) {
  Set("g_32bitOnlyParallelProgram", "true");
  program = MakeProgram(kGpuProgramClass);
  Bool with16bit = true, with8bit = true;
  program->GetSupportReadWritePixelFormats(with16bit, with8bit);
  EXPECT_FALSE(with16bit || with8bit);
  const std::vector<UInt8> texels = {0, 1, 2, 250, 251, 252};
  TextureBindData data;
  data._data = texels.data();
  data._dataSize = 6;
  data._dimensions = Vec3<UInt32>(3, 2, 0);  // no depth is a depth of 1
  data._format = TextureFormat::U8;
  data._numChannels = 1;
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, data, false), IsOk());
  EXPECT_EQ(data._dimensions.z, 1u);
  const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(2, 9, 9));
  ASSERT_THAT(read, IsOk());
  const auto* record = read->GetIf<SamplingData>();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->_dimensions, Vec3<UInt32>(2, 2, 1));
  ASSERT_EQ(record->_dataSize, 16);
  std::vector<UInt32> words(4);
  MemCopy(words.data(), record->_texels, 16);
  EXPECT_THAT(words, ElementsAre(0u, 1u, 250u, 251u));
}

}  // namespace
}  // namespace ostra::test
