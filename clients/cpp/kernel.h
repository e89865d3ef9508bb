// SessionKernel<K>: a kernel of a session, called with the struct of its parameters.
//
//   auto blur = session.Load<kernels::Blur>();
//   blur({.width = width, .height = height, .source = source, .target = target}, {width, height});
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "clients/cpp/arguments.h"

namespace ostra {

// How many invocations run along each axis. A count of 0 along x is that of the buffers.
struct DispatchSize {
  UInt32 x = 0, y = 1, z = 1;
};

// A value: copies stand for the same kernel. Used by the session's thread.
template <class K>
class SessionKernel {
 public:
  // Runs the kernel. Without a size it has an invocation for each element of its buffers, which must all have as many.
  // On a GPU the call returns before the work is done: several calls are in flight, one after the other, and reading a
  // result waits for them. Values that are left out are zero. Errors: illegal argument when a size is missing, for
  // resources of another session, and for nullptr where an earlier call gave a resource; those of
  // ParallelProgramInterface::UpdateUniforms and DispatchKernel.
  Result<void> TryRun(const K& arguments, const DispatchSize& size = {}, CallSite where = CallSite::Here()) const {
    return client::CallAt(where, [&] { return Dispatch(arguments, size); });
  }
  void operator()(const K& arguments, const DispatchSize& size = {}, CallSite where = CallSite::Here()) const {
    OrThrow(TryRun(arguments, size, where));
  }

 private:
  friend class Session;
  SessionKernel(client::SessionRef session, InternedId name)
      : _session(std::move(session)), _name(name), _given(std::make_shared<Names>()) {}

  using Names = std::vector<InternedId>;

  // Hands the parameters over and finds the count of the buffers.
  class Binder {
   public:
    Binder(const client::SessionState& session, Names& given)
        : _session(session), _program(session.GetProgram()), _given(given) {}

    template <class T>
    Result<void> operator()(const char* name, const T& value) {
      return _program.SetUniform(InternedId::FromLiteral(name), value);
    }
    template <class T>
    Result<void> operator()(const char* name, const client::BufferArgument<T>& buffer) {
      if (!buffer.GetSession()) return LeaveOut(name);
      OSTRA_RETURN_IF_ERROR(Check(name, buffer.GetSession()));
      if (_count && *_count != buffer.GetCount()) _hasOneCount = false;
      if (!_count) _count = buffer.GetCount();
      return _program.SetBufferToActiveKernel(buffer.GetName(), InternedId::FromLiteral(name));
    }
    Result<void> operator()(const char* name, const client::TextureArgument& texture) {
      if (!texture.GetSession()) return LeaveOut(name);
      OSTRA_RETURN_IF_ERROR(Check(name, texture.GetSession()));
      return _program.SetTextureToActiveKernel(texture.GetName(), InternedId::FromLiteral(name));
    }
    Result<void> operator()(const char* name, const client::CounterArgument& counter) {
      if (!counter.GetSession()) return LeaveOut(name);
      OSTRA_RETURN_IF_ERROR(Check(name, counter.GetSession()));
      // Programs link counters to parameters of the same name.
      if (counter.GetName() != InternedId::FromLiteral(name))
        return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                         "The counter \"@\" cannot stand for the parameter \"@\": give it the same name.",
                         counter.GetName(), name);
      return _program.SetAtomicCounterToActiveKernel(counter.GetName());
    }

    Result<DispatchSize> ChooseSize(const DispatchSize& given) const {
      if (given.x != 0) return given;
      if (_count && _hasOneCount && *_count <= UINT32_MAX) return DispatchSize{static_cast<UInt32>(*_count), 1, 1};
      return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                       _count ? "The buffers of the kernel have different counts: say how many invocations run."
                              : "The kernel has no buffers: say how many invocations run.");
    }

   private:
    Result<void> Check(const char* name, const client::SessionState* session) {
      if (session != &_session)
        return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                         "The parameter \"@\" belongs to another session.", name);
      if (!WasGiven(name)) _given.push_back(InternedId::FromLiteral(name));
      return OK;
    }
    // Programs keep the links of a kernel.
    Result<void> LeaveOut(const char* name) const {
      if (!WasGiven(name)) return OK;
      return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                       "An earlier call gave the parameter \"@\": load the kernel again for calls without it.", name);
    }
    Bool WasGiven(const char* name) const {
      return std::find(_given.begin(), _given.end(), InternedId::FromLiteral(name)) != _given.end();
    }

    const client::SessionState& _session;
    ParallelProgramInterface& _program;
    Names& _given;
    std::optional<Int> _count;
    Bool _hasOneCount = true;
  };

  Result<void> Dispatch(const K& arguments, const DispatchSize& given) const {
    ParallelProgramInterface& program = _session->GetProgram();
    program.SetActiveKernel(_name);
    Binder binder(*_session, *_given);
    OSTRA_RETURN_IF_ERROR(arguments.ForEach(binder));
    OSTRA_ASSIGN_OR_RETURN(const DispatchSize size, binder.ChooseSize(given));
    OSTRA_RETURN_IF_ERROR(program.UpdateUniforms());
    Result<void> done = program.DispatchKernel(size.x, size.y, size.z, false);
    if (done) done = program.Execute(false);
    // Prints tell, too, why an assertion does not hold.
    OSTRA_RETURN_IF_ERROR(_session->ShowPrints());
    return done;
  }

  client::SessionRef _session;
  InternedId _name;
  std::shared_ptr<Names> _given;  // parameters that calls have given a resource
};

}  // namespace ostra
