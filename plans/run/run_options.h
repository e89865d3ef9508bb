// What a run was asked to do.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ostra/io/url.h"
#include "plans/run/setting_names.h"
#include "plans/values/extents.h"

namespace ostra::plans {

// "name=value" of an option that may be given several times.
using Assignments = std::vector<std::pair<std::string, std::string>>;

// Where a kernel runs. Both: on the CPU, then on the GPU, whose results are written and compared with those of the CPU.
enum class Backend { Cpu, Gpu, Both };

struct KernelCacheFolder {
  std::string path = {};                                       // empty: as KernelRuntimeSettings::cacheFolder
  std::string setting = "KernelRuntimeSettings::cacheFolder";  // what messages call the way to choose it
};

struct RunOptions {
  Url kernelFile;
  std::string templateArgument;                            // takes the place of TYPE; empty for most kernels
  Assignments inputs;                                      // buffer or texture and where its elements come from
  Assignments outputs;                                     // buffer and the file it is written to
  Assignments settings;                                    // uniform or counter and its value
  Assignments textures;                                    // texture and how it is read
  Extents size;                                            // of the dispatch; unknown: ChooseDefaultSize says it
  Int repeatCount = 1;                                     // times that the whole run is made, each from the same start
  Int iterationCount = 1;                                  // dispatches of one run
  std::vector<std::pair<std::string, std::string>> swaps;  // buffers exchanged between two dispatches
  Backend backend = Backend::Cpu;
  Bool isFast = false;
  Bool isChecked = false;        // indices, divisors and steps of loops are checked
  Int stepLimit = 0;             // of the loops of an invocation, when it is checked; 0: what suits the device
  Bool isSilent = false;         // PRINT and ASSERT are left out
  Int printRoom = Int{1} << 20;  // bytes
  Bool isDebugged = false;       // the CPU's kernel is compiled for a debugger, and runs on one thread
  Bool isExplained = false;      // the report says how many invocations run at a time on the CPU
  Bool isProfiled = false;
  std::string traceFile = {};                   // of the profile; empty for none
  std::optional<Float64> differenceBound = {};  // the first larger difference of CPU and GPU is looked for
  Bool isJson = false;
  KernelCacheFolder cache = {};
  SettingNames names = {};
};

}  // namespace ostra::plans
