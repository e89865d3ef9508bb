#include "plans/buffers/file_kind.h"

#include "ostra/arrays/array_file.h"

namespace ostra::plans {

FileKind GetFileKind(const Url& file) {
  const String suffix = file.GetSuffix();
  if (suffix == "csv" || suffix == "txt") return FileKind::Csv;
  switch (GetArrayFileKind(file)) {
    case ArrayFileKind::Picture:
      return FileKind::Picture;
    case ArrayFileKind::Npy:
      return FileKind::Npy;
    case ArrayFileKind::Raw:
      return FileKind::Raw;
    default:
      return FileKind::Unknown;
  }
}

}  // namespace ostra::plans
