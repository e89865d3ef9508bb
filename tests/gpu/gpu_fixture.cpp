#include "tests/gpu/gpu_fixture.h"

#include <cstdlib>
#include <optional>

#include "conformance/kernel_folder.h"
#include "ostra/core/diagnostics.h"
#include "ostra/drawport/cache.h"
#include "ostra/host.h"

namespace ostra::test {
namespace {

// Fails the test that runs when the validation layer says a word.
class ValidationListener final : public DiagnosticListener {
 public:
  void Notify(DiagnosticLevel, std::string_view text) override {
    if (text.starts_with("Vulkan")) ADD_FAILURE() << text;
  }
};

std::optional<conformance::KernelFolder> g_kernels;

// The host with the modules, for the whole run of the test program.
class HostEnvironment final : public testing::Environment {
 public:
  void SetUp() override {
    setenv("OSTRA_VULKAN_VALIDATION", "1", 0);
    setenv("OSTRA_GPU_CACHE", "off", 0);
    auto host = Host::Create({.readsEnvironment = false});
    ASSERT_THAT(host, IsOk());
    _host.emplace(std::move(host).GetValue());
    ASSERT_THAT(_host->LoadModule("parallelprogram"), IsOk());
    ASSERT_THAT(_host->LoadModule("drawport_vulkan"), IsOk());
    ASSERT_THAT(conformance::RegisterConformanceKernels(), IsOk());
    auto kernels = conformance::KernelFolder::Create();
    ASSERT_THAT(kernels, IsOk());
    g_kernels.emplace(std::move(*kernels));
  }
  void TearDown() override {
    g_kernels.reset();
    _host.reset();
    _listener.reset();
  }

 private:
  std::optional<ValidationListener> _listener{std::in_place};
  std::optional<Host> _host;
};

// GoogleTest owns the environment.
[[maybe_unused]] const testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new HostEnvironment);

}  // namespace

const Url& GetKernelFolder() { return g_kernels->GetUrl(); }

Bool HasDevice() {
  const auto cache = GetDefaultDrawportCache();
  return cache && !(*cache)->GetCacheType().IsEmpty();
}

ParallelProgramRef MakeProgram(const Id& programClass) {
  auto program = CreateObject<ParallelProgramInterface>(programClass);
  EXPECT_THAT(program, IsOk());
  if (!program) return nullptr;
  const Result<void> prepared = (*program)->Init(GetKernelFolder(), nullptr, 0, true);
  EXPECT_THAT(prepared, IsOk());
  return prepared ? *program : ParallelProgramRef();
}

void AddKernel(ParallelProgramInterface& program, InternedId id, std::string_view name) {
  auto file = Url::Create("relative://" + std::string(name));
  ASSERT_THAT(file, IsOk());
  ASSERT_THAT(program.AddKernel(id, *file, true), IsOk());
}

}  // namespace ostra::test
