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

// A buffer in place of a parameter. Not one that is left out: nullptr says that the kernel does without.
template <class T>
class BufferArgument {
 public:
  BufferArgument(const Buffer<T>& buffer)  // NOLINT(google-explicit-constructor)
      : _session(buffer._session.get()), _name(buffer.GetName()), _count(buffer.GetCount()) {}
  BufferArgument(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  template <class Other>
  BufferArgument(const Buffer<Other>&) {  // NOLINT(google-explicit-constructor)
    static_assert(std::is_same_v<Other, T>, "The kernel declares a buffer with elements of another type.");
  }

  const SessionState* GetSession() const { return _session; }
  InternedId GetName() const { return _name; }
  Int GetCount() const { return _count; }

 private:
  const SessionState* _session = nullptr;
  InternedId _name;
  Int _count = 0;
};

class TextureArgument {
 public:
  TextureArgument(const Texture& texture)  // NOLINT(google-explicit-constructor)
      : _session(texture._session.get()), _name(texture.GetName()) {}
  TextureArgument(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)

  const SessionState* GetSession() const { return _session; }
  InternedId GetName() const { return _name; }

 private:
  const SessionState* _session = nullptr;
  InternedId _name;
};

class CounterArgument {
 public:
  CounterArgument(const Counter& counter)  // NOLINT(google-explicit-constructor)
      : _session(counter._session.get()), _name(counter.GetName()) {}
  CounterArgument(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)

  const SessionState* GetSession() const { return _session; }
  InternedId GetName() const { return _name; }

 private:
  const SessionState* _session = nullptr;
  InternedId _name;
};

}  // namespace ostra::client
