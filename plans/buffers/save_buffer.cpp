#include <string>

#include "ostra/arrays/array_file.h"
#include "ostra/io/file.h"
#include "plans/buffers/buffer_file.h"
#include "plans/buffers/csv.h"
#include "plans/buffers/file_kind.h"
#include "plans/usage_error.h"

OSTRA_UNIT("save_buffer");

namespace ostra::plans {

Result<void> CheckBufferTarget(const Url& file, DataType elementType) {
  const FileKind kind = GetFileKind(file);
  if (kind == FileKind::Unknown)
    return OSTRA_USAGE_ERROR("@ has no suffix that says how to write it; known are @.", file, kKnownSuffixes);
  if (kind != FileKind::Csv) return CheckArrayFile(file, elementType);
  if (!elementType.IsPlain())
    return OSTRA_ILLEGAL_ARGUMENT("Elements of the type @ cannot be written to files.", elementType);
  OSTRA_RETURN_IF_ERROR(GetElementLayout(elementType));
  return CheckFileTarget(file);
}

Result<void> SaveBuffer(const Url& file, DataType elementType, Block<const Generic> elements, const Extents& size) {
  OSTRA_RETURN_IF_ERROR(CheckBufferTarget(file, elementType));
  if (GetFileKind(file) != FileKind::Csv)
    return WriteArrayFile(file, elementType, elements, {size.width, size.height, size.depth});
  OSTRA_ASSIGN_OR_RETURN(const ElementLayout layout, GetElementLayout(elementType));
  const std::string text = EncodeCsv(
      layout, {reinterpret_cast<const Byte*>(elements.GetFirst()), elements.GetCount() * elementType.GetSize()});
  return WriteFileAtomically(file, {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())});
}

}  // namespace ostra::plans
