// What the test modules and the tests of loading agree on.
#pragma once

#include "ostra/object/interface.h"

namespace ostra {

inline constexpr Id kGoodModule = "com.example.good"_id;
inline constexpr Id kGoodFramework = "com.example.good.framework"_id;
inline constexpr Id kCounterClass = "com.example.counter"_id;
inline constexpr Id kCounterRegistry = "com.example.registry.counters"_id;
inline constexpr Id kNumbersInterface = "com.example.interface.numbers"_id;

class CounterInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "com.example.interface.counter"_id;
  virtual Int Next() = 0;
};

}  // namespace ostra
