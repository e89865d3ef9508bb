// Where code that throws meets callers that catch nothing: they get an error.
//
//   return CatchExceptions(kOstraUnit, __LINE__, "The scene cannot be drawn", [&]() -> Result<Image> { ... });
#pragma once

#include <exception>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"

namespace ostra {

// What `function` returns, a Result or an Error. Errors, raised in `unit` at `line`: out of memory, as of
// CatchOutOfMemory; illegal state with "WHAT: TEXT." for any other std::exception. As thread-safe as the function.
template <class Function>
auto CatchExceptions(const char* unit, Int32 line, std::string_view what, Function&& function) -> decltype(function()) {
  try {
    return CatchOutOfMemory(unit, line, function);
  } catch (const std::exception& exception) {
    return MakeError(kIllegalStateError, unit, line, "@: @.", what, std::string_view(exception.what()));
  }
}

}  // namespace ostra
