#include "plans/values/element_numbers.h"

#include <algorithm>

#include "ostra/core/struct_type.h"
#include "plans/values/scalar_type.h"

namespace ostra::plans {
namespace {

void Append(DataType type, Int offset, const std::string& place, std::vector<ElementNumber>& numbers) {
  const Block<const StructMember> members = GetStructMembers(type);
  for (Int i = 0; i < members.GetCount(); ++i) {
    const StructMember& member = members[i];
    const std::string name = place + "." + std::string(member.name.GetView());
    for (Int k = 0; k < std::max<Int>(1, member.count); ++k)
      Append(member.type, offset + member.offset + k * member.type.GetSize(),
             member.count == 0 ? name : name + "[" + std::to_string(k) + "]", numbers);
  }
  if (!members.IsEmpty()) return;
  const auto layout = GetElementLayout(type);
  const DataType number = layout ? layout->scalar->type : GetDataType<UInt8>();
  for (Int at = 0; at + number.GetSize() <= type.GetSize(); at += number.GetSize())
    numbers.push_back({number, offset + at, place});
}

}  // namespace

std::vector<ElementNumber> ListNumbers(DataType type) {
  std::vector<ElementNumber> numbers;
  Append(type, 0, "", numbers);
  return numbers;
}

}  // namespace ostra::plans
