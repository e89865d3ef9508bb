// Errors of calls, with the file and line of the call: as a Result, or as an exception.
#pragma once

#include <exception>
#include <string>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/result.h"

namespace ostra {

// Where a client calls: the default of a last parameter.
struct CallSite {
  const char* file;
  Int32 line;

  static constexpr CallSite Here(const char* file = __builtin_FILE(), Int32 line = __builtin_LINE()) {
    return {file, line};
  }
};

// What the functions without "Try" throw.
class Exception : public std::exception {
 public:
  explicit Exception(Error error) : _error(std::move(error)), _message(_error.GetMessage().GetView()) {}

  const char* what() const noexcept override { return _message.c_str(); }
  const Error& GetError() const { return _error; }

 private:
  Error _error;
  std::string _message;
};

// The value of a result. Throws Exception for a failed one.
template <class T>
T OrThrow(Result<T> result) {
  if (!result) throw Exception(result.TakeError());
  if constexpr (!std::is_void_v<T>) return std::move(result).GetValue();
}

namespace client {

// The same error with "file:line: " in front of its message.
inline Error Locate(const Error& error, const CallSite& where) {
  if (error.GetKind() == kOutOfMemoryError) return error;
  std::string message = std::string(where.file) + ":" + std::to_string(where.line) + ": ";
  message += error.GetMessage().GetView();
  return Error::Make(error.GetKind(), message, "client", where.line);
}

// The result of `function`, whose error says where the client has called. Exhausted memory of the standard library is
// an error, too.
template <class Function>
auto CallAt(const CallSite& where, Function&& function) -> decltype(function()) {
  return CatchOutOfMemory("client", where.line, [&]() -> decltype(function()) {
    auto result = function();
    if (!result) return Locate(result.GetError(), where);
    return result;
  });
}

}  // namespace client

}  // namespace ostra
