// KernelRunner: kernel files run as `ostra run` runs them: buffers and textures from files, values as texts, results to
// files and arrays. For programs that learn at run time which kernel it is; one that knows its kernels calls them with
// a struct (clients/cpp).
//
//   OSTRA_ASSIGN_OR_RETURN(KernelRunner runner, KernelRunner::Create(host));
//   OSTRA_ASSIGN_OR_RETURN(const KernelRunResult result,
//                          runner.Run(file, {.inputs = {{"source", "photo.png"}}, .outputs = {{"target", "out.png"}},
//                                            .values = {{"strength", "0.5"}}, .results = {"target"}}));
//   const Array<Generic>* target = result.FindBuffer("target");
//
// Link ostra::plans. The module "parallelprogram" must be loaded.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ostra/core/array.h"
#include "ostra/host.h"
#include "ostra/io/url.h"
#include "plans/work_observer.h"

namespace ostra {

struct KernelRunnerSettings {
  // Of compiled kernels; empty: as KernelRuntimeSettings::cacheFolder.
  std::string cacheFolder = {};
  // Lets the compiler reorder floating-point arithmetic on the CPU.
  Bool isFast = false;
  // Indices, divisors and loops are checked, and kernels with C++ of their own refused (KernelReportOptions).
  Bool isChecked = false;
  // Called by the thread that runs, outlives the runner. Null: only diagnostics are shown, on standard error.
  plans::WorkObserver* observer = nullptr;
};

// What a kernel is run on.
struct KernelRunRequest {
  using Texts = std::vector<std::pair<std::string, std::string>>;

  // A buffer or texture, and a file or "zeros:640x480" or "ones:1024"; several for one texture make its layers.
  Texts inputs = {};
  Texts outputs = {};                     // a buffer and the file that it is written to
  Texts values = {};                      // a uniform or counter and its value: "0.5", "1,2,3"
  Texts textures = {};                    // a texture and how it is read: "wrap=repeat"
  Texts swaps = {};                       // buffers that change places between two dispatches
  std::vector<std::string> results = {};  // buffers that are returned as arrays
  std::vector<Int> size = {};             // of the dispatch, 1 to 3 numbers; empty: that of the buffers
  Int iterationCount = 1;                 // dispatches
  Bool isOnGpu = false;                   // on the first GPU; the backend is loaded into the host unless it is there
  std::string type = {};                  // takes the place of TYPE in the kernel
};

struct KernelRunBuffer {
  std::string name;
  Array<Generic> elements;
};

struct KernelRunResult {
  Float64 milliseconds = 0;                              // of the dispatches
  std::vector<KernelRunBuffer> buffers;                  // those that were asked for
  std::vector<std::pair<std::string, UInt32>> counters;  // all, with their values after the last dispatch
  std::vector<std::string> prints;                       // lines that the kernel printed, with file and line
  Int lostPrintCount = 0;                                // prints that there was no room for

  // Null for a buffer that was not asked for.
  const Array<Generic>* FindBuffer(std::string_view name) const {
    for (const KernelRunBuffer& buffer : buffers)
      if (buffer.name == name) return &buffer.elements;
    return nullptr;
  }
};

// A kernel is compiled once, kept in the cache folder, and compiled again after an edit. Used by one thread at a time,
// together with all other functions of the host, which it does not outlive.
class OSTRA_API KernelRunner {
 public:
  // Errors: those of KernelRuntime::Create.
  static Result<KernelRunner> Create(Host& host, KernelRunnerSettings settings = {});
  KernelRunner(KernelRunner&&) noexcept;
  KernelRunner& operator=(KernelRunner&&) noexcept;
  ~KernelRunner();

  // Runs the kernel in `file`. When that has succeeded the outputs are written, one after the other. Errors: those of
  // KernelRuntime::Load; of the kind plans::kUsageError for names, values and sizes that do not suit the kernel, with
  // the nearest name; file errors; illegal state without a device, if the observer stops the work, for an ASSERT that
  // does not hold and for what checks find; out of memory.
  Result<KernelRunResult> Run(const Url& file, const KernelRunRequest& request);

 private:
  class Implementation;
  explicit KernelRunner(std::unique_ptr<Implementation> implementation);

  std::unique_ptr<Implementation> _implementation;
};

}  // namespace ostra
