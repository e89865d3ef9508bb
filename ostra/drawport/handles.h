// The handle types of the GPU layer that the parallel program contract names. The layer itself adds its operations to
// these interfaces; programs that run on the CPU only pass the handles on.
#pragma once

#include "ostra/object/interface.h"

namespace ostra {

// A rendering or compute context of one device. Compared by identity.
class DrawportContextInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.drawportcontext"_id;
};
using DrawportContextRef = StrongRef<DrawportContextInterface>;

// A texture and a sampler on the device. Not owned: valid while the cache item that yields them lives.
class DrawportTexture;
class DrawportTextureSampler;

// The cache items that own them.
class DrawportTextureItemInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.textureitem"_id;
};
using DrawportTextureItemRef = StrongRef<DrawportTextureItemInterface>;

class DrawportTextureSamplerItemInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.texturesampleritem"_id;
};
using DrawportTextureSamplerItemRef = StrongRef<DrawportTextureSamplerItemInterface>;

}  // namespace ostra
