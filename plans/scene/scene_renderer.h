// Carries a plan out on a device: stage files become programs of a shader loader, passes are drawn one after the other.
#pragma once

#include "ostra/drawport/renderer.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "plans/scene/render_plan.h"
#include "plans/scene/scene_kernels.h"

namespace ostra::plans {

struct RenderedScene {
  Image image;  // the first colour target of the last pass
  Int vertexCount = 0;
  Float64 milliseconds = 0;  // of drawing, with reading back
};

class SceneRenderer {
 public:
  // Everything must outlive the object. `context` is the one that the kernels have run on.
  SceneRenderer(const Scene& scene, const RenderPlan& plan, const SceneKernels& kernels,
                const DrawportContextRef& context, WorkObserver& observer);

  // Errors: those of the loader and of the renderer, with the place in the scene in front unless they name a line of a
  // stage file; illegal state if the observer stops the work, which is asked before each draw and each pass.
  Result<RenderedScene> Render();

 private:
  Result<void> StoreTextures();
  Result<void> MakeTarget(const PlannedPass& pass);
  Result<void> PrepareDraw(const PlannedDraw& draw, const ScenePass& pass);
  Result<void> LinkVertices(const PlannedDraw& draw);
  Result<void> LinkParameters(const PlannedDraw& draw);
  Result<void> LinkTexture(const PlannedStageTexture& texture);
  Result<void> LinkBuffer(const PlannedDraw& draw, const PlannedStageBuffer& buffer);
  Result<void> DrawPass(const PlannedPass& pass);
  // DrawPass for a profile.
  Result<void> MeasurePass(const PlannedPass& pass);
  Result<void> TakePassTimes();
  Result<void> Draw(const PlannedDraw& draw);
  const DrawportRenderTarget* GetTarget() const { return _targets.back().GetPointer(); }

  const Scene& _scene;
  const RenderPlan& _plan;
  const SceneKernels& _kernels;
  WorkObserver& _observer;
  DrawportRenderer _renderer;
  GeneralShaderLoaderRef _loader;
  std::vector<DrawportRenderTargetRef> _targets;  // by pass
  std::vector<std::optional<UInt64>> _passTimes;  // by pass; what the command list knows them by
  std::map<const PlannedDraw*, Int> _vertexCounts;
};

}  // namespace ostra::plans
