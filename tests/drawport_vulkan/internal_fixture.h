// For tests that look inside the backend: a context whose driver calls can be let fail.
#pragma once

#include <filesystem>
#include <functional>
#include <set>

#include "ostra/drawport_vulkan/cache_items.h"
#include "ostra/drawport_vulkan/program_store.h"
#include "tests/drawport_vulkan/program_builder.h"

namespace ostra::vulkan {

class DriverTest : public testing::Test {
 protected:
  void SetUp() override {
    _folder = std::filesystem::temp_directory_path() / ("ostra_gpu_cache_" + std::to_string(getpid()));
    std::filesystem::remove_all(_folder);
    setenv("OSTRA_GPU_CACHE", _folder.c_str(), 1);
    setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
    auto driver = Driver::Get();
    if (!driver) GTEST_SKIP() << driver.GetError().GetMessage().GetView();
    _driver = *driver;
    _cacheClass = Take(Class::Create<Cache>("net.ostra.drawport.cache.vulkan"_id));
  }
  void TearDown() override {
    CallFaults::Disable();
    SetDrawportDirectMapping(true);
    _driver = {};
    std::filesystem::remove_all(_folder);
    ExpectSilentValidation(diagnostics);
  }

  Result<DrawportContextRef> MakeContext() {
    OSTRA_ASSIGN_OR_RETURN(DrawportCacheRef cache, _cacheClass->CreateObject<DrawportCacheInterface>());
    OSTRA_ASSIGN_OR_RETURN(DrawportRef drawport, cache->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
    return drawport->CreateOffscreenRenderContext(false, 0);
  }
  using Build = std::function<Result<void>(DrawportProgramDescription&)>;
  using Bind = std::function<Result<void>(DrawportProgramFactory&, DrawportParameterValueSet&)>;
  // A program whose parameters are set.
  static Result<GpuComputeRef> MakeCompute(const DrawportContextRef& context, const Build& build, const Bind& bind) {
    GpuComputeCallbacks callbacks;
    OSTRA_ASSIGN_OR_RETURN(callbacks.hash,
                           Delegate<Result<void>(DrawportHashStream&)>::Create([](DrawportHashStream& stream) {
                             stream.Write(1);
                             return Result<void>(OK);
                           }));
    OSTRA_ASSIGN_OR_RETURN(callbacks.build, DrawportProgramBuilder::Create(
                                                [=](DrawportProgramDescription& program) { return build(program); }));
    OSTRA_ASSIGN_OR_RETURN(callbacks.bind, DrawportParameterBinder::Create(
                                               [=](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                                   Block<const DrawportParameter>) { return bind(factory, values); }));
    OSTRA_ASSIGN_OR_RETURN(GpuComputeRef compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
    OSTRA_RETURN_IF_ERROR(compute->Init(context, callbacks, {}));
    OSTRA_RETURN_IF_ERROR(compute->UpdateUniforms(context, true));
    return compute;
  }

  static ProgramStatistics GetStatistics(const DrawportContextRef& context) {
    return static_cast<Context&>(*context).GetDevice().GetPrograms().GetStatistics();
  }

  using Scenario = std::function<Result<void>()>;

  // Whether something may go well although this call has failed. All other failures are reported.
  virtual Bool MayBeOvercome(VkResult fault, std::string_view call) const {
    // Progress is asked for again; what is kept for the next start may be missing there.
    for (const std::string_view name :
         {"vkGetSemaphoreCounterValue", "vkGetPipelineCacheData", "vkMergePipelineCaches"})
      if (call == name) return true;
    if (fault == VK_ERROR_DEVICE_LOST) return false;
    // What there is no memory for is tried once more with less, or after unreferenced items were freed.
    for (const std::string_view name : {"vkAllocateMemory", "vkMapMemory", "vkCreateBuffer", "vkBindBufferMemory",
                                        "vkCreateImage", "vkBindImageMemory", "vkCreateImageView"})
      if (call == name) return true;
    return false;
  }

  // True when the fault was met.
  Bool RunAndCheck(VkResult fault, const Scenario& scenario) {
    const Result<void> result = scenario();
    if (!CallFaults::HasFired()) {
      EXPECT_THAT(result, IsOk());
      return false;
    }
    const std::string call(CallFaults::GetFiredCall());
    failedCalls.insert(call);
    if (!result) {
      EXPECT_EQ(result.GetError().GetKind(), fault == VK_ERROR_DEVICE_LOST ? kIllegalStateError : kOutOfMemoryError)
          << result.GetError().GetMessage().GetView();
    } else if (!MayBeOvercome(fault, call)) {
      ADD_FAILURE() << "the failure of " << call << " was not noticed";
    }
    return true;
  }

  // Lets each call of the scenario in turn fail with `fault`.
  void FailEveryCall(VkResult fault, Bool isDirect, const Scenario& scenario) {
    SetDrawportDirectMapping(isDirect);
    failedCalls.clear();
    ASSERT_THAT(scenario(), IsOk());  // names, and what is kept on disk
    const Int liveBefore = AllocationFaults::GetLiveCount();
    for (Int n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << "call " << n << " fails with " << GetResultName(fault));
      ASSERT_LT(n, 1000);
      CallFaults::FailNth(n, fault);
      const Bool fired = RunAndCheck(fault, scenario);
      CallFaults::Disable();
      if (!fired) {
        EXPECT_GT(n, 50);
        return;
      }
      EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
      if (HasFailure()) return;
    }
  }

  DiagnosticRecorder diagnostics;
  std::set<std::string> failedCalls;  // by FailEveryCall
  std::filesystem::path _folder;
  DriverRef _driver;
  ClassRef _cacheClass;
};

}  // namespace ostra::vulkan
