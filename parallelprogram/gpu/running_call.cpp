#include "parallelprogram/gpu/running_call.h"

#include <atomic>

#include "ostra/core/diagnostics.h"

namespace ostra {
namespace {

std::atomic<int> g_runningCalls{0};

// Made with the first call, so that it goes before everything that was made when the module was loaded.
struct EndOfProcess {
  EndOfProcess() = default;
  EndOfProcess(const EndOfProcess&) = delete;
  EndOfProcess& operator=(const EndOfProcess&) = delete;
  ~EndOfProcess() {
    if (g_runningCalls.load() > 0)
      CriticalOutput("The process ends while threads run dispatches on the GPU; end these threads before.");
  }
};

}  // namespace

RunningCall::RunningCall() {
  [[maybe_unused]] static const EndOfProcess end;
  g_runningCalls.fetch_add(1);
}

RunningCall::~RunningCall() { g_runningCalls.fetch_sub(1); }

}  // namespace ostra
