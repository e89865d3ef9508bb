#include "tests/parallelprogram/program_fixture.h"

#include "parallelprogram/program/cpu_program.h"

namespace ostra::test {
namespace {

Result<void> RegisterProgram() {
  OSTRA_ASSIGN_OR_RETURN(const ClassRef programClass, CreateCpuProgramClass());
  OSTRA_RETURN_IF_ERROR(ClassRegistry::GetClasses().Insert(programClass));
  return ClassRegistry::Declare(kKernelClassRegistry);
}

Result<void> RegisterAll() {
  OSTRA_RETURN_IF_ERROR(RegisterProgram());
  return RegisterTestKernels();
}

}  // namespace

Result<void> RegisterClasses() {
  static const Result<void> result = RegisterAll();
  return result;
}

ParallelProgramRef MakeProgram() {
  auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  EXPECT_THAT(program, IsOk());
  if (!program) return nullptr;
  EXPECT_THAT((*program)->Init(Url(), nullptr, 0, false), IsOk());
  return std::move(program).GetValue();
}

}  // namespace ostra::test
