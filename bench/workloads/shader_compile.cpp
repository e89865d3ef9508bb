// From a kernel file to a program of the device, with nothing in any cache and with everything there.
#include "bench/workloads/shader_compile.h"

#include <algorithm>
#include <cstdio>

#include "bench/child.h"
#include "bench/gpu_program.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr const char* kWorkload = "shader_compile";

bool RunSourceToSpirv(const Options& options) {
  Contest contest(kWorkload, "index", "source_to_spirv", "ms");
  contest.Add(
      "ours-gpu", [] { return !MakeShader(GetKernelPath("net.ostra.kernels.index.krn")).words.empty(); },
      [] { return true; });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

}  // namespace

bool RunShaderCompile(const Options& options) {
  if (FindGpu(options).empty()) return true;
  ColdAndWarm first("first_dispatch"), raw("raw_first_dispatch");
  ColdAndWarm jobs("compile_in_jobs"), turn("compile_in_turn");
  ColdAndWarm noiseJobs("compile_noises_in_jobs"), noiseTurn("compile_noises_in_turn");
  ColdAndWarm* const all[] = {&first, &raw, &jobs, &turn, &noiseJobs, &noiseTurn};
  for (int run = 0; run < options.runs; ++run)
    for (ColdAndWarm* part : all) part->RunRound();
  // The reference compiles for itself.
  if (!std::ranges::all_of(all, [&](const ColdAndWarm* part) { return part == &raw || part->IsRight(); })) return false;

  if (!RunSourceToSpirv(options)) return false;
  const auto print = [&](const char* peer, const std::string& size, const ColdAndWarm& part,
                         const std::string& metric) {
    if (!Wants(options, peer)) return;
    PrintFigure(peer, kWorkload, size, metric + "_cold", "ms", part.GetCold());
    PrintFigure(peer, kWorkload, size, metric + "_warm", "ms", part.GetWarm());
  };
  print("ours-gpu", "index", first, "first_dispatch");
  print("vulkan", "index", raw, "first_dispatch");
  // The numbers of kernels count the one that copies, which every program has.
  const auto printAll = [&](const ColdAndWarm& inJobs, const ColdAndWarm& inTurn) {
    const std::string size = std::to_string(inJobs.GetCompiledCold()) + " kernels";
    print("ours-gpu-jobs", size, inJobs, "all_kernels");
    print("ours-gpu-in-turn", size, inTurn, "all_kernels");
  };
  printAll(jobs, turn);
  printAll(noiseJobs, noiseTurn);
  return true;
}

}  // namespace bench
