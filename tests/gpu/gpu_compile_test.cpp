// When kernels of the GPU program are compiled, and what becomes of those that could not be.
#include <thread>

#include "parallelprogram/gpu/gpu_kernel.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kIncludesInner = "// INCLUDE_STRUCTS_BEGIN\n#include \"inner.h\"\n// INCLUDE_STRUCTS_END\n";
constexpr const char* kIncludesK = "// INCLUDE_STRUCTS_BEGIN\n#include \"k.h\"\n// INCLUDE_STRUCTS_END\n";

KernelDescription MakeDescription() {
  KernelDescription description;
  description.workGroupSize = {8, 4, 1};
  return description;
}

TEST(GpuKernelTest, AKernelThatIsSaidToBeCompiledHasAWorkGroupSize) {
  // The compile job ends while the driving thread asks.
  for (int round = 0; round < 200; ++round) {
    GpuKernel kernel;
    kernel.state = CompileState::Running;
    std::thread job([&] {
      kernel.SetDescription(MakeDescription());
      kernel.EndCompile(OK, false);
    });
    while (!kernel.RequireCompiled()) std::this_thread::yield();
    EXPECT_EQ(kernel.workGroupSize.x, 8u);
    job.join();
  }
  // The same, one step at a time.
  GpuKernel kernel;
  kernel.state = CompileState::Running;
  ASSERT_THAT(kernel.ApplyCompiled(), IsOk());
  kernel.SetDescription(MakeDescription());
  kernel.EndCompile(OK, false);
  ASSERT_THAT(kernel.RequireCompiled(), IsOk());
  EXPECT_EQ(kernel.workGroupSize.x, 8u);
}

TEST(GpuKernelTest, AKernelWhoseJobWasCancelledDoesNotRun) {
  // It has ended without an error, and the size of its work groups is unknown.
  GpuKernel kernel;
  kernel.state = CompileState::Running;
  kernel.EndCompile(OK, false);
  EXPECT_THAT(kernel.RequireCompiled(),
              IsErrorWith(kIllegalStateError, "The kernel \"\" cannot run because its compilation has not ended."));
  kernel.SetDescription(MakeDescription());
  EXPECT_THAT(kernel.RequireCompiled(), IsOk());
}

class GpuCompileTest : public GpuCallsTest {
 protected:
  // Updates the active kernel and runs it once.
  Result<void> Run() {
    OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
    return program->DispatchKernel(8, 1, 1, true);
  }
};

TEST_F(GpuCompileTest, AKernelThatWasAddedBeforeThereWasAContextIsCompiledWithTheFirstOne) {
  program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->AddKernel("k"_iid, Write("k.krn", kPlain), true), IsOk());
  EXPECT_THAT(
      program->UpdateUniforms(),
      IsErrorWith(kIllegalStateError,
                  "The kernel \"k\" cannot run because it could not be compiled: A GPU program needs a drawport "
                  "context."));
  ASSERT_THAT(program->UpdateDrawportContext(context), IsOk());
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true), IsErrorOfKind(kIllegalStateError));
  TakeCalls();
  ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program k", "buffer values = 12", "dispatch 1 1 1"));
}

TEST_F(GpuCompileTest, AKernelIsCompiledOnceThereIsNoReasonAgainstIt) {
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  {
    const DiagnosticRecorder diagnostics;
    device.failing = "program";  // such as a device that is lost
    ASSERT_THAT(program->AddKernel("k"_iid, Write("k.krn", kPlain), true), IsOk());
    EXPECT_THAT(Run(), IsErrorWith(kIllegalStateError,
                                   "The kernel \"k\" cannot run because it could not be compiled: made-up failure"));
  }
  device.failing = "";
  EXPECT_THAT(Run(), IsOk());
}

