// How the front step stops: with an exception inside the library, which becomes an error at its border.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace ostra::kernelfront {

inline std::string Join(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

struct Failure {
  std::string message;  // file:line: error: ...
};

[[noreturn]] inline void Fail(const std::string& file, int line, const std::string& message) {
  throw Failure{Join({file, ":", std::to_string(line), ": error: ", message})};
}

}  // namespace ostra::kernelfront
