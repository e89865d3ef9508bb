#include "ostra/core/format.h"

#include <charconv>
#include <cstdio>

#include "ostra/core/base_array.h"

OSTRA_UNIT("format");

namespace ostra {

void FormatArgument::SetInteger(Int64 value) {
  _size = static_cast<std::size_t>(std::to_chars(_buffer, _buffer + sizeof(_buffer), value).ptr - _buffer);
}

void FormatArgument::SetUnsigned(UInt64 value) {
  _size = static_cast<std::size_t>(std::to_chars(_buffer, _buffer + sizeof(_buffer), value).ptr - _buffer);
}

void FormatArgument::SetFloat(Float64 value) {
  _size = static_cast<std::size_t>(std::snprintf(_buffer, sizeof(_buffer), "%g", value));
}

void FormatArgument::SetPointer(const void* pointer) {
  if (!pointer) {
    _text = "nullptr";
    return;
  }
  _size = static_cast<std::size_t>(std::snprintf(_buffer, sizeof(_buffer), "%p", pointer));
}

void FormatArgument::SetCharacter(char character) {
  _buffer[0] = character;
  _size = 1;
}

Result<String> FormatArguments(std::string_view pattern, std::initializer_list<FormatArgument> arguments) {
  BaseArray<char> text;
  const FormatArgument* next = arguments.begin();
  auto append = [&text](std::string_view part) -> Result<void> {
    const Int start = text.GetCount();
    OSTRA_RETURN_IF_ERROR(text.Resize(start + static_cast<Int>(part.size())));
    part.copy(text.GetFirst() + start, part.size());
    return OK;
  };
  std::size_t size = pattern.size();
  for (const FormatArgument& argument : arguments) size += argument.GetView().size();
  OSTRA_RETURN_IF_ERROR(text.Reserve(static_cast<Int>(size)));
  while (!pattern.empty()) {
    const std::size_t placeholder = next == arguments.end() ? std::string_view::npos : pattern.find('@');
    OSTRA_RETURN_IF_ERROR(append(pattern.substr(0, placeholder)));
    if (placeholder == std::string_view::npos) break;
    OSTRA_RETURN_IF_ERROR(append((next++)->GetView()));
    pattern.remove_prefix(placeholder + 1);
  }
  return String::Create(std::string_view(text.GetFirst(), static_cast<std::size_t>(text.GetCount())));
}

}  // namespace ostra
