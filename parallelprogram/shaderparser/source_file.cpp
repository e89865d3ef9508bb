#include "parallelprogram/shaderparser/source_file.h"

#include "parallelprogram/shaderparser/container.h"

namespace ostra {

Result<SourceFile> ReadSourceFile(const Url& file) {
  SourceFile source;
  OSTRA_ASSIGN_OR_RETURN(source.bytes, ReadFileToMemory(file, {.maxSize = kMaxTextFileSize}));
  OSTRA_RETURN_IF_ERROR(DecodeContainer(source.bytes));
  OSTRA_ASSIGN_OR_RETURN(source.text, DecodeText(source.bytes.GetBlock()));
  return source;
}

}  // namespace ostra
