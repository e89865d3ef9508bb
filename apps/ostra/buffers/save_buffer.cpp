#include <string>
#include <vector>

#include "apps/ostra/buffers/buffer_file.h"
#include "apps/ostra/buffers/csv.h"
#include "apps/ostra/buffers/file_kind.h"
#include "apps/ostra/buffers/npy.h"
#include "apps/ostra/buffers/npy_records.h"
#include "apps/ostra/tool_error.h"
#include "ostra/core/struct_type.h"
#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("save_buffer");

namespace ostra::tool {

namespace {

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

Result<void> SavePicture(const Url& file, Block<const Byte> bytes, const Extents& size) {
  const Int count = bytes.GetCount() / Int(sizeof(Vector4d32));
  if (size.depth != 1 || size.width * size.height != count)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: the buffer has @ elements, and a picture of @ needs @.", file,
                                  count, size.ToText(), size.GetCount());
  const Block<const Float32> pixels(reinterpret_cast<const Float32*>(bytes.GetFirst()), 4 * count);
  return WriteImage(file, ImageView(size.width, size.height, pixels));
}

// The axes of `count` elements.
std::vector<Int> MakeShape(const Extents& size, Int count) {
  if (size.GetCount() == count && size.depth > 1) return {size.depth, size.height, size.width};
  if (size.GetCount() == count && size.height > 1) return {size.height, size.width};
  return {count};
}

Result<void> SaveRecords(const Url& file, DataType type, Block<const Byte> bytes, const Extents& size) {
  OSTRA_ASSIGN_OR_RETURN(const std::string description, MakeRecordDescription(type));
  const std::string header = EncodeNpyRecordHeader(description, MakeShape(size, bytes.GetCount() / type.GetSize()));
  const Block<const Byte> parts[] = {BytesOf(header), bytes};
  return WriteFileAtomically(file, parts);
}

Result<void> SaveNpy(const Url& file, const ElementLayout& layout, Block<const Byte> bytes, const Extents& size) {
  const Int count = bytes.GetCount() / (layout.scalar->GetSize() * layout.componentCount);
  std::vector<Int> shape = MakeShape(size, count);
  if (layout.componentCount > 1) shape.push_back(layout.componentCount);
  const std::string header = EncodeNpyHeader(*layout.scalar, shape);
  const Block<const Byte> parts[] = {BytesOf(header), bytes};
  return WriteFileAtomically(file, parts);
}

Result<void> SaveCsv(const Url& file, const ElementLayout& layout, Block<const Byte> bytes) {
  const std::string text = EncodeCsv(layout, bytes);
  return WriteFileAtomically(file, BytesOf(text));
}

}  // namespace

Result<void> CheckBufferTarget(const Url& file, DataType elementType) {
  const FileKind kind = GetFileKind(file);
  if (kind == FileKind::Unknown)
    return OSTRA_USAGE_ERROR("@ has no suffix that says how to write it; known are @.", file, kKnownSuffixes);
  if (kind == FileKind::Picture && elementType != GetDataType<Vector4d32>())
    return OSTRA_ILLEGAL_ARGUMENT(
        "@ cannot be written: a picture needs elements of 4 x float32, and the parameter has @.", file,
        DescribeType(elementType));
  if (!elementType.IsPlain())
    return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be written to files.", elementType);
  const Bool isRecord = kind == FileKind::Npy && !GetStructMembers(elementType).IsEmpty();
  if (isRecord) {
    OSTRA_RETURN_IF_ERROR(MakeRecordDescription(elementType));
  } else if (kind == FileKind::Npy || kind == FileKind::Csv) {
    OSTRA_RETURN_IF_ERROR(GetElementLayout(elementType));
  }
  return CheckFileTarget(file);
}

Result<void> SaveBuffer(const Url& file, DataType elementType, Block<const Generic> elements, const Extents& size) {
  OSTRA_RETURN_IF_ERROR(CheckBufferTarget(file, elementType));
  const Block<const Byte> bytes(reinterpret_cast<const Byte*>(elements.GetFirst()),
                                elements.GetCount() * elementType.GetSize());
  const FileKind kind = GetFileKind(file);
  if (kind == FileKind::Picture) return SavePicture(file, bytes, size);
  if (kind == FileKind::Raw) return WriteFileAtomically(file, bytes);
  if (kind == FileKind::Npy && !GetStructMembers(elementType).IsEmpty())
    return SaveRecords(file, elementType, bytes, size);
  OSTRA_ASSIGN_OR_RETURN(const ElementLayout layout, GetElementLayout(elementType));
  return kind == FileKind::Npy ? SaveNpy(file, layout, bytes, size) : SaveCsv(file, layout, bytes);
}

}  // namespace ostra::tool
