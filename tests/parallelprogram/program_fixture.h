// Fixture of the CPU program's tests: a fresh program per test, reached through its interface alone.
//
//   TEST_P(DispatchTest, ...) {                       // runs once per kernel form
//     AddKernel("scale"_iid, kScale);
//     StoreBuffer<Float32>("values"_iid, {1, 2, 3});
//     ...
//     EXPECT_EQ(ReadBuffer<Float32>("values"_iid), (std::vector<Float32>{2, 4, 6}));
//   }
//
// Helpers report what goes wrong as failures of the test.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "parallelprogram/program/parallel_program.h"
#include "tests/parallelprogram/test_kernels.h"
#include "tests/support/arrays.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

inline constexpr const char* kNoActiveKernel = "no active kernel set";

// A program after Init.
ParallelProgramRef MakeProgram();

class ProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    program = MakeProgram();
    ASSERT_TRUE(program);
  }

  void AddKernel(InternedId id, const char* kernelClass, KernelForm form = KernelForm::Call) {
    ASSERT_THAT(program->AddKernel(id, GetKernelFile(kernelClass, form), true), IsOk());
  }
  template <class T>
  void StoreBuffer(InternedId id, const std::vector<T>& values) {
    ASSERT_THAT(program->StoreUniformBufferData(id, MakeArray(values)), IsOk());
  }
  template <class T>
  std::vector<T> ReadBuffer(InternedId id) const {
    return GetElements<T>(program->GetGlobalBufferData(id));
  }
  // What the active kernel sees under a parameter name.
  template <class T>
  std::vector<T> ReadKernelBuffer(InternedId id) const {
    return GetElements<T>(program->GetKernelBufferData(id));
  }
  UInt32 GetCounter(InternedId id) const {
    auto value = program->GetAtomicCounter(id);
    EXPECT_THAT(value, IsOk());
    return value ? *value : 0;
  }
  // Adds a counter and links it to the active kernel's parameter of the same name.
  void LinkCounter(InternedId id) {
    ASSERT_THAT(program->AddAtomicCounter(id, Int32(0)), IsOk());
    ASSERT_THAT(program->SetAtomicCounterToActiveKernel(id), IsOk());
  }

  ParallelProgramRef program;
};

// A test that runs once per kernel form.
class KernelFormTest : public ProgramTest, public testing::WithParamInterface<KernelForm> {
 protected:
  void AddKernel(InternedId id, const char* kernelClass) { ProgramTest::AddKernel(id, kernelClass, GetParam()); }
};

#define OSTRA_TEST_BOTH_FORMS(Suite)                                                                           \
  INSTANTIATE_TEST_SUITE_P(, Suite,                                                                            \
                           testing::Values(::ostra::test::KernelForm::Call, ::ostra::test::KernelForm::Range), \
                           [](const auto& form) { return ::ostra::test::GetFormName(form.param); })

}  // namespace ostra::test
