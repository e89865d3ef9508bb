// ReplacedFunction: a function of the driver that does something else as long as this lives.
//
//   const ReplacedFunction replaced(vkFreeMemory, [](VkDevice, VkDeviceMemory, const VkAllocationCallbacks*) {});
#pragma once

#include <volk.h>

namespace ostra {

template <class Function>
class ReplacedFunction {
 public:
  ReplacedFunction(Function& place, Function other) : _place(place), _original(place) { place = other; }
  ReplacedFunction(const ReplacedFunction&) = delete;
  ~ReplacedFunction() { _place = _original; }

 private:
  Function& _place;
  Function _original;
};

}  // namespace ostra
