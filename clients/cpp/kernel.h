// SessionKernel<K>: a kernel of a session, called with the struct of its parameters.
//
//   auto blur = session.Load<kernels::Blur>();
//   blur({.width = width, .height = height, .source = source, .target = target}, {width, height});
#pragma once

#include <optional>

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
  // result waits for them. Values that are left out are zero. Errors: illegal argument when a size is missing and for
  // resources of another session; those of ParallelProgramInterface::UpdateUniforms and DispatchKernel.
  Result<void> TryRun(const K& arguments, const DispatchSize& size = {}, CallSite where = CallSite::Here()) const {
    return client::CallAt(where, [&] { return Dispatch(arguments, size); });
  }
  void operator()(const K& arguments, const DispatchSize& size = {}, CallSite where = CallSite::Here()) const {
    OrThrow(TryRun(arguments, size, where));
  }

 private:
  friend class Session;
  SessionKernel(client::SessionRef session, InternedId name) : _session(std::move(session)), _name(name) {}

  // Hands the parameters over and finds the count of the buffers.
  class Binder {
   public:
    explicit Binder(const client::SessionState& session) : _session(session), _program(session.GetProgram()) {}

    template <class T>
    Result<void> operator()(const char* name, const T& value) {
      return _program.SetUniform(InternedId::FromLiteral(name), value);
    }
    template <class T>
    Result<void> operator()(const char* name, const client::BufferArgument<T>& buffer) {
      if (!buffer.GetSession()) return OK;
      OSTRA_RETURN_IF_ERROR(CheckSession(name, buffer.GetSession()));
      if (_count && *_count != buffer.GetCount()) _hasOneCount = false;
      if (!_count) _count = buffer.GetCount();
      return _program.SetBufferToActiveKernel(buffer.GetName(), InternedId::FromLiteral(name));
    }
    Result<void> operator()(const char* name, const client::TextureArgument& texture) {
      if (!texture.GetSession()) return OK;
      OSTRA_RETURN_IF_ERROR(CheckSession(name, texture.GetSession()));
      return _program.SetTextureToActiveKernel(texture.GetName(), InternedId::FromLiteral(name));
    }
    Result<void> operator()(const char* name, const client::CounterArgument& counter) {
      if (!counter.GetSession()) return OK;
      OSTRA_RETURN_IF_ERROR(CheckSession(name, counter.GetSession()));
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
    Result<void> CheckSession(const char* name, const client::SessionState* session) const {
      if (session == &_session) return OK;
      return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                       "The parameter \"@\" belongs to another session.", name);
    }

    const client::SessionState& _session;
    ParallelProgramInterface& _program;
    std::optional<Int> _count;
    Bool _hasOneCount = true;
  };

  Result<void> Dispatch(const K& arguments, const DispatchSize& given) const {
    ParallelProgramInterface& program = _session->GetProgram();
    program.SetActiveKernel(_name);
    Binder binder(*_session);
    OSTRA_RETURN_IF_ERROR(arguments.ForEach(binder));
    OSTRA_ASSIGN_OR_RETURN(const DispatchSize size, binder.ChooseSize(given));
    OSTRA_RETURN_IF_ERROR(program.UpdateUniforms());
    OSTRA_RETURN_IF_ERROR(program.DispatchKernel(size.x, size.y, size.z, false));
    return program.Execute(false);
  }

  client::SessionRef _session;
  InternedId _name;
};

}  // namespace ostra
