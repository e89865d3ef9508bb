// Class: makes objects. Classes are found by ID in registries; clients never see implementation types.
//
//   OSTRA_ASSIGN_OR_RETURN(ClassRef kernelClass, Class::Create<MyKernel>("com.example.kernel"_id));
//   OSTRA_RETURN_IF_ERROR(ClassRegistry::GetClasses().Insert(kernelClass));
//   ...
//   OSTRA_ASSIGN_OR_RETURN(CounterRef counter, CreateObject<CounterInterface>("com.example.counter"_id));
//
// Classes are immutable and registries are synchronised: all functions are thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/format.h"
#include "ostra/object/interface.h"

namespace ostra {

using ClassRef = StrongRef<const Class>;

class OSTRA_API Class : public RefCounted<Class> {
 public:
  // Makes an object of count 1 whose class is `objectClass`; null when memory is exhausted.
  using CreateFunction = ObjectInterface* (*)(const Class& objectClass);

  Class(Id id, CreateFunction create) : _id(std::move(id)), _create(create) {}

  // The class of the component T. Error: out of memory.
  template <class T>
  static Result<ClassRef> Create(const Id& id) {
    return Create(id, [](const Class& objectClass) -> ObjectInterface* {
      T* object = NewObj<T>();
      if (!object) return nullptr;
      object->SetClass(objectClass);
      return ToObject(object);
    });
  }
  static Result<ClassRef> Create(const Id& id, CreateFunction create);

  const Id& GetId() const { return _id; }

  // A fresh object with the interface T. Errors: out of memory; illegal argument when the class lacks the interface.
  template <class T>
  Result<StrongRef<T>> CreateObject() const {
    ObjectInterface* object = _create(*this);
    if (!object) return Error::MakeOutOfMemory("class", __LINE__);
    T* wanted = FindInterface<T>(*object);
    if (!wanted) {
      object->Release();
      return MakeMissingInterfaceError(T::kInterfaceId);
    }
    return StrongRef<T>::Adopt(wanted);
  }

 private:
  // A class may reach ObjectInterface through several interfaces; any one of them serves.
  template <class Derived, class First, class... Others>
  static ObjectInterface* ToObject(Component<Derived, First, Others...>* component) {
    return static_cast<First*>(component);
  }
  Error MakeMissingInterfaceError(const Id& interfaceId) const;

  Id _id;
  CreateFunction _create;
};

// Classes by ID. A registry has an ID itself and is found with ClassRegistry::Find.
class OSTRA_API ClassRegistry {
 public:
  // The host's registry of all classes that are created directly, net.ostra.registry.classes.
  static ClassRegistry& GetClasses();
  // Makes a registry known; declaring it again is allowed, and Withdraw undoes one declaration. Entries survive.
  static Result<void> Declare(const Id& registryId);
  static void Withdraw(const Id& registryId);
  // Error: illegal argument when no such registry is declared.
  static Result<ClassRegistry&> Find(const Id& registryId);

  // Errors: illegal argument when the ID is taken; out of memory.
  Result<void> Insert(const ClassRef& entry);
  Result<void> Insert(const Id& id, const ClassRef& entry);
  // True when the entry was there.
  Bool Erase(const Id& id);
  // Error: illegal argument when there is no such entry.
  Result<ClassRef> FindEntryValue(const Id& id) const;
  // The IDs of all entries, sorted by text. Error: out of memory.
  Result<BaseArray<Id>> GetIds() const;

 private:
  friend struct RegistryTable;
  struct Entries;
  ClassRegistry(Id id, Entries& entries) : _id(std::move(id)), _entries(&entries) {}
  Id _id;
  Int _declarations = 0;
  Entries* _entries;  // never released, as the registry itself
};

// An object of a registered class. Errors: as of FindEntryValue and Class::CreateObject.
template <class T>
Result<StrongRef<T>> CreateObject(const Id& classId) {
  OSTRA_ASSIGN_OR_RETURN(ClassRef objectClass, ClassRegistry::GetClasses().FindEntryValue(classId));
  return objectClass->CreateObject<T>();
}

}  // namespace ostra
