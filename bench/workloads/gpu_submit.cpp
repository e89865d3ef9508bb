// What it costs to record, submit and await dispatches that do next to nothing.
#include <functional>

#include "bench/gpu_program.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr int kElements = 64;

// Submissions of a run, so that a run is long enough to be timed.
int GetRepeats(int dispatches) { return dispatches < 10 ? 2000 : dispatches < 100 ? 100 : 20; }

// Every dispatch adds one: none is lost, and none has overtaken another.
std::function<bool(const void*)> ExpectCount(int count) {
  return [expected = static_cast<std::uint32_t>(count)](const void* values) {
    const auto* counts = static_cast<const std::uint32_t*>(values);
    for (int i = 0; i < kElements; ++i) {
      if (counts[i] != expected) return false;
    }
    return true;
  };
}

bool RunCount(const Options& options, int dispatches) {
  const int repeats = GetRepeats(dispatches);
  Contest contest("gpu_submit", std::to_string(dispatches), "latency", "us");
  GpuWork work("net.ostra.bench.count.krn", "values"), timelineWork("net.ostra.bench.count.krn", "values");
  for (GpuWork* each : {&work, &timelineWork}) {
    if (!each->Start(options)) return true;
    each->AddBuffer<ostra::UInt32>("values", kElements, [](std::int64_t) { return 0u; });
    each->SetUniform("count", ostra::UInt32{kElements});
  }
  work.AddPeers(contest, kElements, 1, ExpectCount(dispatches * repeats), dispatches, repeats);
  timelineWork.AddTimelinePeer(contest, kElements, ExpectCount(dispatches * repeats), dispatches, repeats);
  return contest.Run(options, [=](double seconds) { return seconds / repeats * 1e6; });
}

// Two buffers of zeros that change places. False without a device.
bool StartSwapped(const Options& options, GpuWork& work) {
  if (!work.Start(options)) return false;
  for (const char* name : {"before", "after"})
    work.AddBuffer<ostra::UInt32>(name, kElements, [](std::int64_t) { return 0u; });
  work.SetUniform("count", ostra::UInt32{kElements});
  return true;
}

}  // namespace

bool RunPingPong(const Options& options) {
  for (const int swaps : {1000, 30000}) {
    Contest contest("ping_pong", std::to_string(swaps), "latency", "ms");
    GpuWork work("net.ostra.bench.step.krn", "before");
    if (!StartSwapped(options, work)) return true;
    work.AddSwappingPeers(contest, kElements, "before", "after", ExpectCount(swaps), swaps);
    if (!contest.Run(options, [](double seconds) { return seconds * 1e3; })) return false;
  }
  return true;
}

bool RunReplay(const Options& options) {
  for (const int dispatches : {2, 64, 1000}) {
    const int repeats = GetRepeats(dispatches);
    Contest contest("gpu_replay", std::to_string(dispatches), "latency", "us");
    GpuWork work("net.ostra.bench.step.krn", "before");
    if (!StartSwapped(options, work)) return true;
    work.AddReplayingPeers(contest, kElements, "before", "after", "count", ExpectCount(dispatches * repeats),
                           dispatches, repeats);
    if (!contest.Run(options, [=](double seconds) { return seconds / repeats * 1e6; })) return false;
  }
  return true;
}

bool RunGpuSubmit(const Options& options) {
  for (const int dispatches : {0, 1, 64, 1000}) {
    if (!RunCount(options, dispatches)) return false;
  }
  return true;
}

}  // namespace bench
