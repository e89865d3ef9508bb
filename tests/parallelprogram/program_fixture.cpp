#include "tests/parallelprogram/program_fixture.h"

#include <optional>

#include "ostra/host.h"

namespace ostra::test {
namespace {

// The host with the module, for the whole run of the test program.
class HostEnvironment final : public testing::Environment {
 public:
  void SetUp() override {
    auto host = Host::Create({.readsEnvironment = false});
    ASSERT_THAT(host, IsOk());
    _host.emplace(std::move(host).GetValue());
    ASSERT_THAT(_host->LoadModule("parallelprogram"), IsOk());
    ASSERT_THAT(RegisterTestKernels(), IsOk());
  }
  void TearDown() override { _host.reset(); }

 private:
  std::optional<Host> _host;
};

// GoogleTest owns the environment.
[[maybe_unused]] const testing::Environment* const g_environment =
    testing::AddGlobalTestEnvironment(new HostEnvironment);

}  // namespace

ParallelProgramRef MakeProgram() {
  auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  EXPECT_THAT(program, IsOk());
  if (!program) return nullptr;
  EXPECT_THAT((*program)->Init(Url(), nullptr, 0, false), IsOk());
  return std::move(program).GetValue();
}

}  // namespace ostra::test
