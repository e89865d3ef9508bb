#include "ostra/arrays/array_file.h"

#include <string>
#include <vector>

#include "ostra/arrays/npy_file.h"
#include "ostra/arrays/npy_records.h"
#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/core/struct_type.h"
#include "ostra/image/picture_format.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("array_file");

namespace ostra {

namespace {

constexpr const char* kKnownSuffixes = ".npy, .raw, .bin and pictures: " OSTRA_PICTURE_SUFFIXES;

// Elements with the given bytes, whose number is a multiple of the element size.
Result<GenericBaseArray> MakeElements(DataType type, Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, bytes.GetCount() / type.GetSize()));
  if (!bytes.IsEmpty()) MemCopy(elements.GetFirst(), bytes.GetFirst(), bytes.GetCount());
  return elements;
}

Result<ArrayContents> ReadPicture(const Url& file, DataType type) {
  if (type != GetDataType<Vector4d32>())
    return OSTRA_ILLEGAL_ARGUMENT("@ is a picture, which makes elements of 4 x float32, but @ is needed.", file,
                                  DescribeElementType(type));
  OSTRA_ASSIGN_OR_RETURN(const Image image, ReadImage(file));
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, image.width * image.height));
  MemCopy(elements.GetFirst(), image.rgba.GetFirst(), image.rgba.GetCount() * Int(sizeof(Float32)));
  return ArrayContents{std::move(elements), {image.width, image.height, 1}, true};
}

// Of an array of elements.
ArrayExtent GetExtent(std::vector<Int> shape, Int count) {
  if (shape.size() > 3) return {count, 1, 1};
  shape.insert(shape.begin(), 3 - shape.size(), 1);
  return {shape[2], shape[1], shape[0]};
}

// The sides of the array without the axis of the components, when there is one; else the number of elements.
ArrayExtent GetNumberExtent(const NumberArray& array, const NumberLayout& layout) {
  std::vector<Int> shape = array.shape;
  const Int count = array.GetCount() / layout.componentCount;
  const Bool hasComponentAxis = layout.componentCount > 1 && !shape.empty() && shape.back() == layout.componentCount;
  if (hasComponentAxis) shape.pop_back();
  if (layout.componentCount > 1 && !hasComponentAxis) return {count, 1, 1};
  return GetExtent(std::move(shape), count);
}

// Whether the last axes, or the last one, hold the numbers of one element. Numbers in one row are elements one by one.
Bool HasElementAxes(const NumberArray& array, const NumberLayout& layout) {
  if (layout.componentCount == 1 || array.shape.size() < 2) return true;
  Int count = 1;
  for (std::size_t i = array.shape.size(); i > 0 && count < layout.componentCount; --i) count *= array.shape[i - 1];
  return count == layout.componentCount;
}

Result<ArrayContents> ReadNumbers(const Url& file, DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const NumberLayout layout, GetNumberLayout(type));
  OSTRA_ASSIGN_OR_RETURN(const NumberFile contents, ReadNumberFile(file, *layout.number));
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
  return ArrayContents{std::move(elements), GetNumberExtent(array, layout), false};
}

Result<ArrayContents> ReadRecords(const Url& file, DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  const auto array = DecodeNpyRecords(bytes.GetBlock(), type);
  if (!array) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, array.GetError());
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, MakeElements(type, array->records));
  const Int count = elements.GetCount();
  return ArrayContents{std::move(elements), GetExtent(array->shape, count), false};
}

Result<ArrayContents> ReadRaw(const Url& file, DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  if (bytes.GetCount() % type.GetSize() != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@ has @ bytes, which is no multiple of the @ bytes of an element.", file,
                                  bytes.GetCount(), type.GetSize());
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, MakeElements(type, bytes.GetBlock()));
  const Int count = elements.GetCount();
  return ArrayContents{std::move(elements), {count, 1, 1}, false};
}

Result<ArrayContents> ReadAny(const Url& file, DataType type) {
  if (!type.IsPlain()) return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be read from files.", type);
  switch (GetArrayFileKind(file)) {
    case ArrayFileKind::Picture:
      return ReadPicture(file, type);
    case ArrayFileKind::Raw:
      return ReadRaw(file, type);
    case ArrayFileKind::Npy:
      return GetStructMembers(type).IsEmpty() ? ReadNumbers(file, type) : ReadRecords(file, type);
    default:
      return OSTRA_ILLEGAL_ARGUMENT("@ has no suffix that says how to read it; known are @.", file, kKnownSuffixes);
  }
}

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

std::string ToText(const ArrayExtent& extent) {
  std::string text = std::to_string(extent.width);
  if (extent.height > 1 || extent.depth > 1) text += " x " + std::to_string(extent.height);
  if (extent.depth > 1) text += " x " + std::to_string(extent.depth);
  return text;
}

