// PerDevice<T>: what a cache item has on each device that it was made valid for. All of it stays until the item goes,
// so that pointers to it hold as long as the item does, whatever context it is made valid for next.
#pragma once

#include <mutex>

#include "ostra/drawport_vulkan/resource.h"

namespace ostra::vulkan {

template <class T>
class PerDevice {
 public:
  // That of `device`; when there is none, what create() (→ Result<StrongRef<T>>) makes. Thread-safe.
  template <class Create>
  Result<T*> Get(const Device& device, Create&& create) {
    const std::scoped_lock lock(_mutex);
    for (const StrongRef<T>& known : _objects)
      if (&known->GetDevice() == &device) return known.GetPointer();
    OSTRA_RETURN_IF_ERROR(_objects.Reserve(_objects.GetCount() + 1));
    OSTRA_ASSIGN_OR_RETURN(StrongRef<T> made, create());
    OSTRA_ASSIGN_OR_RETURN(StrongRef<T> & added, _objects.Append(std::move(made)));
    return added.GetPointer();
  }

 private:
  std::mutex _mutex;
  BaseArray<StrongRef<T>> _objects;
};

}  // namespace ostra::vulkan
