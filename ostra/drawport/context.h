// A context: the side of a device that one thread at a time records work on. Queries may come from any thread.
#pragma once

#include "ostra/drawport/object.h"
#include "ostra/drawport/resources.h"

namespace ostra {

class DrawportCommandList;
class DrawportInterface;
using DrawportRef = StrongRef<DrawportInterface>;

// Bytes of device memory; -1 when unknown.
struct VideoMemoryBudget {
  Int64 available = -1;
  Int64 total = -1;
};

class DrawportContextInterface : public DrawportObject {
 public:
  // Never null. The same one for all contexts of a device that were made through one drawport.
  virtual DrawportRef GetDrawport() const = 0;
  virtual Bool IsFeatureSupported(DrawportFeature feature) const = 0;
  // What textures of `format` can be used for. `isFloatingPoint` names the value class that the caller expects; another
  // class than the format's answers None, as does no format.
  virtual DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef format, Bool isFloatingPoint) const = 0;
  // The same one until the context dies.
  virtual DrawportCommandList& GetCommandList() = 0;
  // What can still be allocated, and what there is at all. A limit set with SetDrawportMemoryLimit counts.
  virtual VideoMemoryBudget GetAvailableAndTotalVRAMBudget() const = 0;

 protected:
  ~DrawportContextInterface() = default;
};
using DrawportContextRef = StrongRef<DrawportContextInterface>;

// The budget where there is no context: unknown.
constexpr VideoMemoryBudget GetDefaultVRAMBudget() { return {}; }

}  // namespace ostra
