// Keys of what is made for a draw pass, and the programs that are kept for a later start.
#include "ostra/drawport/draw_pass.h"

#include "ostra/drawport/cache.h"
#include "ostra/drawport/shader_cache_access.h"

OSTRA_UNIT("drawport");

namespace ostra {

DrawportCacheKey MakeDrawportCacheKey(const DrawportRef& drawport, DrawportCacheKeyKind kind,
                                      const DrawportDrawPass* pass) {
  DrawportCacheKey key = MakeDrawportCacheKey(drawport, kind);
  const DrawportFramebufferTargetSet* targets = pass ? pass->GetDefaultFramebufferTargetSet() : nullptr;
  key.Append(targets ? 1 : 0);
  if (!targets) return key;
  key.Append(static_cast<UInt64>(targets->GetColorCount()));
  // There is one object per format.
  for (Int i = 0; i < targets->GetColorCount(); ++i) key.Append(reinterpret_cast<UInt64>(targets->GetColorFormat(i)));
  key.Append(static_cast<UInt64>(targets->GetDepthFormat()));
  key.Append(static_cast<UInt64>(targets->GetSampleCount()));
  return key;
}

Result<void> DrawportShaderCacheAccess::AddProgramFactoryCacheItemToShaderCache(
    DrawportContextInterface& context, DrawportProgramFactoryItemInterface& item,
    const DrawportVertexAttributeSet* attributes, const DrawportFramebufferTargetSet* targets) {
  // Backends keep whatever they compile.
  OSTRA_RETURN_IF_ERROR(item.MakeValid(context, attributes, targets));
  return OK;
}

}  // namespace ostra
