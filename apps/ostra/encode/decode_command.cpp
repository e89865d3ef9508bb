#include "apps/ostra/encode/decode_command.h"

#include "ostra/io/file.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderparser/container.h"

OSTRA_UNIT("decode_command");

namespace ostra::tool {

using namespace kernelruntime;

Result<void> DecodeFile(const Url& source, const Url& target) {
  OSTRA_RETURN_IF_ERROR(CheckFileTarget(target));
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadSourceBytes(source, true));
  if (!IsContainer(bytes.GetBlock())) return OSTRA_ILLEGAL_ARGUMENT("@ is not encoded.", source);
  OSTRA_RETURN_IF_ERROR(DecodeSourceFile(source, bytes));
  return WriteFileAtomically(target, bytes.GetBlock());
}

}  // namespace ostra::tool
