#include "plans/values/typed_value.h"

#include <vector>

#include "plans/usage_error.h"
#include "plans/values/scalar_type.h"
#include "plans/values/text.h"

OSTRA_UNIT("values");

namespace ostra::plans {

Result<Data> ParseValue(DataType type, std::string_view text) {
  OSTRA_ASSIGN_OR_RETURN(const ElementLayout layout, GetElementLayout(type));
  const std::vector<std::string_view> parts = SplitText(text, ',');
  if (static_cast<Int>(parts.size()) != layout.componentCount)
    return OSTRA_USAGE_ERROR("\"@\" has @ numbers, and the type @ has @", text, parts.size(), DescribeType(type),
                             layout.componentCount);
  std::vector<Byte> bytes(static_cast<std::size_t>(type.GetSize()));
  Byte* target = bytes.data();
  for (const std::string_view part : parts) {
    OSTRA_RETURN_IF_ERROR(layout.scalar->parse(part, target));
    target += layout.scalar->GetSize();
  }
  return Data::CreateCopy(type, bytes.data());
}

Result<std::string> PrintValue(const Data& value) {
  std::string text;
  auto layout = GetElementLayout(value.GetType());
  if (!layout) {
    OSTRA_ASSIGN_OR_RETURN(const String own, value.ToText());
    return std::string(own.GetView());
  }
  const Byte* source = static_cast<const Byte*>(value.GetPointer());
  for (Int i = 0; i < layout->componentCount; ++i) {
    if (i > 0) text += ',';
    layout->scalar->print(source + i * layout->scalar->GetSize(), text);
  }
  return text;
}

}  // namespace ostra::plans
