#include <optional>
#include <string>

#include "ostra/arrays/array_file.h"
#include "ostra/core/struct_type.h"
#include "ostra/io/file.h"
#include "plans/buffers/buffer_file.h"
#include "plans/buffers/csv.h"
#include "plans/buffers/file_kind.h"
#include "plans/usage_error.h"
#include "plans/values/element_numbers.h"

OSTRA_UNIT("load_buffer");

namespace ostra::plans {

namespace {

Result<BufferContents> LoadCsv(const Url& file, DataType type) {
  if (!type.IsPlain()) return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be read from files.", type);
  OSTRA_ASSIGN_OR_RETURN(const ElementLayout layout, GetElementLayout(type));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  auto text = DecodeText(bytes.GetBlock());
  if (!text) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @", file, text.GetError());
  const auto numbers = DecodeCsv(layout, text->GetView());
  if (!numbers) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, numbers.GetError());
  if (numbers->IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("@ is empty.", file);
  const Int count = numbers->GetCount() / type.GetSize();
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, count));
  MemCopy(elements.GetFirst(), numbers->GetFirst(), numbers->GetCount());
  return BufferContents{std::move(elements), {count, 1, 1}, false};
}

Result<BufferContents> LoadFile(const Url& file, DataType type) {
  const FileKind kind = GetFileKind(file);
  if (kind == FileKind::Unknown)
    return OSTRA_USAGE_ERROR("@ has no suffix that says how to read it; known are @, zeros:SIZE and ones:SIZE.", file,
                             kKnownSuffixes);
  if (kind == FileKind::Csv) return LoadCsv(file, type);
  OSTRA_ASSIGN_OR_RETURN(ArrayContents contents, ReadArrayFile(file, type));
  const ArrayExtent& extent = contents.extent;
  return BufferContents{std::move(contents.elements), {extent.width, extent.height, extent.depth}, contents.isPicture};
}

Result<void> FillWithOnes(GenericBaseArray& elements) {
  const DataType type = elements.GetElementType();
  if (GetStructMembers(type).IsEmpty()) OSTRA_RETURN_IF_ERROR(GetElementLayout(type));
  const std::vector<ElementNumber> numbers = ListNumbers(type);
  Byte* element = static_cast<Byte*>(elements.GetFirst());
  for (Int i = 0; i < elements.GetCount(); ++i, element += type.GetSize())
    for (const ElementNumber& number : numbers)
      OSTRA_RETURN_IF_ERROR(FindScalarType(number.type)->parse("1", element + number.offset));
  return OK;
}

// Nothing when `source` is no generated buffer but a file.
Result<std::optional<BufferContents>> Generate(std::string_view source, DataType type) {
  const std::size_t colon = source.find(':');
  const std::string_view word = source.substr(0, colon);
  if (colon == std::string_view::npos || (word != "zeros" && word != "ones")) return std::optional<BufferContents>();
  OSTRA_ASSIGN_OR_RETURN(const Extents size, ParseExtents(source.substr(colon + 1)));
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, size.GetCount()));
  if (word == "ones") OSTRA_RETURN_IF_ERROR(FillWithOnes(elements));
  return std::optional(BufferContents{std::move(elements), size, false});
}

}  // namespace

Result<BufferContents> LoadBuffer(std::string_view source, DataType elementType) {
  OSTRA_ASSIGN_OR_RETURN(std::optional<BufferContents> generated, Generate(source, elementType));
  if (generated) return std::move(*generated);
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(source));
  return LoadFile(file, elementType);
}

}  // namespace ostra::plans
