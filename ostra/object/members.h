// Members of an object that others find by name and set: their types and addresses, and what is declared of them.
//
//   MemberMap members;
//   AddMember(members, {"unit", "kernel", "net.example.scale"}, "factor", GetDataType<Float32>(), &_factor);
//
//   SetMember(members, "factor", &two);
//
// These functions run once for each member of an object. The host has them, so that plug-ins need not compile them.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/data_type.h"
#include "ostra/core/hash_map.h"
#include "ostra/core/interned_id.h"

namespace ostra {

struct Member {
  DataType type;
  void* address = nullptr;
};
using MemberMap = HashMap<CString, Member>;

struct MemberDeclaration {
  InternedId name;
  DataType type;
  // Whether the object cannot work without it.
  Bool isRequired = false;
};

// How errors name the object: the unit that they come from, and what it is: "The kernel \"net.example.scale\" ...".
struct MemberOwner {
  const char* unit;
  const char* kind;
  const char* name;
};

// Errors: illegal argument for a name that is there; out of memory.
OSTRA_API Result<void> AddMember(MemberMap& members, const MemberOwner& owner, std::string_view name, DataType type,
                                 void* address);

// Copies the value to the member; of a member that is a pointer, `data` itself becomes the value. Names that are not
// there are passed over. Error: the copy's.
OSTRA_API Result<void> SetMember(const MemberMap& members, const CString& name, const void* data);

// Error: out of memory.
OSTRA_API Result<void> DeclareMember(BaseArray<MemberDeclaration>& declarations, const char* name, DataType type,
                                     Bool isRequired);

}  // namespace ostra
