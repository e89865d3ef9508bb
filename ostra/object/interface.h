// Objects and interfaces: reference-counted classes behind abstract interfaces.
//
// An interface derives from ObjectInterface, names its ID, and declares its methods in the order of its method table:
//
//   class CounterInterface : public ObjectInterface {
//    public:
//     static constexpr Id kInterfaceId = "com.example.interface.counter"_id;
//     virtual Result<Int> Next() = 0;
//   };
//   using CounterRef = StrongRef<CounterInterface>;
//
// A class derives from Component and is created through its Class (class.h). Interfaces of an object are found by ID,
// never by dynamic_cast, because modules share no class information.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/id.h"
#include "ostra/core/result.h"
#include "ostra/core/strong_ref.h"

namespace ostra {

class Class;

class OSTRA_API ObjectInterface {
 public:
  // Counting is thread-safe. The last Release destroys the object.
  virtual void AddRef() const = 0;
  virtual void Release() const = 0;
  // The interface of this object with the given ID, or null. Not counted: valid while the object lives.
  virtual void* FindInterface(const Id& interfaceId) = 0;
  // The class that the object was created from.
  virtual const Class& GetClass() const = 0;
  // Copies the state of an object of the same class. Error: not implemented, for classes that do not support it.
  virtual Result<void> CopyFrom(const ObjectInterface& source) = 0;

 protected:
  ~ObjectInterface() = default;
};

// The interface of type T of an object, or null. Not counted.
template <class T>
T* FindInterface(ObjectInterface& object) {
  return static_cast<T*>(object.FindInterface(T::kInterfaceId));
}

// Writes "Component @ has members, but CopyFrom is not implemented!" as a diagnostic and returns it as a
// not-implemented error.
OSTRA_API Error MakeCopyNotImplementedError(std::string_view component);

// Counts references to a class, for interfaces that know it by name only.
OSTRA_API void AddClassRef(const Class& objectClass);
OSTRA_API void ReleaseClass(const Class& objectClass);

// Implements ObjectInterface for a class. `Derived` offers `static constexpr const char* kComponentName`.
// Its longer functions stay out of line: each interface but the first has an entry of its own that leads to them.
template <class Derived, class... Interfaces>
class Component : public Interfaces... {
 public:
  void AddRef() const final { _references.Add(); }
  [[gnu::noinline]] void Release() const final {
    if (_references.Drop()) DeleteObj(static_cast<const Derived*>(this));
  }
  [[gnu::noinline]] void* FindInterface(const Id& interfaceId) final {
    void* found = nullptr;
    static_cast<void>(((Interfaces::kInterfaceId == interfaceId && (found = static_cast<Interfaces*>(this))) || ...));
    return found;
  }
  const Class& GetClass() const final { return *_class; }
  [[gnu::noinline]] Result<void> CopyFrom(const ObjectInterface&) override {
    return MakeCopyNotImplementedError(Derived::kComponentName);
  }

  // Called once by the class that makes the object. The object holds its class: that may leave the registry first.
  void SetClass(const Class& objectClass) {
    AddClassRef(objectClass);
    _class = &objectClass;
  }

 protected:
  Component() = default;
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  virtual ~Component() {
    if (_class) ReleaseClass(*_class);
  }

 private:
  template <class T>
  friend void ostra::DeleteObj(T* object);
  mutable ReferenceCount _references;
  const Class* _class = nullptr;
};

}  // namespace ostra
