// The "@" formatter and the errors made with it.
//
//   Format("@ of @ done", 3, 7)            -> "3 of 7 done"
//
// Placeholders are filled from left to right: texts as they are, integers in decimal without leading zeros, pointers
// in hexadecimal and null as "nullptr", Error by its message, types with GetView() by that text. Surplus arguments are
// ignored; surplus placeholders stay. Thread-safe.
#pragma once

#include <concepts>
#include <initializer_list>
#include <string_view>

#include "ostra/core/result.h"

namespace ostra {

// One value to print. Refers to the text it is made from; lives only during the call.
class OSTRA_API FormatArgument {
 public:
  template <class T>
  requires std::integral<T> FormatArgument(T value) {  // NOLINT(google-explicit-constructor)
    if constexpr (std::is_same_v<T, bool>)
      _text = value ? "true" : "false";
    else if constexpr (std::is_same_v<T, char>)
      SetCharacter(value);
    else if constexpr (std::is_signed_v<T>)
      SetInteger(static_cast<Int64>(value));
    else
      SetUnsigned(static_cast<UInt64>(value));
  }
  FormatArgument(Float64 value) { SetFloat(value); }                                      // NOLINT
  FormatArgument(std::string_view text) : _text(text) {}                                  // NOLINT
  FormatArgument(const char* text) : _text(text ? std::string_view(text) : "nullptr") {}  // NOLINT
  FormatArgument(const Error& error) : _text(error.GetMessage()) {}                       // NOLINT
  FormatArgument(std::nullptr_t) : _text("nullptr") {}                                    // NOLINT
  template <class T>
  requires requires(const T& value) {
    { value.GetView() } -> std::convertible_to<std::string_view>;
  }
  FormatArgument(const T& value) : _text(value.GetView()) {}  // NOLINT(google-explicit-constructor)
  template <class T>
  requires(!std::is_same_v<std::remove_const_t<T>, char>)
      FormatArgument(T* pointer) {  // NOLINT(google-explicit-constructor)
    SetPointer(reinterpret_cast<const void*>(pointer));
  }

  // Valid while this argument and the value it was made from live.
  std::string_view GetView() const { return _size ? std::string_view(_buffer, _size) : _text; }

 private:
  void SetInteger(Int64 value);
  void SetUnsigned(UInt64 value);
  void SetFloat(Float64 value);
  void SetPointer(const void* pointer);
  void SetCharacter(char character);

  std::string_view _text;
  std::size_t _size = 0;  // of the text in _buffer
  char _buffer[32];
};

OSTRA_API Result<String> FormatArguments(std::string_view pattern, std::initializer_list<FormatArgument> arguments);

// Fills the placeholders of `pattern`. Error: out of memory.
template <class... Arguments>
Result<String> Format(std::string_view pattern, const Arguments&... arguments) {
  return FormatArguments(pattern, {FormatArgument(arguments)...});
}

// An error whose message is made with Format.
template <class... Arguments>
Error MakeError(const Id& kind, const char* unit, Int32 line, std::string_view pattern, const Arguments&... arguments) {
  if constexpr (sizeof...(Arguments) == 0) {
    return Error::Make(kind, pattern, unit, line);
  } else {
    auto message = Format(pattern, arguments...);
    return message ? Error::Make(kind, *message, unit, line) : Error::MakeOutOfMemory(unit, line);
  }
}

}  // namespace ostra

#define OSTRA_ILLEGAL_ARGUMENT(...) \
  ::ostra::MakeError(::ostra::kIllegalArgumentError, kOstraUnit, __LINE__, __VA_ARGS__)
#define OSTRA_ILLEGAL_STATE(...) ::ostra::MakeError(::ostra::kIllegalStateError, kOstraUnit, __LINE__, __VA_ARGS__)
#define OSTRA_NOT_IMPLEMENTED(...) ::ostra::MakeError(::ostra::kNotImplementedError, kOstraUnit, __LINE__, __VA_ARGS__)

// Return an error that quotes the C++ expression when it does not hold.
#define OSTRA_CHECK_ARGUMENT(condition)                                                          \
  do {                                                                                           \
    if (!(condition)) [[unlikely]]                                                               \
      return OSTRA_ILLEGAL_ARGUMENT("Illegal argument: Condition @ not fulfilled.", #condition); \
  } while (false)
#define OSTRA_CHECK_STATE(condition)                                                       \
  do {                                                                                     \
    if (!(condition)) [[unlikely]]                                                         \
      return OSTRA_ILLEGAL_STATE("Illegal state: Condition @ not fulfilled.", #condition); \
  } while (false)
#define OSTRA_CHECK_STATE_EXPLAINED(condition, explanation)                                               \
  do {                                                                                                    \
    if (!(condition)) [[unlikely]]                                                                        \
      return OSTRA_ILLEGAL_STATE("Illegal state: Condition @ not fulfilled. @", #condition, explanation); \
  } while (false)
