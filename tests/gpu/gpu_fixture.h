// The host with the module and the backend, and programs on them.
//
//   ParallelProgramRef program = MakeProgram(kGpuProgramClass);
//   AddKernel(*program, "k"_iid, "net.ostra.kernels.saxpy.krn");
//
// Tests are skipped where no device is found.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ostra/math/data_types.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/support/arrays.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

// Whether there is a GPU backend with a device.
Bool HasDevice();

// A program after Init, on a context of its own. `programClass` is one of the two classes.
ParallelProgramRef MakeProgram(const Id& programClass);

// The folder with the kernels of the conformance suite, whose classes are registered: a resource path.
const Url& GetKernelFolder();

// Adds a kernel of that folder.
void AddKernel(ParallelProgramInterface& program, InternedId id, std::string_view name);

template <class T>
void StoreBuffer(ParallelProgramInterface& program, InternedId id, const std::vector<T>& values) {
  ASSERT_THAT(program.StoreUniformBufferData(id, MakeArray(values)), IsOk());
}

template <class T>
std::vector<T> ReadBuffer(ParallelProgramInterface& program, InternedId id) {
  return GetElements<T>(program.GetGlobalBufferData(id));
}

// A GPU program on the device of this machine; skipped without one.
class DeviceProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
  }

  ParallelProgramRef program;
};

}  // namespace ostra::test
