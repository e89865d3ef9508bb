// Arrays of the host from lists and back.
//
//   program->StoreUniformBufferData("a"_iid, MakeArray<Float32>({1, 2, 3}));
//   EXPECT_EQ(GetElements<Float32>(program->GetGlobalBufferData("a"_iid)), (std::vector<Float32>{1, 2, 3}));
//
// What is no array, or one of other elements, is a failure of the test.
#pragma once

#include <gmock/gmock.h>

#include <vector>

#include "ostra/core/data.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

template <class T>
BaseArray<T> MakeArray(const std::vector<T>& values) {
  BaseArray<T> array;
  for (const T& value : values) EXPECT_THAT(array.Append(value), IsOk());
  return array;
}

// The elements of an Array; of one in pieces those of the first piece.
template <class T>
std::vector<T> GetElements(const Data& data) {
  const auto* array = data.GetIf<Array<T>>();
  if (!array) {
    ADD_FAILURE() << "The value is a " << data.GetType().GetView();
    return {};
  }
  const Block<T> block = array->GetFirstBlock();
  std::vector<T> elements;
  for (Int i = 0; i < block.GetCount(); ++i) elements.push_back(block[i]);
  return elements;
}

template <class T>
std::vector<T> GetElements(const Result<Data>& data) {
  EXPECT_THAT(data, IsOk());
  return data ? GetElements<T>(*data) : std::vector<T>();
}

// The bytes of an Array, whatever its elements are.
inline std::vector<Byte> GetBytes(const Result<Data>& data) {
  EXPECT_THAT(data, IsOk());
  const auto* array = data ? data->GetIf<Array<Generic>>() : nullptr;
  if (!array) {
    ADD_FAILURE() << "The value is no array.";
    return {};
  }
  const Block<Generic> block = array->GetFirstBlock();
  const auto* first = reinterpret_cast<const Byte*>(block.GetFirst());
  return {first, first + block.GetCount() * block.GetStride()};
}

}  // namespace ostra::test
