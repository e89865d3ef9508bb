// What a scenario gives its kernel: values, buffers, counters and a noise, on every backend.
#pragma once

#include <vector>

#include "ostra/core/data_type.h"
#include "ostra/math/data_types.h"

namespace ostra::conformance {

struct BufferElements {
  DataType elementType;
  DataType blockType;  // of a block of them
  const void* first = nullptr;
  Int count = 0;
};

class ScenarioTarget {
 public:
  template <class T>
  void SetValue(const char* name, const T& value) {
    SetTypedValue(name, GetDataType<T>(), &value);
  }
  template <class T>
  void SetBuffer(const char* name, const std::vector<T>& elements) {
    SetTypedBuffer(name,
                   {GetDataType<T>(), GetDataType<Block<T>>(), elements.data(), static_cast<Int>(elements.size())});
  }
  virtual void SetCounter(const char* name, UInt32 value) = 0;
  // One noise under number 0.
  virtual void SetNoise(const Id& classId, Int32 seed) = 0;

  virtual void SetTypedValue(const char* name, const DataType& type, const void* value) = 0;
  virtual void SetTypedBuffer(const char* name, const BufferElements& elements) = 0;

 protected:
  ~ScenarioTarget() = default;
};

}  // namespace ostra::conformance
