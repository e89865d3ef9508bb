// CountedProgramsTest: programs of the GPU program class on a driver that counts what it is asked for.
#pragma once

#include <optional>

#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/gpu/counted_driver.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {

inline constexpr const char* kStep = R"(#define KERNELINPUTS \
(Float32) step, \
(Block<Float32>) source, \
(Block<Float32>) target

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Step, KERNELINPUTS)
{
	UNIFORM_BUFFER(target)[0] = UNIFORM_BUFFER(source)[0] + UNIFORM(step);
}
OSTRA_PARALLEL_KERNEL_END
)";

class CountedProgramsTest : public vulkan::DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    if (IsSkipped()) return;
    _driver.emplace();
    _programClass = Take(CreateGpuProgramClass());
  }
  void TearDown() override {
    _driver.reset();
    DriverTest::TearDown();
  }

  // A program on a context of its own.
  ParallelProgramRef MakeProgram() {
    const DrawportContextRef context = Take(MakeContext());
    ParallelProgramRef program = Take(_programClass->CreateObject<ParallelProgramInterface>());
    Take(program->Init(Url(), &context, 0, false));
    return program;
  }
  ParallelProgramRef MakeProgram(const char* kernel) {
    ParallelProgramRef program = MakeProgram();
    const std::string name = "net.ostra.test.counted" + std::to_string(++_kernels) + ".krn";
    Take(program->AddKernel("k"_iid, Take(Url::Create(_sources.Write(name, kernel))), true));
    return program;
  }
  // A program that adds `step` to the first element of `source` and stores the sum in `target`; both begin with 0.
  ParallelProgramRef MakeStepProgram() {
    ParallelProgramRef program = MakeProgram(kStep);
    for (const InternedId& id : {"source"_iid, "target"_iid})
      Take(program->StoreUniformBufferData(id, Take(BaseArray<Float32>::Create({0}))));
    Take(program->SetUniform("step"_iid, Float32(1)));
    return program;
  }
  static void Dispatch(ParallelProgramInterface& program) {
    Take(program.UpdateUniforms());
    Take(program.DispatchKernel(1, 1, 1, false));
  }
  static Float32 ReadFirst(ParallelProgramInterface& program, InternedId id) {
    return Take(Take(program.GetGlobalBufferData(id)).Get<Array<Float32>>())[0];
  }

  // What `work` asks the driver for.
  template <class Work>
  DriverCounts Count(Work&& work) const {
    const DriverCounts before = _driver->GetCounts();
    work();
    return _driver->GetCounts() - before;
  }

 private:
  std::optional<CountedDriver> _driver;
  ClassRef _programClass;
  TemporaryFolder _sources;
  int _kernels = 0;
};

}  // namespace ostra::test
