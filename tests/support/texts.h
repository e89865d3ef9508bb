// Turns the host's lists of names into vectors that GoogleTest can compare and print.
//
//   EXPECT_THAT(GetTexts(ids), ElementsAre("com.example.first", "com.example.second"));
#pragma once

#include <string>
#include <vector>

#include "ostra/core/base_array.h"

namespace ostra {

template <class T>
std::vector<std::string> GetTexts(const BaseArray<T>& names) {
  std::vector<std::string> texts;
  for (const T& name : names) texts.emplace_back(name.GetView());
  return texts;
}

}  // namespace ostra
