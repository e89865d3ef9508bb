// DrawportRenderer: draws into targets and reads them back. Small on purpose: it shows how a renderer uses programs and
// the getters of a loader.
//
//   DrawportRenderer renderer(context);
//   OSTRA_ASSIGN_OR_RETURN(DrawportRenderTargetRef target, renderer.CreateTarget(description));
//   OSTRA_RETURN_IF_ERROR(loader->AddShaders("model"_iid, files, 0, target.GetPointer(), parameters, true));
//   ... store data, set uniforms, loader->UpdateUniforms(target.GetPointer()) ...
//   OSTRA_RETURN_IF_ERROR(renderer.Begin(target, {}));
//   DrawportDrawCall call;
//   OSTRA_ASSIGN_OR_RETURN(call.program, loader->GetActiveProgramFactory());
//   OSTRA_ASSIGN_OR_RETURN(call.values, loader->GetActiveValueSet());
//   ...
//   OSTRA_RETURN_IF_ERROR(renderer.Draw(call));
//   OSTRA_RETURN_IF_ERROR(renderer.End());
//   OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> pixels, renderer.ReadColor(*target, 0));
//
// One call at a time, by the thread that drives the context. Errors: those of the cache and of the command list.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/program_factory.h"
#include "ostra/image/image.h"

namespace ostra {

class OSTRA_API DrawportRenderer {
 public:
  explicit DrawportRenderer(DrawportContextRef context) : _context(std::move(context)) {}
  DrawportRenderer(const DrawportRenderer&) = delete;
  // A pass that was begun is ended; a target stays alive until then.
  ~DrawportRenderer();

  const DrawportContextRef& GetContext() const { return _context; }

  Result<DrawportRenderTargetRef> CreateTarget(const DrawportRenderTargetDescription& description);

  // A pass; see DrawportCommandList::BeginDrawPass.
  Result<void> Begin(const DrawportRenderTargetRef& target, const DrawportClearValues& clear);
  Result<void> Draw(const DrawportDrawCall& call);
  Result<void> End();
  // Submits what was drawn, and waits for it if asked. Reading does so by itself.
  Result<void> Execute(Bool wait);

  // The texels of a target, rows from top to bottom without gaps, in its format; several samples give their mean.
  // Error: illegal argument for a target that is not there.
  Result<BaseArray<Byte>> ReadColor(const DrawportRenderTarget& target, Int index);
  // The same as a picture: red alone is put into all three colours, alpha that is missing is 1, integers of 8 and 16
  // bits are divided by their largest value, those of 32 bits taken as they are.
  Result<Image> ReadImage(const DrawportRenderTarget& target, Int index);
  // One depth a pixel, 0 (near) to 1 (far), whatever the format.
  Result<BaseArray<Float32>> ReadDepth(const DrawportRenderTarget& target);

  // A sampler for the textures of a target, alive as long as the renderer. `key`: see DrawportSamplerKey.
  Result<DrawportTextureSampler*> GetSampler(UInt8 key);

 private:
  Result<BaseArray<Byte>> ReadTexture(DrawportTexture& texture);

  DrawportContextRef _context;
  DrawportRenderTargetRef _target;  // of the pass
  BaseArray<DrawportTextureSamplerItemRef> _samplers;
};

}  // namespace ostra
