// A drawport: a device as seen by one cache. Thread-safe.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport/context.h"

namespace ostra {

// Limits of a device, constant. Programs round the chunk sizes down to whole elements and divide by 64ths of them, so
// none of those is below 64 KiB.
class DrawportCapabilities {
 public:
  struct Entry {
    DrawportCapability capability;
    Int value;
  };

  DrawportCapabilities() = default;
  explicit DrawportCapabilities(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) _entries[_count++] = entry;
  }
  // 0 for a capability that is not in the table.
  Int GetValue(DrawportCapability capability) const {
    for (Int i = 0; i < _count; ++i)
      if (_entries[i].capability == capability) return _entries[i].value;
    return 0;
  }

 private:
  Entry _entries[4] = {};
  Int _count = 0;
};

class DrawportInterface : public DrawportObject {
 public:
  virtual DrawportCacheRef GetDrawportCache() const = 0;
  // A context without a window. `sharesWithCaller`: the caller has a context of its own; contexts of one device always
  // share what is on it. `deviceIndex` counts the devices from the one that suits best, which is 0.
  // Errors: illegal argument for an index without a device, with the number of devices; illegal state when the device
  // does not start; not implemented without a backend; out of memory.
  virtual Result<DrawportContextRef> CreateOffscreenRenderContext(Bool sharesWithCaller, Int32 deviceIndex) = 0;
  // The device index for contexts that draw: the first device that can draw; 0 when none can. No device is started.
  virtual Int32 GetDrawingDevice() const { return 0; }
  // What programs are written in.
  virtual const Id& GetShadingLanguage() const = 0;
  virtual const DrawportCapabilities& GetCapabilities() const = 0;

 protected:
  ~DrawportInterface() = default;
};

}  // namespace ostra
