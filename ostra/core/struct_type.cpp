#include "ostra/core/struct_type.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "ostra/core/format.h"
#include "ostra/core/memory.h"

OSTRA_UNIT("structtype");

namespace ostra {
namespace {

// The members of all structs ever described; types live until the process ends, and so do these.
struct KnownStruct {
  DataType type;
  Block<const StructMember> members;
  KnownStruct* next;
};
struct StructTable {
  std::mutex mutex;
  KnownStruct* first = nullptr;

  static StructTable& Get() {
    static auto* table = new StructTable;
    return *table;
  }
  const KnownStruct* Find(DataType type) const {
    for (const KnownStruct* known = first; known; known = known->next)
      if (known->type == type) return known;
    return nullptr;
  }
};

// Operations of the host on bytes, so that a type keeps no module in memory.
void ConstructZeros(void* target, Int stride, Int count) {
  if (count > 0) std::memset(target, 0, static_cast<std::size_t>(stride * count));
}
void DestructNothing(void*, Int, Int) {}

// Says all of the struct: two descriptions with one ID are the same.
Result<Id> MakeId(const StructDescription& description) {
  OSTRA_ASSIGN_OR_RETURN(String text, Format("net.ostra.datatype.struct.@{@,@", description.name, description.size,
                                             description.alignment));
  for (Int i = 0; i < description.members.GetCount(); ++i) {
    const StructMember& member = description.members[i];
    if (!member.type.IsPopulated())
      return OSTRA_ILLEGAL_ARGUMENT("The member \"@\" of the struct \"@\" has no data type.", member.name,
                                    description.name);
    OSTRA_ASSIGN_OR_RETURN(const String part,
                           Format(";@:@:@:@", member.name, member.type.GetId(), member.offset, member.count));
    OSTRA_RETURN_IF_ERROR(text.Append(part));
  }
  OSTRA_RETURN_IF_ERROR(text.Append("}"));
  return Id::Create(text.GetView());
}

Result<Block<const StructMember>> CopyMembers(Block<const StructMember> members) {
  if (members.IsEmpty()) return Block<const StructMember>();
  auto* const copies =
      static_cast<StructMember*>(AllocForever(members.GetCount() * static_cast<Int>(sizeof(StructMember))));
  if (!copies) return OSTRA_OUT_OF_MEMORY();
  for (Int i = 0; i < members.GetCount(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(String name, String::Create(members[i].name.GetView()));
    ::new (static_cast<void*>(copies + i))
        StructMember{std::move(name), members[i].type, members[i].offset, members[i].count};
  }
  return Block<const StructMember>(copies, members.GetCount());
}

}  // namespace

Result<DataType> MakeStructType(const StructDescription& description) {
  DataTypeDescription type;
  OSTRA_ASSIGN_OR_RETURN(type.id, MakeId(description));
  OSTRA_ASSIGN_OR_RETURN(type.name, String::Create(description.name));
  type.size = description.size;
  type.alignment = description.alignment;
  type.isPlain = true;
  type.operations.construct = ConstructZeros;
  type.operations.destruct = DestructNothing;
  StructTable& table = StructTable::Get();
  const std::scoped_lock lock(table.mutex);
  if (const auto registered = DataType::Find(type.id); registered && table.Find(*registered)) return *registered;
  OSTRA_ASSIGN_OR_RETURN(const Block<const StructMember> members, CopyMembers(description.members));
  void* const memory = AllocForever(static_cast<Int>(sizeof(KnownStruct)));
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  const DataType made = DataType::FindOrRegister(type);
  table.first = ::new (memory) KnownStruct{made, members, table.first};
  return made;
}

DataType FindOrRegisterStructType(const StructDescription& description) {
  // A test may make one allocation fail; the second attempt then succeeds.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (auto type = MakeStructType(description)) return *type;
  }
  std::fputs("There is no memory for the data types of the program.\n", stderr);
  std::abort();
}

Block<const StructMember> GetStructMembers(DataType type) {
  StructTable& table = StructTable::Get();
  const std::scoped_lock lock(table.mutex);
  const KnownStruct* const known = type.IsPopulated() ? table.Find(type) : nullptr;
  return known ? known->members : Block<const StructMember>();
}

}  // namespace ostra
