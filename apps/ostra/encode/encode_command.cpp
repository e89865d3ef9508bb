#include "apps/ostra/encode/encode_command.h"

#include "ostra/io/file.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderparser/container.h"

OSTRA_UNIT("encode_command");

namespace ostra::tool {

using namespace kernelruntime;

namespace {

// A plain text may begin like a container; encoded it can be read all the same.
Bool IsSoundContainer(BaseArray<Byte> bytes) { return IsContainer(bytes.GetBlock()) && DecodeContainer(bytes).IsOk(); }

}  // namespace

Result<void> EncodeFile(const Url& source, const Url& target) {
  OSTRA_RETURN_IF_ERROR(CheckFileTarget(target));
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> text, ReadSourceBytes(source, true));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> container, EncodeContainer(text.GetBlock()));
  if (IsSoundContainer(std::move(text))) return OSTRA_ILLEGAL_ARGUMENT("@ is encoded already.", source);
  return WriteFileAtomically(target, container.GetBlock());
}

}  // namespace ostra::tool
