// A GPU program whose device is lost, and whose driver has no memory for what was recorded: calls of the driver fail.
#include <filesystem>
#include <fstream>

#include "ostra/drawport_vulkan/cache_items.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/drawport_vulkan/gpu_test.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::ElementsAre;

namespace {

constexpr const char* kAddOne = R"(#define KERNELINPUTS \
(AtomicUInt32*) hits, \
(Block<Float32>) values

GROUPSIZE(4, 1, 1)

OSTRA_PARALLEL_KERNEL(AddOne, KERNELINPUTS)
{
	uint i = LinearInvocation();
	if (i < 4u)
	{
		UNIFORM_BUFFER(values)[i] = UNIFORM_BUFFER(values)[i] + 1.0;
	}
}
OSTRA_PARALLEL_KERNEL_END
)";

class GpuLostDeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
    setenv("OSTRA_GPU_CACHE", "off", 1);
    auto driver = Driver::Get();
    if (!driver) GTEST_SKIP() << driver.GetError().GetMessage().GetView();
    _driver = *driver;
    _cacheClass = Take(Class::Create<Cache>("net.ostra.drawport.cache.vulkan"_id));
    _drawport = Take(Take(_cacheClass->CreateObject<DrawportCacheInterface>())
                         ->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
    context = MakeContext();
    _programClass = Take(CreateGpuProgramClass());
    program = Take(_programClass->CreateObject<ParallelProgramInterface>());
    Take(program->Init(Url(), &context, 0, false));
    std::ofstream(_file) << kAddOne;
    Take(program->AddKernel("k"_iid, Take(Url::Create(_file.string())), true));
  }
  void TearDown() override {
    CallFaults::Disable();
    SetDrawportDirectMapping(true);
    program = nullptr;
    context = nullptr;
    _drawport = nullptr;
    _driver = {};
    std::filesystem::remove(_file);
    ExpectSilentValidation(diagnostics);
  }
  DrawportContextRef MakeContext() { return Take(_drawport->CreateOffscreenRenderContext(true, 0)); }
  Result<void> Store(InternedId id, std::initializer_list<Float32> values) {
    OSTRA_ASSIGN_OR_RETURN(BaseArray<Float32> array, BaseArray<Float32>::Create(values));
    return program->StoreUniformBufferData(id, std::move(array));
  }
  std::vector<Float32> Read(InternedId id) {
    const Data data = Take(program->GetGlobalBufferData(id));
    const Block<Float32> block = Take(data.Get<Array<Float32>>()).GetFirstBlock();
    return {block.GetFirst(), block.GetFirst() + block.GetCount()};
  }
  // Everything that the kernel needs, on the device of the context.
  void StoreAndLinkAll() {
    Take(Store("values"_iid, {1, 2, 3, 4}));
    Take(Store("other"_iid, {5, 6, 7, 8}));
    BaseArray<Vec4<Int32>> counts = Take(BaseArray<Vec4<Int32>>::Create({Vec4<Int32>(1, 1, 1, 0)}));
    Take(program->StoreUniformBufferData("counts"_iid, std::move(counts)));
    Take(program->AddAtomicCounter("hits"_iid, UInt32(0)));
    Take(program->SetAtomicCounterToActiveKernel("hits"_iid));
    Take(program->SetBufferToActiveKernelSameId("values"_iid));
  }
  void Run() {
    Take(program->UpdateUniforms());
    Take(program->DispatchKernel(4, 1, 1, false));
    Take(program->DispatchIndirectKernel("counts"_iid, 0, false));
    Take(program->Execute(true));
  }

  DiagnosticRecorder diagnostics;
  DrawportContextRef context;
  ParallelProgramRef program;

 private:
  const std::filesystem::path _file =
      std::filesystem::temp_directory_path() /
      (std::string("net.ostra.test.") + testing::UnitTest::GetInstance()->current_test_info()->name() + ".krn");
  DriverRef _driver;
  ClassRef _cacheClass, _programClass;
  DrawportRef _drawport;
};

TEST_F(GpuLostDeviceTest, WhatWasOnTheLostDeviceIsRefusedUntilItIsStoredAgain) {
  StoreAndLinkAll();
  Run();
  EXPECT_THAT(Read("values"_iid), ElementsAre(3, 4, 5, 6));
  Take(program->DispatchKernel(4, 1, 1, false));
  CallFaults::FailNth(2, VK_ERROR_DEVICE_LOST);  // after the end of recording
  EXPECT_THAT(program->Execute(true), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  CallFaults::Disable();
  // A fresh device takes its place: the work of the lost one is lost, and nothing stands in the way.
  ASSERT_THAT(program->UpdateDrawportContext(MakeContext()), IsOk());

  const auto isElsewhere = IsErrorContaining(kIllegalStateError, "lies on another GPU device than");
  EXPECT_THAT(program->UpdateUniformBufferData("values"_iid, 1, Take(BaseArray<Float32>::Create({9}))), isElsewhere);
  EXPECT_THAT(program->CopyBufferData("values"_iid, "other"_iid, 4, 0, 0), isElsewhere);
  EXPECT_THAT(program->GetGlobalBufferData("values"_iid), isElsewhere);
  EXPECT_THAT(program->GetKernelBufferData("values"_iid), isElsewhere);
  EXPECT_THAT(program->SetAtomicCounter("hits"_iid, 3), isElsewhere);
  EXPECT_THAT(program->GetAtomicCounter("hits"_iid), isElsewhere);
  EXPECT_THAT(program->UpdateUniforms(), isElsewhere);
  EXPECT_THAT(program->DispatchKernel(4, 1, 1, false), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false), IsErrorOfKind(kIllegalStateError));

  StoreAndLinkAll();
  Run();
  EXPECT_THAT(Read("values"_iid), ElementsAre(3, 4, 5, 6));
  ASSERT_THAT(program->CopyBufferData("values"_iid, "other"_iid, 4, 0, 0), IsOk());
  EXPECT_THAT(Read("other"_iid), ElementsAre(3, 4, 5, 6));
  EXPECT_EQ(Take(program->GetAtomicCounter("hits"_iid)), 0u);
}

TEST_F(GpuLostDeviceTest, WorkThatCannotBeSubmittedIsNotForgottenSilently) {
  StoreAndLinkAll();
  Run();
  const DrawportContextRef other = MakeContext();
  for (const Int call : {1, 2}) {  // the end of recording, the submission
    SCOPED_TRACE(call);
    Take(program->DispatchKernel(4, 1, 1, false));
    CallFaults::FailNth(call, VK_ERROR_OUT_OF_HOST_MEMORY);
    EXPECT_THAT(program->UpdateDrawportContext(other), IsErrorOfKind(kOutOfMemoryError));
    EXPECT_TRUE(CallFaults::HasFired());
    CallFaults::Disable();
    // The context goes on, without that work.
    EXPECT_THAT(Read("values"_iid), ElementsAre(3, 4, 5, 6));
  }
  Take(program->DispatchKernel(4, 1, 1, false));
  ASSERT_THAT(program->UpdateDrawportContext(other), IsOk());
  EXPECT_THAT(Read("values"_iid), ElementsAre(4, 5, 6, 7));
}

}  // namespace
