// A GPU program on a recording GPU layer, with what tests of its buffers do all the time.
#pragma once

#include "parallelprogram/program/shader_data_entries.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {

class GpuBuffersTest : public GpuCallsTest {
 protected:
  template <class T>
  static BaseArray<T> MakeArray(const std::vector<T>& values) {
    BaseArray<T> array;
    for (const T& value : values) EXPECT_THAT(array.Append(value), IsOk());
    return array;
  }
  template <class T>
  std::vector<T> Read(InternedId id) {
    const auto data = program->GetGlobalBufferData(id);
    EXPECT_THAT(data, IsOk());
    const auto* array = data ? data->GetIf<Array<T>>() : nullptr;
    std::vector<T> values;
    for (Int i = 0; array && i < array->GetCount(); ++i) values.push_back((*array)[i]);
    return values;
  }
  template <class T>
  Result<void> StoreValues(InternedId id, const std::vector<T>& values) {
    return program->StoreUniformBufferData(id, MakeArray(values));
  }
  template <class T>
  Result<void> Update(InternedId id, Int offset, const std::vector<T>& values) {
    return program->UpdateUniformBufferData(id, offset, MakeArray(values));
  }
  DataBufferEntry GetEntry(InternedId id) {
    const auto data = program->GetGlobalBufferLink(id);
    const auto* entry = data ? data->GetIf<DataBufferEntry>() : nullptr;
    return entry ? *entry : DataBufferEntry();
  }
};

}  // namespace ostra::test
