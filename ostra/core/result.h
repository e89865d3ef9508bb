// Result<T>: a value or an Error. Results cannot be dropped by accident.
//
//   Result<Int> Parse(std::string_view text);
//
//   Result<void> Use(std::string_view text) {
//     OSTRA_ASSIGN_OR_RETURN(Int number, Parse(text));   // binds the value, or returns the error
//     OSTRA_RETURN_IF_ERROR(Store(number));
//     return OK;
//   }
//
// Result<T&> refers to an object that it does not own.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "ostra/core/error.h"

namespace ostra {

// The value of a successful Result<void>.
struct OkType {};
inline constexpr OkType OK;

// Ends the process with a message: a value was asked of a failed Result.
[[noreturn]] OSTRA_API void FailValueAccess(const Error& error);

template <>
class [[nodiscard]] Result<void> {
 public:
  Result(OkType) noexcept {}                                                 // NOLINT(google-explicit-constructor)
  Result(Error error) noexcept : _error(Error::Failed(std::move(error))) {}  // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return IsOk(); }
  Bool IsOk() const { return !_error._record; }
  const Error& GetError() const { return _error; }
  // Only for a failed result, which stays failed.
  Error TakeError() { return std::move(_error); }

 private:
  Error _error{static_cast<ErrorRecord*>(nullptr)};
};
// Kernels return one per invocation.
static_assert(sizeof(Result<void>) == sizeof(void*));

template <class T>
class [[nodiscard]] Result {
  static constexpr Bool IS_REFERENCE = std::is_reference_v<T>;
  using Value = std::conditional_t<IS_REFERENCE, std::remove_reference_t<T>*, T>;
  using Reference = std::conditional_t<IS_REFERENCE, T, T&>;
  using ConstReference = std::conditional_t<IS_REFERENCE, T, const T&>;

 public:
  Result(Error error) noexcept : _error(Error::Failed(std::move(error))) {}  // NOLINT(google-explicit-constructor)
  // The formatter takes constraints for parts of the constructors.
  // clang-format off
  template <class Source>
    requires(IS_REFERENCE && std::is_convertible_v<Source&, T> &&
             !std::is_same_v<std::remove_cvref_t<Source>, Result> && !std::is_same_v<std::remove_cvref_t<Source>, Error>)
  Result(Source& value) noexcept : _value(&value) {}  // NOLINT(google-explicit-constructor)
  template <class Source = T>
    requires(!IS_REFERENCE && std::is_convertible_v<Source&&, T> &&
             !std::is_same_v<std::remove_cvref_t<Source>, Result> && !std::is_same_v<std::remove_cvref_t<Source>, Error>)
  Result(Source&& value) : _value(std::forward<Source>(value)) {}  // NOLINT(google-explicit-constructor)
  // clang-format on

  Result(const Result& other) : _error(other._error) {
    if (other.IsOk()) ::new (&_value) Value(other._value);
  }
  Result(Result&& other) noexcept : _error(std::move(other._error)) {
    if (IsOk()) ::new (&_value) Value(std::move(other._value));
  }
  Result& operator=(const Result&) = delete;
  Result& operator=(Result&& other) noexcept {
    this->~Result();
    return *::new (this) Result(std::move(other));
  }
  ~Result() {
    if (IsOk()) _value.~Value();
  }

  explicit operator bool() const { return IsOk(); }
  Bool IsOk() const { return !_error._record; }
  const Error& GetError() const { return _error; }
  // Only for a failed result, which stays failed.
  Error TakeError() { return std::move(_error); }

  // The value. Only for a successful result: anything else ends the process.
  Reference GetValue() & {
    Check();
    if constexpr (IS_REFERENCE)
      return static_cast<T>(*_value);
    else
      return _value;
  }
  ConstReference GetValue() const& {
    Check();
    if constexpr (IS_REFERENCE)
      return static_cast<T>(*_value);
    else
      return _value;
  }
  T GetValue() && {
    Check();
    if constexpr (IS_REFERENCE)
      return static_cast<T>(*_value);
    else
      return std::move(_value);
  }
  Reference operator*() & { return GetValue(); }
  ConstReference operator*() const& { return GetValue(); }
  T operator*() && { return std::move(*this).GetValue(); }
  std::remove_reference_t<T>* operator->() { return &GetValue(); }
  const std::remove_reference_t<T>* operator->() const { return &GetValue(); }

 private:
  void Check() const {
    if (!IsOk()) [[unlikely]]
      FailValueAccess(_error);
  }

  Error _error{static_cast<ErrorRecord*>(nullptr)};
  union {
    Value _value;
  };
};

}  // namespace ostra

#define OSTRA_CONCAT_INNER(a, b) a##b
#define OSTRA_CONCAT(a, b) OSTRA_CONCAT_INNER(a, b)

// Evaluates a Result expression; on failure returns its error from the enclosing function.
#define OSTRA_RETURN_IF_ERROR(...)                                          \
  do {                                                                      \
    if (auto ostraResult = (__VA_ARGS__); !ostraResult.IsOk()) [[unlikely]] \
      return ostraResult.TakeError();                                       \
  } while (false)

// OSTRA_ASSIGN_OR_RETURN(Int count, Count(text)): binds the value of a Result, or returns its error.
#define OSTRA_ASSIGN_OR_RETURN(target, ...) \
  OSTRA_ASSIGN_OR_RETURN_INNER(OSTRA_CONCAT(ostraResult, __LINE__), target, __VA_ARGS__)
#define OSTRA_ASSIGN_OR_RETURN_INNER(result, target, ...) \
  auto result = (__VA_ARGS__);                            \
  if (!result.IsOk()) [[unlikely]]                        \
    return result.TakeError();                            \
  target = std::move(result).GetValue()
