#include "ostra/object/members.h"

#include "ostra/core/format.h"

namespace ostra {

Result<void> AddMember(MemberMap& members, const MemberOwner& owner, std::string_view name, DataType type,
                       void* address) {
  OSTRA_ASSIGN_OR_RETURN(CString key, CString::Create(name));
  OSTRA_ASSIGN_OR_RETURN(auto entry, members.Insert(key));
  if (!entry.isNew) {
    return MakeError(kIllegalArgumentError, owner.unit, __LINE__, "The @ \"@\" has two parameters \"@\".", owner.kind,
                     owner.name, name);
  }
  *entry.value = {type, address};
  return OK;
}

Result<void> SetMember(const MemberMap& members, const CString& name, const void* data) {
  const Member* member = members.Find(name);
  if (!member) return OK;
  if (member->type.IsPointer()) {
    *static_cast<const void**>(member->address) = data;
    return OK;
  }
  return member->type.Copy(member->address, data);
}

Result<void> DeclareMember(BaseArray<MemberDeclaration>& declarations, const char* name, DataType type,
                           Bool isRequired) {
  OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
  OSTRA_RETURN_IF_ERROR(declarations.Append(MemberDeclaration{id, type, isRequired}));
  return OK;
}

}  // namespace ostra