TEST_F(GpuCompileTest, ASourceThatIsWrongIsNotCompiledAgainAndAgain) {
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->AddKernel("k"_iid,
                                 Write("k.krn",
                                       "GROUPSIZE(0, 1, 1)\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n"
                                       "{\n}\nOSTRA_PARALLEL_KERNEL_END\n"),
                                 true),
              IsOk());
  const Result<void> first = program->UpdateUniforms();
  ASSERT_FALSE(first);
  EXPECT_THAT(std::string(first.GetError().GetMessage().GetView()), HasSubstr("A work group of 0 x 1 x 1"));
  const std::size_t said = diagnostics.GetLines().size();
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(program->DispatchKernel(1, 1, 1, true), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(diagnostics.GetLines().size(), said);
}

TEST_F(GpuCompileTest, AHeaderThatWasWrongIsReadAgainOnceItWasEdited) {
  g_reloadKernelsParallelProgram = true;
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  const DiagnosticRecorder diagnostics;
  Write("k.h", kIncludesInner);
  Write("inner.h", kIncludesK);
  const Url file = Write("k.krn", kPlain);
  ASSERT_THAT(program->AddKernel("k"_iid, file, true), IsOk());
  EXPECT_THAT(Run(), IsErrorContaining(kIllegalStateError, "includes itself and has no guard"));
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());  // said once
  Write("inner.h", "\n");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_THAT(Run(), IsOk());
  // The same for a header that only the edit has brought in.
  Write("inner.h", "\n// INCLUDE_STRUCTS_BEGIN\n#include \"other.h\"\n// INCLUDE_STRUCTS_END\n");
  Write("other.h", kIncludesK);
  EXPECT_THAT(program->CheckActiveKernelForUpdatedShaders(),
              IsErrorContaining(kIllegalArgumentError, "includes itself and has no guard"));
  EXPECT_THAT(Run(), IsOk());  // the last good one
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  TakeCalls();
  Write("other.h", "\n");
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program k"));
}

TEST_F(GpuCompileTest, ReloadingLooksAtEveryKernelAndEndsWithTheFirstError) {
  const Url one = Write("one.krn", kPlain), two = Write("two.krn", kPlain);
  ASSERT_THAT(program->AddKernel("one"_iid, one, true), IsOk());
  ASSERT_THAT(program->AddKernel("two"_iid, two, true), IsOk());
  Write("one.krn", kPlain);
  Write("two.krn", kPlain);
  TakeCalls();
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());  // it was not asked for
  g_reloadKernelsParallelProgram = true;
  ASSERT_THAT(program->CheckActiveKernelForUpdatedShaders(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::UnorderedElementsAre("program one", "program two"));
  Write("one.krn", kPlain);
  Write("two.krn", kPlain);
  device.failing = "program";
  const DiagnosticRecorder diagnostics;
  program->ReloadKernels();
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("made-up failure"));
  EXPECT_EQ(TakeCalls().size(), 1u);
}

TEST_F(GpuCompileTest, WhatWasSetInAnotherContextIsNotDispatched) {
  AddKernel("k"_iid, kPlain);
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, true),
              IsErrorWith(kIllegalStateError, "The uniforms of the GPU program have not been updated."));
  ASSERT_THAT(Run(), IsOk());
  ASSERT_THAT(program->UpdateDrawportContext(device.MakeContext()), IsOk());
  TakeCalls();
  const auto isOld = IsErrorWith(
      kIllegalStateError, "The uniforms of the kernel \"k\" have not been updated since the context was replaced.");
  EXPECT_THAT(program->DispatchKernel(8, 1, 1, false), isOld);
  EXPECT_THAT(program->DispatchIndirectKernel("values"_iid, 0, false), isOld);
  EXPECT_THAT(TakeCalls(), ElementsAre());
  EXPECT_THAT(Run(), IsOk());
}

