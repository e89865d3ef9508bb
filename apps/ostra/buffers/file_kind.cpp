#include "apps/ostra/buffers/file_kind.h"

namespace ostra::tool {

FileKind GetFileKind(const Url& file) {
  const String suffix = file.GetSuffix();
  if (suffix == "png" || suffix == "exr") return FileKind::Picture;
  if (suffix == "npy") return FileKind::Npy;
  if (suffix == "csv" || suffix == "txt") return FileKind::Csv;
  if (suffix == "raw" || suffix == "bin") return FileKind::Raw;
  return FileKind::Unknown;
}

}  // namespace ostra::tool
