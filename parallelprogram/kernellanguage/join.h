// Puts pieces of text together.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace ostra::kernellanguage {

inline std::string Join(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

}  // namespace ostra::kernellanguage
