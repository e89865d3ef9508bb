// ostra-bench --list
// ostra-bench --runs N [--peers a,b,...] WORKLOAD
// ostra-bench --part NAME              what a workload runs in a process of its own
//
// Prints one JSON object a line for each figure; checks every result first. Exit status 0 done, 1 wrong result or
// failure, 2 bad usage.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <span>
#include <sstream>

#include "bench/workloads/large_program.h"
#include "bench/workloads/program_build.h"
#include "bench/workloads/shader_compile.h"
#include "bench/workloads/virtual_kernels.h"
#include "bench/workloads/workloads.h"
#include "ostra/host.h"
#include "ostra_bench_kernels.h"
#include "parallelprogram/program/kernel_registration.h"

namespace {

struct Workload {
  const char* name;
  bool (*run)(const bench::Options& options);
};

constexpr Workload kWorkloads[] = {
    {"saxpy", &bench::RunSaxpy},
    {"saxpy_again", &bench::RunSaxpyAgain},
    {"blur5", &bench::RunBlur5},
    {"mandelbrot", &bench::RunMandelbrot},
    {"nbody", &bench::RunNBody},
    {"dispatch", &bench::RunDispatch},
    {"heavy", &bench::RunHeavy},
    {"tex2d_rgba32f_coherent", &bench::RunTextures},
    {"tex2d_rgba32f_random", &bench::RunTextures},
    {"tex3d_r32f_coherent", &bench::RunTextures},
    {"tex3d_r32f_random", &bench::RunTextures},
    {"tex2d_srgb8_coherent", &bench::RunTextures},
    {"tex2d_srgb8_random", &bench::RunTextures},
    {"upload", &bench::RunUpload},
    {"store", &bench::RunStore},
    {"readback", &bench::RunReadBack},
    {"gpu_submit", &bench::RunGpuSubmit},
    {"gpu_replay", &bench::RunReplay},
    {"ping_pong", &bench::RunPingPong},
    {"shader_compile", &bench::RunShaderCompile},
    {"large_program", &bench::RunLargeProgram},
    {"kernel_compile", &bench::RunKernelCompile},
    {"draws", &bench::RunDraws},
    {"program_build", &bench::RunProgramBuild},
    {"terrain", &bench::RunTerrain},
    {"decode", &bench::RunDecode},
    {"elementary", &bench::RunElementary},
    {"translate", &bench::RunTranslate},
    {"editor", &bench::RunEditor},
};

constexpr Workload kParts[] = {
    {"first_dispatch", &bench::RunFirstDispatch},
    {"raw_first_dispatch", &bench::RunRawFirstDispatch},
    {"compile_in_jobs", &bench::RunCompileInJobs},
    {"compile_in_turn", &bench::RunCompileInTurn},
    {"compile_noises_in_jobs", &bench::RunCompileNoisesInJobs},
    {"compile_noises_in_turn", &bench::RunCompileNoisesInTurn},
    {"large_check_200", &bench::RunCheck200},
    {"large_check_1000", &bench::RunCheck1000},
    {"large_check_loops", &bench::RunCheckLoops},
    {"large_check_chains", &bench::RunCheckChains},
    {"large_check_vectors", &bench::RunCheckVectors},
    {"large_check_references", &bench::RunCheckReferences},
    {"large_device_200", &bench::RunDevice200},
    {"large_device_1000", &bench::RunDevice1000},
    {"large_add_100", &bench::RunAdd100},
    {"large_add_200", &bench::RunAdd200},
    {"large_add_1000", &bench::RunAdd1000},
    {"first_tile", &bench::RunFirstTile},
    {"raw_first_tile", &bench::RunRawFirstTile},
    {"first_terrain", &bench::RunFirstTerrain},
};

ostra::Result<void> RegisterOwnKernels(ostra::ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(ostra::RegisterKernels(module, GetKernels_ostra_bench()));
  return bench::RegisterVirtualKernels(module);
}

constexpr ostra::ModuleEntry kUnits[] = {{"kernels", &RegisterOwnKernels}};

ostra::ModuleDescriptor& GetApplication() {
  using namespace ostra::literals;
  static ostra::ModuleDescriptor application = {.id = "net.ostra.bench"_id, .version = "1", .units = kUnits};
  return application;
}

int Fail(const ostra::Error& error) {
  std::fprintf(stderr, "ostra-bench: %.*s\n", static_cast<int>(error.GetMessage().GetCount()),
               error.GetMessage().GetView().data());
  return 1;
}

// False, with the reason on standard error, for what is no number of rounds.
bool ReadRuns(const char* text, int& runs) {
  const char* const end = text + std::strlen(text);
  const auto result = std::from_chars(text, end, runs);
  if (result.ec == std::errc() && result.ptr == end && runs >= 1) return true;
  std::fprintf(stderr, "ostra-bench: --runs is \"%s\" and has to be a whole number from 1 on.\n", text);
  return false;
}

int Usage(bool isWanted) {
  std::fputs("usage: ostra-bench --list | [--runs N] [--peers NAME,...] WORKLOAD\n", isWanted ? stdout : stderr);
  return isWanted ? 0 : 2;
}

int Run(const Workload& workload, const bench::Options& options) {
  auto host = ostra::Host::Create();
  if (!host) return Fail(host.GetError());
  auto module = host->LoadModule("parallelprogram");
  if (!module) return Fail(module.GetError());
  // Without a backend the workloads of the GPU say so.
  auto backend = host->LoadModule("drawport_vulkan");
  if (!backend) Fail(backend.GetError());
  auto application = host->RegisterApplication(GetApplication());
  if (!application) return Fail(application.GetError());
  try {
    return workload.run(options) && bench::WereAllOffered(options) ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "ostra-bench: %s\n", exception.what());
    return 1;
  }
}

}  // namespace

int main(int argc, char** argv) {
  bench::Options options;
  const char* name = nullptr;
  bool isPart = false;
  for (int i = 1; i < argc; ++i) {
    const bool hasValue = i + 1 < argc;
    if (std::strcmp(argv[i], "--help") == 0) return Usage(true);
    if (std::strcmp(argv[i], "--list") == 0) {
      for (const Workload& workload : kWorkloads) std::puts(workload.name);
      return 0;
    }
    if (std::strcmp(argv[i], "--runs") == 0 && hasValue) {
      if (!ReadRuns(argv[++i], options.runs)) return 2;
    } else if (std::strcmp(argv[i], "--peers") == 0 && hasValue) {
      std::stringstream list(argv[++i]);
      for (std::string peer; std::getline(list, peer, ',');) options.peers.push_back(peer);
    } else if (std::strcmp(argv[i], "--part") == 0 && hasValue && !name) {
      name = argv[++i];
      isPart = true;
    } else if (argv[i][0] != '-' && !name) {
      name = argv[i];
    } else {
      return Usage(false);
    }
  }
  if (!name) return Usage(false);
  options.workload = name;
  for (const Workload& workload : isPart ? std::span<const Workload>(kParts) : std::span<const Workload>(kWorkloads)) {
    if (std::strcmp(workload.name, name) == 0) return Run(workload, options);
  }
  std::fprintf(stderr, "ostra-bench: there is no workload \"%s\"; --list names them.\n", name);
  return 2;
}
