// Programs that are kept on disk, so that a later start does not compile them.
#pragma once

#include "ostra/drawport/cache_items.h"

namespace ostra {

class OSTRA_API DrawportShaderCacheAccess {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.drawportshadercacheaccess"_id;

  // Compiles a program for the attributes and targets (null: for any) unless that has been done on this machine before,
  // and keeps the result. Called before the item is made valid, which is then quick. Errors: those of
  // DrawportProgramFactoryItemInterface::MakeValid.
  static Result<void> AddProgramFactoryCacheItemToShaderCache(DrawportContextInterface& context,
                                                              DrawportProgramFactoryItemInterface& item,
                                                              const DrawportVertexAttributeSet* attributes,
                                                              const DrawportFramebufferTargetSet* targets);
};

}  // namespace ostra
