// A scene from its file to a picture, in the steps that a command shows one by one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/host.h"
#include "plans/scene/scene_renderer.h"

namespace ostra::plans {

// Errors: those of ReadFileToMemory and ParseScene.
Result<Scene> ReadScene(const Url& file);

// Replaces a value that stands under "values". Error: usage error "the scene has no value ..." with the nearest name.
Result<void> SetSceneValue(Scene& scene, const std::string& name, std::vector<Float64> numbers);

// Notes on what was done to the files of the plan.
void ShowNotes(const RenderPlan& plan, WorkObserver& observer);

struct DrawnScene {
  RenderedScene rendered;
  std::string device;  // its name; empty if the devices cannot be listed
};

// Runs the scene's kernels and draws its passes on the first device, which StartGpu has started. `plan` is the one of
// the scene, whose file lies in `folder`. Errors: illegal state for targets that the device has no memory for; those of
// SceneKernels and SceneRenderer.
Result<DrawnScene> DrawScene(const Scene& scene, const RenderPlan& plan, const Url& folder,
                             const KernelCacheFolder& cache, Host& host, WorkObserver& observer);

}  // namespace ostra::plans
