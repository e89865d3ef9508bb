// A GPU program on a GPU layer that only writes down what it is asked for.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "ostra/math/data_types.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/textures/sampling_data.h"
#include "tests/gpu/recording_drawport.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {

// A parameter of each kind.
inline constexpr const char* kKernel = R"(#define KERNELINPUTS \
(UInt32) count, \
(Float32) factor, \
(Vector4d32) color, \
(AtomicUInt32*) hits, \
(Block<Float32>) values, \
(const TextureSampler_2D_R_F32_LINEAR) image

GROUPSIZE(8, 4, 1)

OSTRA_PARALLEL_KERNEL(Calls, KERNELINPUTS)
{
	UNIFORM_BUFFER(values)[0] = UNIFORM(factor);
}
OSTRA_PARALLEL_KERNEL_END
)";

// One parameter, and nothing more.
inline constexpr const char* kPlain = R"(#define KERNELINPUTS \
(Block<Float32>) values

GROUPSIZE(8, 4, 1)

OSTRA_PARALLEL_KERNEL(Plain, KERNELINPUTS)
{
	UNIFORM_BUFFER(values)[0] = 1.0;
}
OSTRA_PARALLEL_KERNEL_END
)";

// The test program is linked with the GPU program itself; nothing is loaded.
class GpuCallsTest : public testing::Test {
 protected:
  void SetUp() override { Start(); }
  void TearDown() override {
    program = nullptr;
    context = nullptr;
    g_outOfCoreParallelProgram = false;
    g_reloadKernelsParallelProgram = false;
    g_32bitOnlyParallelProgram = false;
    ResetParserCache();
  }
  void Start() {
    programClass = *CreateGpuProgramClass();
    program = *programClass->CreateObject<ParallelProgramInterface>();
    context = device.MakeContext();
    ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
    calls = device.TakeCalls();
  }
  RecordingCache& GetCache() { return static_cast<RecordingCache&>(*context->GetDrawport()->GetDrawportCache()); }
  std::vector<std::string> TakeCalls() { return device.TakeCalls(); }
  Result<void> Store(InternedId id, Int count) {
    BaseArray<Float32> values;
    OSTRA_RETURN_IF_ERROR(values.Resize(count));
    for (Int i = 0; i < count; ++i) values[i] = static_cast<Float32>(i);
    return program->StoreUniformBufferData(id, std::move(values));
  }
  // Writes a file of the test's folder with a stamp of its own.
  Url Write(const std::string& name, const std::string& text) {
    std::filesystem::create_directories((folder / name).parent_path());
    std::ofstream(folder / name) << text;
    const auto time = std::filesystem::file_time_type(std::chrono::seconds(1'000'000 + ++stamp));
    std::filesystem::last_write_time(folder / name, time);
    return *Url::Create((folder / name).string());
  }
  void AddKernel(InternedId id, const std::string& text) {
    ASSERT_THAT(program->AddKernel(id, Write("net.ostra.test.calls.krn", text), true), IsOk());
  }
  static TextureBindData Describe(UInt32 width, UInt32 height) {
    TextureBindData data;
    data._dimensions = Vec3<UInt32>(width, height, 1);
    data._format = TextureFormat::F32;
    data._numChannels = 1;
    data._dataSize = Int64{4} * width * height;
    return data;
  }

  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
  int stamp = 0;
  RecordingDevice device;
  ClassRef programClass;
  DrawportContextRef context;
  ParallelProgramRef program;
  std::vector<std::string> calls;
};

}  // namespace ostra::test
