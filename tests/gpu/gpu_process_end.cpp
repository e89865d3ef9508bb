// Ends the process while a thread waits for a dispatch on a GPU layer that never answers, or after it has answered.
#include <cstdlib>
#include <cstring>
#include <latch>
#include <thread>

#include "ostra/host_classes.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/gpu/recording_drawport.h"

using namespace ostra;

namespace {

std::latch g_begun{1};

// Outlives the threads that wait in it.
test::RecordingDevice& GetDevice() {
  static auto* const device = new test::RecordingDevice();
  return *device;
}

Result<void> Run(Bool isAnswered) {
  OSTRA_RETURN_IF_ERROR(RegisterHostClasses());
  if (!isAnswered) {
    GetDevice().onCall = [](std::string_view call) {
      if (!call.starts_with("execute")) return;
      g_begun.count_down();
      for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    };
  }
  OSTRA_ASSIGN_OR_RETURN(const ClassRef programClass, CreateGpuProgramClass());
  OSTRA_ASSIGN_OR_RETURN(const ParallelProgramRef program, programClass->CreateObject<ParallelProgramInterface>());
  const DrawportContextRef context = GetDevice().MakeContext();
  OSTRA_RETURN_IF_ERROR(program->Init(Url(), &context, 0, false));
  return program->Execute(true);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 1;
  if (std::strcmp(arguments[1], "return_after_dispatch") == 0) return Run(true) ? 0 : 1;
  std::thread([] { std::exit(Run(false) ? 2 : 1); }).detach();
  g_begun.wait();
  return 0;
}