Result<void> WritePicture(const Url& file, Block<const Byte> bytes, const ArrayExtent& extent) {
  const Int count = bytes.GetCount() / Int(sizeof(Vector4d32));
  if (extent.depth != 1 || extent.GetCount() != count)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: the buffer has @ elements, and a picture of @ needs @.", file,
                                  count, ToText(extent), extent.GetCount());
  const Block<const Float32> pixels(reinterpret_cast<const Float32*>(bytes.GetFirst()), 4 * count);
  return WriteImage(file, ImageView(extent.width, extent.height, pixels));
}

// The axes of `count` elements.
std::vector<Int> MakeShape(const ArrayExtent& extent, Int count) {
  if (extent.GetCount() == count && extent.depth > 1) return {extent.depth, extent.height, extent.width};
  if (extent.GetCount() == count && extent.height > 1) return {extent.height, extent.width};
  return {count};
}

Result<void> WriteNpy(const Url& file, DataType type, Block<const Byte> bytes, const ArrayExtent& extent) {
  std::vector<Int> shape = MakeShape(extent, bytes.GetCount() / type.GetSize());
  std::string header;
  if (!GetStructMembers(type).IsEmpty()) {
    OSTRA_ASSIGN_OR_RETURN(const std::string description, MakeRecordDescription(type));
    header = EncodeNpyRecordHeader(description, shape);
  } else {
    OSTRA_ASSIGN_OR_RETURN(const NumberLayout layout, GetNumberLayout(type));
    if (layout.componentCount > 1) shape.push_back(layout.componentCount);
    header = EncodeNpyHeader(*layout.number, shape);
  }
  const Block<const Byte> parts[] = {BytesOf(header), bytes};
  return WriteFileAtomically(file, parts);
}

Result<void> CheckAny(const Url& file, DataType type) {
  const ArrayFileKind kind = GetArrayFileKind(file);
  if (kind == ArrayFileKind::Unknown)
    return OSTRA_ILLEGAL_ARGUMENT("@ has no suffix that says how to write it; known are @.", file, kKnownSuffixes);
  if (kind == ArrayFileKind::Picture && !IsPictureFile(file))
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: it names a layer, and pictures are written whole.", file);
  if (kind == ArrayFileKind::Picture && type != GetDataType<Vector4d32>())
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: a picture needs elements of 4 x float32, not of @.", file,
                                  DescribeElementType(type));
  if (!type.IsPlain()) return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be written to files.", type);
  if (kind == ArrayFileKind::Npy && !GetStructMembers(type).IsEmpty()) {
    OSTRA_RETURN_IF_ERROR(MakeRecordDescription(type));
  } else if (kind == ArrayFileKind::Npy) {
    OSTRA_RETURN_IF_ERROR(GetNumberLayout(type));
  }
  return CheckFileTarget(file);
}

}  // namespace

ArrayFileKind GetArrayFileKind(const Url& file) {
  const String suffix = file.GetSuffix();
  if (IsPictureFile(file) || SplitPictureSource(file).layer.IsPopulated()) return ArrayFileKind::Picture;
  if (suffix == "npy") return ArrayFileKind::Npy;
  if (suffix == "raw" || suffix == "bin") return ArrayFileKind::Raw;
  return ArrayFileKind::Unknown;
}

Result<ArrayContents> ReadArrayFile(const Url& file, DataType elementType) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<ArrayContents> {
    OSTRA_ASSIGN_OR_RETURN(ArrayContents contents, ReadAny(file, elementType));
    if (contents.elements.GetCount() == 0) return OSTRA_ILLEGAL_ARGUMENT("@ is empty.", file);
    return contents;
  });
}

Result<void> CheckArrayFile(const Url& file, DataType elementType) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&] { return CheckAny(file, elementType); });
}

Result<void> WriteArrayFile(const Url& file, DataType elementType, Block<const Generic> elements,
                            const ArrayExtent& extent) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(CheckAny(file, elementType));
    if (extent.width < 0 || extent.height < 0 || extent.depth < 0)
      return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: an extent of @ x @ x @ has sides below 0.", file,
                                    extent.width, extent.height, extent.depth);
    const Block<const Byte> bytes(reinterpret_cast<const Byte*>(elements.GetFirst()),
                                  elements.GetCount() * elementType.GetSize());
    const ArrayFileKind kind = GetArrayFileKind(file);
    if (kind == ArrayFileKind::Picture) return WritePicture(file, bytes, extent);
    if (kind == ArrayFileKind::Raw) return WriteFileAtomically(file, bytes);
    return WriteNpy(file, elementType, bytes, extent);
  });
}

}  // namespace ostra
