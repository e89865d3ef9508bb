#include "ostra/core/string.h"

#include <charconv>
#include <cstring>

#include "ostra/core/atomic.h"
#include "ostra/core/base_array.h"
#include "ostra/core/format.h"

OSTRA_UNIT("string");

namespace ostra {

struct String::Buffer {
  ReferenceCount references;
  // The characters and a final zero follow.
  char* GetText() { return reinterpret_cast<char*>(this + 1); }
};

void String::AddRef(Buffer* buffer) { buffer->references.Add(); }

void String::Release(Buffer* buffer) {
  if (buffer->references.Drop()) DeleteObj(buffer);
}

template <class Fill>
Result<String> String::Make(std::size_t size, Fill&& fill) {
  if (size == 0) return String();
  void* memory = AllocMem(static_cast<Int>(sizeof(Buffer) + size + 1));
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  auto* buffer = ::new (memory) Buffer();
  fill(buffer->GetText());
  buffer->GetText()[size] = 0;
  return String(buffer->GetText(), size, buffer);
}

Result<String> String::Create(std::string_view text) {
  return Make(text.size(), [text](char* target) { std::memcpy(target, text.data(), text.size()); });
}

Result<String> String::Concatenate(std::string_view first, std::string_view second) {
  return Make(first.size() + second.size(), [first, second](char* target) {
    first.copy(target, first.size());
    second.copy(target + first.size(), second.size());
  });
}

Int String::Find(std::string_view part, Int start) const {
  if (start < 0 || start > _size) return NOT_FOUND;
  const std::size_t position = GetView().find(part, static_cast<std::size_t>(start));
  return position == std::string_view::npos ? NOT_FOUND : static_cast<Int>(position);
}

Int String::FindLast(std::string_view part) const {
  const std::size_t position = GetView().rfind(part);
  return position == std::string_view::npos ? NOT_FOUND : static_cast<Int>(position);
}

Bool String::EndsWith(std::string_view part) const {
  return part.size() <= GetView().size() && GetView().substr(GetView().size() - part.size()) == part;
}

String String::SubString(Int position, Int count) const {
  if (position < 0) position = 0;
  if (position > _size) position = _size;
  if (count < 0 || count > _size - position) count = _size - position;
  String part = *this;
  part._text += position;
  part._size = count;
  return part;
}

namespace {
constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";
}

String String::TrimLeft() const {
  const std::size_t first = GetView().find_first_not_of(kWhiteSpace);
  return first == std::string_view::npos ? String() : SubString(static_cast<Int>(first));
}

String String::Trim() const {
  const String left = TrimLeft();
  const std::size_t last = left.GetView().find_last_not_of(kWhiteSpace);
  return last == std::string_view::npos ? String() : left.SubString(0, static_cast<Int>(last) + 1);
}

Result<void> String::Insert(Int position, std::string_view part) {
  if (position < 0 || position > _size)
    return OSTRA_ILLEGAL_ARGUMENT("Position @ is outside a text of @ bytes.", position, _size);
  const std::string_view head = GetView().substr(0, static_cast<std::size_t>(position));
  const std::string_view tail = GetView().substr(static_cast<std::size_t>(position));
  OSTRA_ASSIGN_OR_RETURN(String text, Make(GetView().size() + part.size(), [head, part, tail](char* target) {
                           head.copy(target, head.size());
                           part.copy(target + head.size(), part.size());
                           tail.copy(target + head.size() + part.size(), tail.size());
                         }));
  *this = std::move(text);
  return OK;
}

Result<void> String::Erase(Int position, Int count) {
  if (position < 0 || count < 0 || position > _size || count > _size - position)
    return OSTRA_ILLEGAL_ARGUMENT("Range @ + @ is outside a text of @ bytes.", position, count, _size);
  OSTRA_ASSIGN_OR_RETURN(*this, Concatenate(GetView().substr(0, static_cast<std::size_t>(position)),
                                            GetView().substr(static_cast<std::size_t>(position + count))));
  return OK;
}

Result<void> String::Append(std::string_view part) { return Insert(_size, part); }

Result<BaseArray<String>> String::Split(std::string_view separator) const {
  BaseArray<String> pieces;
  Int start = 0;
  while (!separator.empty()) {
    const Int end = Find(separator, start);
    if (end == NOT_FOUND) break;
    OSTRA_RETURN_IF_ERROR(pieces.Append(SubString(start, end - start)));
    start = end + static_cast<Int>(separator.size());
  }
  OSTRA_RETURN_IF_ERROR(pieces.Append(SubString(start)));
  return pieces;
}

Result<String> String::Join(const BaseArray<String>& pieces, std::string_view separator) {
  std::size_t size = pieces.IsEmpty() ? 0 : separator.size() * static_cast<std::size_t>(pieces.GetCount() - 1);
  for (const String& piece : pieces) size += piece.GetView().size();
  return Make(size, [&pieces, separator](char* target) {
    Bool first = true;
    for (const String& piece : pieces) {
      if (!std::exchange(first, false)) target += separator.copy(target, separator.size());
      target += piece.GetView().copy(target, piece.GetView().size());
    }
  });
}

Result<Int> String::ToInt() const {
  std::string_view digits = GetView();
  if (digits.starts_with('+') && !digits.starts_with("+-")) digits.remove_prefix(1);
  Int number = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (failure != std::errc() || end != digits.data() + digits.size())
    return OSTRA_ILLEGAL_ARGUMENT("\"@\" is not an integer.", *this);
  return number;
}

Result<CString> CString::Create(std::string_view text) {
  OSTRA_ASSIGN_OR_RETURN(String copy, String::Create(text));
  return CString(copy);
}

Result<Id> Id::Create(std::string_view text) {
  OSTRA_ASSIGN_OR_RETURN(String copy, String::Create(text));
  return Id(std::move(copy));
}

}  // namespace ostra
