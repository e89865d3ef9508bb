#include <optional>
#include <string>

#include "apps/ostra/buffers/buffer_file.h"
#include "apps/ostra/buffers/csv.h"
#include "apps/ostra/buffers/file_kind.h"
#include "apps/ostra/buffers/npy_file.h"
#include "apps/ostra/tool_error.h"
#include "apps/ostra/values/element_numbers.h"
#include "ostra/core/struct_type.h"
#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("load_buffer");

namespace ostra::tool {

namespace {

// Elements with the given bytes, whose number is a multiple of the element size.
Result<GenericBaseArray> MakeElements(DataType type, Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, bytes.GetCount() / type.GetSize()));
  if (!bytes.IsEmpty()) MemCopy(elements.GetFirst(), bytes.GetFirst(), bytes.GetCount());
  return elements;
}

Result<BufferContents> MakeFlatContents(DataType type, Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, MakeElements(type, bytes));
  return BufferContents{std::move(elements), {bytes.GetCount() / type.GetSize(), 1, 1}, false};
}

Result<BufferContents> LoadPicture(const Url& file, DataType type) {
  if (type != GetDataType<Vector4d32>())
    return OSTRA_ILLEGAL_ARGUMENT("@ is a picture, which makes elements of 4 x float32, but the parameter needs @.",
                                  file, DescribeType(type));
  OSTRA_ASSIGN_OR_RETURN(const Image image, ReadImage(file));
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, image.width * image.height));
  MemCopy(elements.GetFirst(), image.rgba.GetFirst(), image.rgba.GetCount() * Int(sizeof(Float32)));
  return BufferContents{std::move(elements), {image.width, image.height, 1}, true};
}

// Of an array of elements.
Extents GetSize(std::vector<Int> shape, Int count) {
  if (shape.size() > 3) return {count, 1, 1};
  shape.insert(shape.begin(), 3 - shape.size(), 1);
  return {shape[2], shape[1], shape[0]};
}

// The sides of the array without the axis of the components, when there is one; else the number of elements.
Extents GetArraySize(const NumberArray& array, const ElementLayout& layout) {
  std::vector<Int> shape = array.shape;
  const Int count = array.GetCount() / layout.componentCount;
  const Bool hasComponentAxis = layout.componentCount > 1 && !shape.empty() && shape.back() == layout.componentCount;
  if (hasComponentAxis) shape.pop_back();
  if (layout.componentCount > 1 && !hasComponentAxis) return {count, 1, 1};
  return GetSize(std::move(shape), count);
}

// Whether the last axes, or the last one, hold the numbers of one element. Numbers in one row are elements one by one.
Bool HasElementAxes(const NumberArray& array, const ElementLayout& layout) {
  if (layout.componentCount == 1 || array.shape.size() < 2) return true;
  Int count = 1;
  for (std::size_t i = array.shape.size(); i > 0 && count < layout.componentCount; --i) count *= array.shape[i - 1];
  return count == layout.componentCount;
}

Result<BufferContents> LoadNpy(const Url& file, DataType type, const ElementLayout& layout) {
  OSTRA_ASSIGN_OR_RETURN(const NumberFile contents, ReadNumberFile(file, *layout.scalar));
  const NumberArray& array = contents.numbers;
  if (array.GetCount() % layout.componentCount != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@ holds @ numbers, which is no multiple of the @ numbers of an element.", file,
                                  array.GetCount(), layout.componentCount);
  if (!HasElementAxes(array, layout))
    return OSTRA_ILLEGAL_ARGUMENT(
        "@ has @ axes, of which the last ones do not hold the @ numbers of an element; only an array of one axis is "
        "cut "
        "into elements.",
        file, array.shape.size(), layout.componentCount);
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, MakeElements(type, array.numbers));
  return BufferContents{std::move(elements), GetArraySize(array, layout), false};
}

Result<BufferContents> LoadRecords(const Url& file, DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  const auto array = DecodeNpyRecords(bytes.GetBlock(), type);
  if (!array) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, array.GetError());
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, MakeElements(type, array->records));
  const Int count = elements.GetCount();
  return BufferContents{std::move(elements), GetSize(array->shape, count), false};
}

Result<BufferContents> LoadCsv(const Url& file, DataType type, const ElementLayout& layout) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  auto text = DecodeText(bytes.GetBlock());
  if (!text) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @", file, text.GetError());
  const auto numbers = DecodeCsv(layout, text->GetView());
  if (!numbers) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, numbers.GetError());
  return MakeFlatContents(type, numbers->GetBlock());
}

Result<BufferContents> LoadRaw(const Url& file, DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  if (bytes.GetCount() % type.GetSize() != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@ has @ bytes, which is no multiple of the @ bytes of an element.", file,
                                  bytes.GetCount(), type.GetSize());
  return MakeFlatContents(type, bytes.GetBlock());
}

Result<BufferContents> LoadFile(const Url& file, DataType type) {
  if (!type.IsPlain()) return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be read from files.", type);
  const FileKind kind = GetFileKind(file);
  if (kind == FileKind::Picture) return LoadPicture(file, type);
  if (kind == FileKind::Raw) return LoadRaw(file, type);
  if (kind == FileKind::Unknown)
    return OSTRA_USAGE_ERROR("@ has no suffix that says how to read it; known are @, zeros:SIZE and ones:SIZE.", file,
                             kKnownSuffixes);
  if (kind == FileKind::Npy && !GetStructMembers(type).IsEmpty()) return LoadRecords(file, type);
  OSTRA_ASSIGN_OR_RETURN(const ElementLayout layout, GetElementLayout(type));
  return kind == FileKind::Npy ? LoadNpy(file, type, layout) : LoadCsv(file, type, layout);
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
  OSTRA_ASSIGN_OR_RETURN(BufferContents contents, LoadFile(file, elementType));
  if (contents.elements.GetCount() == 0) return OSTRA_ILLEGAL_ARGUMENT("@ is empty.", file);
  return contents;
}

}  // namespace ostra::tool
