#include "ostra/object/reflection.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/synchronized_hash_map.h"

OSTRA_UNIT("reflection");

namespace ostra {
namespace {

SynchronizedHashMap<Id, InterfaceRecordRef>& GetRecords() {
  static auto* records = new SynchronizedHashMap<Id, InterfaceRecordRef>;
  return *records;
}

Result<MethodRecord> MakeMethod(const MethodDescription& description) {
  MethodRecord method;
  method.isConst = description.isConst;
  method.slot = description.slot;
  OSTRA_ASSIGN_OR_RETURN(method.name, String::Create(description.name));
  OSTRA_ASSIGN_OR_RETURN(method.resultType, String::Create(description.resultType));
  for (Int i = 0; i < description.parameterCount; ++i) {
    const auto index = static_cast<std::size_t>(i);
    ParameterRecord parameter;
    OSTRA_ASSIGN_OR_RETURN(parameter.name, String::Create(description.parameterNames[index]));
    OSTRA_ASSIGN_OR_RETURN(parameter.type, String::Create(description.parameterTypes[index]));
    OSTRA_RETURN_IF_ERROR(method.parameters.Append(std::move(parameter)));
  }
  return method;
}

}  // namespace

Result<void> Reflection::Register(const Id& interfaceId, std::string_view name,
                                  std::span<const MethodDescription> methods) {
  auto* record = NewObj<InterfaceRecord>();
  if (!record) return OSTRA_OUT_OF_MEMORY();
  const auto owner = InterfaceRecordRef::Adopt(record);
  OSTRA_ASSIGN_OR_RETURN(record->id, Id::Create(interfaceId.GetView()));
  OSTRA_ASSIGN_OR_RETURN(record->name, String::Create(name));
  for (const MethodDescription& description : methods) {
    OSTRA_ASSIGN_OR_RETURN(MethodRecord method, MakeMethod(description));
    OSTRA_RETURN_IF_ERROR(record->methods.Append(std::move(method)));
  }
  OSTRA_ASSIGN_OR_RETURN(Bool isNew, GetRecords().Insert(record->id, owner));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("The interface \"@\" already has a reflection record.", interfaceId);
  return OK;
}

Bool Reflection::Erase(const Id& interfaceId) { return GetRecords().Erase(interfaceId); }

Result<InterfaceRecordRef> Reflection::Find(const Id& interfaceId) {
  InterfaceRecordRef record;
  if (!GetRecords().Find(interfaceId, record))
    return OSTRA_ILLEGAL_ARGUMENT("The interface \"@\" has no reflection record.", interfaceId);
  return record;
}

Result<BaseArray<Id>> Reflection::GetInterfaceIds() {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Id> ids, GetRecords().GetKeys());
  std::sort(ids.begin(), ids.end());
  return ids;
}

}  // namespace ostra
