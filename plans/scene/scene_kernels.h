// The kernels of a scene: run once before anything is drawn, their buffers then read where they are.
#pragma once

#include <map>
#include <memory>

#include "ostra/host.h"
#include "plans/run/program_run.h"
#include "plans/scene/scene.h"

namespace ostra::plans {

class SceneKernels {
 public:
  // Runs all kernels on the device of `context`. Compiled ones are kept in `cache`. Errors: illegal argument
  // "FILE: PATH: ..." for what does not fit the kernel; "file:line: error: ..." for what is wrong in its file; those of
  // the device.
  static Result<SceneKernels> Run(const Scene& scene, const Url& folder, const KernelCacheFolder& cache, Host& host,
                                  const DrawportContextRef& context, WorkObserver& observer);

  // A buffer after the last dispatch. Errors: illegal argument "FILE: PATH: ..." for a kernel without such a buffer.
  struct Buffer {
    Data link;  // what a loader is given
    DataType elementType;
    Int count = 0;
  };
  Result<Buffer> GetBuffer(const SceneKernelBuffer& source, const ScenePath& path) const;

 private:
  struct Kernel {
    RunPlan plan;
    std::optional<ProgramRun> run;
  };

  explicit SceneKernels(const Scene& scene) : _scene(&scene) {}
  Result<void> RunKernel(const std::string& name, const SceneKernel& kernel, const Url& folder,
                         const KernelCacheFolder& cache, Host& host, const DrawportContextRef& context,
                         WorkObserver& observer);

  const Scene* _scene;
  std::map<std::string, std::unique_ptr<Kernel>> _kernels;
};

}  // namespace ostra::plans
