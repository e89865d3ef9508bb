#include "apps/ostra/encode/source_file.h"

#include "ostra/io/file.h"
#include "parallelprogram/shaderparser/container.h"

OSTRA_UNIT("source_file");

namespace ostra::tool {

namespace {

Error MakeReadError(const Url& file, const Error& reason) {
  if (reason.GetKind() == kOutOfMemoryError) return reason;
  return MakeError(reason.GetKind(), kOstraUnit, __LINE__, "@ cannot be read: @", file, reason);
}

}  // namespace

Result<void> DecodeSourceFile(const Url& file, BaseArray<Byte>& bytes) {
  auto decoded = DecodeContainer(bytes);
  if (!decoded) return MakeReadError(file, decoded.GetError());
  return OK;
}

Result<SourceText> ReadSourceText(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
  const Bool isEncoded = IsContainer(bytes.GetBlock());
  OSTRA_RETURN_IF_ERROR(DecodeSourceFile(file, bytes));
  auto text = DecodeText(bytes.GetBlock());
  if (!text) return MakeReadError(file, text.GetError());
  return SourceText{std::move(*text), isEncoded};
}

}  // namespace ostra::tool
