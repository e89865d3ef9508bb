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

// What a part takes in processes of its own, first with empty caches, then with those that the first one has left.
class ColdAndWarm {
 public:
  explicit ColdAndWarm(std::string part) : _part(std::move(part)) {}

  void RunRound() {
    const CacheFolder folder;
    const std::vector<double> cold = Measure(folder), warm = Measure(folder);
    _cold.push_back(cold[0]);
    _warm.push_back(warm[0]);
    _compiledCold = static_cast<int>(cold[1]);
    _compiledWarm = std::max(_compiledWarm, static_cast<int>(warm[1]));
  }

  const std::string& GetName() const { return _part; }
  const std::vector<double>& GetCold() const { return _cold; }
  const std::vector<double>& GetWarm() const { return _warm; }
  int GetCompiledCold() const { return _compiledCold; }
  // The most of any round.
  int GetCompiledWarm() const { return _compiledWarm; }

 private:
  std::vector<double> Measure(const CacheFolder& folder) const {
    std::vector<double> numbers = RunPart(_part, folder);
    if (numbers.size() != 2) throw std::runtime_error("The part \"" + _part + "\" printed no figures.");
    return numbers;
  }

  std::string _part;
  std::vector<double> _cold, _warm;
  int _compiledCold = 0, _compiledWarm = 0;
};

// The compiler works when there is nothing, and never again.
bool IsRight(const ColdAndWarm& part) {
  if (part.GetCompiledCold() > 0 && part.GetCompiledWarm() == 0) return true;
  std::fprintf(stderr, "%s: \"%s\" compiled %d texts with empty caches and %d with full ones.\n", kWorkload,
               part.GetName().c_str(), part.GetCompiledCold(), part.GetCompiledWarm());
  return false;
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
  if (!std::ranges::all_of(all, [&](const ColdAndWarm* part) { return part == &raw || IsRight(*part); })) return false;

  if (!RunSourceToSpirv(options)) return false;
  const auto print = [](const char* peer, const std::string& size, const ColdAndWarm& part, const std::string& metric) {
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
