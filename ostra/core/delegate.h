// Delegate<R(Arguments...)>: a callable with captures. Making one can run out of memory; copies share it and cannot.
//
//   OSTRA_ASSIGN_OR_RETURN(auto work, Delegate<Result<void>()>::Create([this] { return Compile(); }));
//   OSTRA_RETURN_IF_ERROR(work());
//
// Captures live until the last copy is released. Calling an empty delegate is not allowed.
#pragma once

#include "ostra/core/result.h"
#include "ostra/core/strong_ref.h"

namespace ostra {

template <class Signature>
class Delegate;

template <class R, class... Arguments>
class Delegate<R(Arguments...)> {
 public:
  Delegate() = default;

  // Error: out of memory.
  template <class Callable>
  static Result<Delegate> Create(Callable callable) {
    Target* target = NewObj<Holder<Callable>>(std::move(callable));
    if (!target) return Error::MakeOutOfMemory("delegate", __LINE__);
    Delegate delegate;
    delegate._target = StrongRef<Target>::Adopt(target);
    return delegate;
  }

  R operator()(Arguments... arguments) const { return _target->Call(std::forward<Arguments>(arguments)...); }
  explicit operator bool() const { return static_cast<bool>(_target); }

 private:
  struct Target : RefCounted<Target> {
    virtual ~Target() = default;
    virtual R Call(Arguments... arguments) = 0;
  };
  template <class Callable>
  struct Holder final : Target {
    explicit Holder(Callable&& value) : callable(std::move(value)) {}
    R Call(Arguments... arguments) override { return callable(std::forward<Arguments>(arguments)...); }
    Callable callable;
  };
  StrongRef<Target> _target;
};

}  // namespace ostra