TEST_F(GpuCompileTest, ValuesReachTheSetterOfTheirType) {
  std::string text = "#define KERNELINPUTS \\\n";
  for (char name = 'a'; name <= 'm'; ++name) text += std::string("(Float32) ") + name + ", \\\n";
  text +=
      "(half2) pair, \\\n(Block<Float32>) values\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\t"
      "auto one = 1.0;\n\tUNIFORM_BUFFER(values)[0] = one;\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  AddKernel("k"_iid, text);
  ASSERT_THAT(program->SetUniform("a"_iid, Float32(1)), IsOk());
  ASSERT_THAT(program->SetUniform("b"_iid, HalfFloat(2.0f)), IsOk());
  ASSERT_THAT(program->SetUniform("c"_iid, Vec2<Float32>(3, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("d"_iid, Vec3<Float32>(4, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("e"_iid, Vec4<Float32>(5, 0, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("f"_iid, Vec4<HalfFloat>(HalfFloat(6.0f))), IsOk());
  ASSERT_THAT(program->SetUniform("g"_iid, UInt32(7)), IsOk());
  ASSERT_THAT(program->SetUniform("h"_iid, Int32(-8)), IsOk());
  ASSERT_THAT(program->SetUniform("i"_iid, Vec3<UInt32>(9, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("j"_iid, Vec4<UInt32>(10, 0, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("k"_iid, Vec3<Int32>(-11, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("l"_iid, Vec4<Int32>(-12, 0, 0, 0)), IsOk());
  ASSERT_THAT(program->SetUniform("m"_iid, SquareMatrix4d32()), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::UnorderedElementsAre("float a = 1", "float b = 2", "float2 c = 3", "float3 d = 4",
                                                         "float4 e = 5", "float4 f = 6", "uint g = 7", "int h = -8",
                                                         "uint3 i = 9", "uint4 j = 10", "int3 k = -11", "int4 l = -12",
                                                         "mat4 m = 0", "buffer values = -1"));
  // Two halves of a file with C++ of its own are four bytes, by which backends refuse the floats that are set.
  for (const DrawportParameter& parameter : GetCache().programs["k"]->description.GetParameters()) {
    if (!(parameter.name == "pair"_iid)) continue;
    EXPECT_TRUE(parameter.isValue);
    EXPECT_EQ(parameter.layout.byteSize, 4);
  }
  ASSERT_THAT(program->SetUniform("pair"_iid, Vec2<HalfFloat>(HalfFloat(1.0f))), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("float2 pair = 1"));
}

TEST_F(GpuCompileTest, TwoAndThreeHalvesReachTheSettersOfFloats) {
  AddKernel("k"_iid,
            "#define KERNELINPUTS \\\n(half2) pair, \\\n(half3) triple, \\\n(Block<Float32>) values\n\n"
            "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(values)[0] = float(UNIFORM(pair).x);\n}\n"
            "OSTRA_PARALLEL_KERNEL_END\n");
  ASSERT_THAT(program->SetUniform("pair"_iid, Vec2<HalfFloat>(HalfFloat(2.0f))), IsOk());
  ASSERT_THAT(program->SetUniform("triple"_iid, Vec3<HalfFloat>(HalfFloat(3.0f))), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::UnorderedElementsAre("float2 pair = 2", "float3 triple = 3", "buffer values = -1"));
}

TEST_F(GpuCompileTest, ParsersThatFailTogetherLeaveNothingOfWhatTheyFound) {
  Write("k.h", kIncludesInner);
  Write("inner.h", kIncludesK);
  const Url file = Write("k.krn", kPlain);
  const KernelSource source{file, String(), kTargetGlsl, 77};
  for (int round = 0; round < 20; ++round) {
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        AtomicInt32 lock;
        SourcesRead read;
        if (ParseKernel(source, lock, &read)) return;
        ++failures;
        EXPECT_EQ(read.files.GetCount(), 3);
        EXPECT_EQ(read.stamp, *MakeSourcesStamp(file, read.files));
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 4);
  }
  EXPECT_EQ(GetCachedParserCount(), 0);
}

}  // namespace
}  // namespace ostra::test
