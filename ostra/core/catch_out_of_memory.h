// Where the standard library meets the error contract of the host: it throws when memory is exhausted, callers get an
// error.
//
//   return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<Names> {
//     std::vector<std::string> names;
//     ...
//   });
#pragma once

#include <new>

#include "ostra/core/error.h"

namespace ostra {

// What `function` returns, a Result or an Error. Error: out of memory, raised in `unit` at `line`, when it throws
// std::bad_alloc or what derives from that, as std::bad_array_new_length; other exceptions pass through. What the
// function holds is released before. As thread-safe as the function.
template <class Function>
auto CatchOutOfMemory(const char* unit, Int32 line, Function&& function) -> decltype(function()) {
  try {
    return function();
  } catch (const std::bad_alloc&) {
    return Error::MakeOutOfMemory(unit, line);
  }
}

}  // namespace ostra
