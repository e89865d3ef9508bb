// Puts pieces of text together.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace ostra::kernellanguage {

inline std::string Join(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

// "a, b"
inline std::string JoinList(const std::vector<std::string>& parts) {
  std::string list;
  for (const std::string& part : parts) list += Join({list.empty() ? "" : ", ", part});
  return list;
}

}  // namespace ostra::kernellanguage
