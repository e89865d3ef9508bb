// For tests that look inside the backend: a context whose driver calls can be let fail.
#pragma once

#include <filesystem>
#include <functional>

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
  static ProgramStatistics GetStatistics(const DrawportContextRef& context) {
    return static_cast<Context&>(*context).GetDevice().GetPrograms().GetStatistics();
  }

  using Scenario = std::function<Result<void>()>;

  // True when the fault was met. A question for progress that fails is asked again later; all other failures are
  // reported.
  Bool RunAndCheck(VkResult fault, const Scenario& scenario) {
    const Result<void> result = scenario();
    if (!CallFaults::HasFired()) {
      EXPECT_THAT(result, IsOk());
      return false;
    }
    if (!result) {
      EXPECT_EQ(result.GetError().GetKind(), fault == VK_ERROR_DEVICE_LOST ? kIllegalStateError : kOutOfMemoryError)
          << result.GetError().GetMessage().GetView();
    }
    return true;
  }

  // Lets each call of the scenario in turn fail with `fault`.
  void FailEveryCall(VkResult fault, Bool isDirect, const Scenario& scenario) {
    SetDrawportDirectMapping(isDirect);
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
  std::filesystem::path _folder;
  DriverRef _driver;
  ClassRef _cacheClass;
};

}  // namespace ostra::vulkan
