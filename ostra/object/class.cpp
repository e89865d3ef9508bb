#include "ostra/object/class.h"

#include <algorithm>
#include <mutex>

#include "ostra/core/base_array.h"
#include "ostra/core/diagnostics.h"
#include "ostra/core/nearest_word.h"
#include "ostra/core/synchronized_hash_map.h"

OSTRA_UNIT("class");

namespace ostra {
namespace {

// Classes of the host's own modules have IDs that begin like this.
constexpr std::string_view kOwnClasses = "net.ostra.";

}  // namespace

void AddClassRef(const Class& objectClass) { objectClass.AddRef(); }
void ReleaseClass(const Class& objectClass) { objectClass.Release(); }

Error MakeCopyNotImplementedError(std::string_view component) {
  Error error = OSTRA_NOT_IMPLEMENTED("Component @ has members, but CopyFrom is not implemented!", component);
  WriteDiagnostic(DiagnosticLevel::Critical, error.GetMessage().GetView());
  return error;
}

Result<ClassRef> Class::Create(const Id& id, CreateFunction create) {
  // An own copy of the ID: the literal may lie in a module that is unloaded while an error still names the class.
  OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(id.GetView()));
  Class* object = NewObj<Class>(std::move(ownId), create);
  if (!object) return OSTRA_OUT_OF_MEMORY();
  return ClassRef::Adopt(object);
}

Error Class::MakeMissingInterfaceError(const Id& interfaceId) const {
  return OSTRA_ILLEGAL_ARGUMENT("The class \"@\" does not have the interface \"@\".", _id, interfaceId);
}

struct ClassRegistry::Entries : SynchronizedHashMap<Id, ClassRef> {};

// The registries themselves live until the process ends, so that references to them stay valid.
struct RegistryTable {
  std::mutex mutex;
  HashMap<Id, ClassRegistry*> registries;

  static RegistryTable& Get() {
    static auto* table = new RegistryTable;
    return *table;
  }

  Result<ClassRegistry*> FindOrAdd(const Id& id) {
    if (ClassRegistry* const* known = registries.Find(id)) return *known;
    OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(id.GetView()));
    struct Memory {
      alignas(ClassRegistry::Entries) Byte entries[sizeof(ClassRegistry::Entries)];
      alignas(ClassRegistry) Byte registry[sizeof(ClassRegistry)];
    };
    auto* const memory = static_cast<Memory*>(AllocForever(static_cast<Int>(sizeof(Memory))));
    if (!memory) return OSTRA_OUT_OF_MEMORY();
    OSTRA_ASSIGN_OR_RETURN(auto entry, registries.Insert(ownId, nullptr));
    *entry.value = ::new (memory->registry) ClassRegistry(ownId, *::new (memory->entries) ClassRegistry::Entries);
    return *entry.value;
  }
};

ClassRegistry& ClassRegistry::GetClasses() {
  static auto* registry = new ClassRegistry("net.ostra.registry.classes"_id, *new Entries);
  return *registry;
}

Result<void> ClassRegistry::Declare(const Id& registryId) {
  RegistryTable& table = RegistryTable::Get();
  const std::scoped_lock lock(table.mutex);
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry * registry, table.FindOrAdd(registryId));
  ++registry->_declarations;
  return OK;
}

void ClassRegistry::Withdraw(const Id& registryId) {
  RegistryTable& table = RegistryTable::Get();
  const std::scoped_lock lock(table.mutex);
  ClassRegistry* const* registry = table.registries.Find(registryId);
  if (registry && (*registry)->_declarations > 0) --(*registry)->_declarations;
}

Result<ClassRegistry&> ClassRegistry::Find(const Id& registryId) {
  if (registryId == GetClasses()._id) return GetClasses();
  RegistryTable& table = RegistryTable::Get();
  const std::scoped_lock lock(table.mutex);
  ClassRegistry* const* registry = table.registries.Find(registryId);
  if (!registry || (*registry)->_declarations == 0)
    return OSTRA_ILLEGAL_ARGUMENT("There is no registry \"@\": no module that is loaded declares it.", registryId);
  return **registry;
}

Result<void> ClassRegistry::Insert(const ClassRef& entry) { return Insert(entry->GetId(), entry); }

Result<void> ClassRegistry::Insert(const Id& id, const ClassRef& entry) {
  OSTRA_ASSIGN_OR_RETURN(Id ownId, Id::Create(id.GetView()));
  OSTRA_ASSIGN_OR_RETURN(Bool isNew, _entries->Insert(ownId, entry));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("The registry \"@\" already has an entry \"@\".", _id, id);
  return OK;
}

Bool ClassRegistry::Erase(const Id& id) { return _entries->Erase(id); }

Result<ClassRef> ClassRegistry::FindEntryValue(const Id& id) const {
  ClassRef entry;
  if (_entries->Find(id, entry)) return entry;
  // IDs are long and begin alike; a forgotten ".krn" is near enough.
  NearestWord nearest(id.GetView(), 5);
  Id nearestId;  // holds the text: another thread may erase the entry
  _entries->ForEach([&](const Id& known, const ClassRef&) {
    nearest.Try(known.GetView());
    if (nearest.Get().data() == known.GetView().data()) nearestId = known;
  });
  if (!nearest.Get().empty())
    return OSTRA_ILLEGAL_ARGUMENT("The registry \"@\" has no entry \"@\"; did you mean \"@\"?", _id, id, nearest.Get());
  if (this == &GetClasses() && id.GetView().starts_with(kOwnClasses))
    return OSTRA_ILLEGAL_ARGUMENT(
        "The registry \"@\" has no entry \"@\": the module that has this class is not loaded.", _id, id);
  return OSTRA_ILLEGAL_ARGUMENT("The registry \"@\" has no entry \"@\".", _id, id);
}

Result<BaseArray<Id>> ClassRegistry::GetIds() const {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Id> ids, _entries->GetKeys());
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace ostra
