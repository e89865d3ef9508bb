// How the front step stops: with an exception inside the library, which becomes an error at its border.
#pragma once

#include <string>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernelfront {

using kernellanguage::Join;

struct Failure {
  std::string message;  // file:line: error: ...
};

[[noreturn]] inline void Fail(const std::string& file, int line, const std::string& message) {
  throw Failure{Join({file, ":", std::to_string(line), ": error: ", message})};
}

}  // namespace ostra::kernelfront
