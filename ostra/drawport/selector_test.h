// Whether a backend can be used here. A backend NAME registers the class net.ostra.drawport.selectortestclass.NAME, and
// its cache as net.ostra.drawport.cache.NAME; an absent class means no. Objects are made, asked once and dropped.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

class DrawportSelectorTestInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.selectortest"_id;
  // Any thread.
  virtual Bool IsSupported() const = 0;
};
using DrawportSelectorTestRef = StrongRef<DrawportSelectorTestInterface>;

// The backends that there may be, in the order in which they are asked.
inline constexpr std::string_view kDrawportBackendNames[] = {"directx", "metal", "vulkan", "opengl"};

inline constexpr std::string_view kSelectorTestClassPrefix = "net.ostra.drawport.selectortestclass.";
inline constexpr std::string_view kDrawportCacheClassPrefix = "net.ostra.drawport.cache.";

// The cache of backend `name`, such as "directx"; null when its class is absent or answers no. Error: out of memory.
OSTRA_API Result<StrongRef<class DrawportCacheInterface>> FindSupportedCache(std::string_view name);

}  // namespace ostra
