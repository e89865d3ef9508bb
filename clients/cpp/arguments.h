// What a client gives to a kernel in the members of its struct, which ostra_add_kernels makes (NAME.kernel.h).
#pragma once

#include "clients/cpp/buffer.h"
#include "clients/cpp/counter.h"
#include "clients/cpp/texture.h"

namespace ostra::client {

// The kernel that a struct of parameters belongs to.
struct KernelDescription {
  const char* classId;  // of the CPU
  const char* gpuFile;  // in the folder "shaders" beside the application
  Result<ClassRef> (*create)();
};

// A resource in place of a parameter. Not one that is left out: nullptr says that the kernel does without.
template <class R>
class ResourceArgument {
 public:
  ResourceArgument(const R& resource)  // NOLINT(google-explicit-constructor)
      : _session(resource._session.get()), _name(resource.GetName()) {}
  ResourceArgument(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)

  const SessionState* GetSession() const { return _session; }
  InternedId GetName() const { return _name; }

 private:
  const SessionState* _session = nullptr;
  InternedId _name;
};

using TextureArgument = ResourceArgument<Texture>;
using CounterArgument = ResourceArgument<Counter>;

template <class T>
class BufferArgument : public ResourceArgument<Buffer<T>> {
 public:
  using Base = ResourceArgument<Buffer<T>>;
  BufferArgument(const Buffer<T>& buffer)  // NOLINT(google-explicit-constructor)
      : Base(buffer), _count(buffer.GetCount()) {}
  BufferArgument(std::nullptr_t) : Base(nullptr) {}  // NOLINT(google-explicit-constructor)
  template <class Other>
  BufferArgument(const Buffer<Other>&) : Base(nullptr) {  // NOLINT(google-explicit-constructor)
    static_assert(std::is_same_v<Other, T>, "The kernel declares a buffer with elements of another type.");
  }

  Int GetCount() const { return _count; }

 private:
  Int _count = 0;
};

}  // namespace ostra::client
