#include "apps/ostra/buffers/npy_file.h"

#include "ostra/core/format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("npy_file");

namespace ostra::tool {

Result<NumberFile> ReadNumberFile(const Url& file, const ScalarType& scalar) {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
  auto array = DecodeNpy(bytes.GetBlock());
  if (!array) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, array.GetError());
  if (array->scalar->npyCode != scalar.npyCode)
    return OSTRA_ILLEGAL_ARGUMENT("@ holds numbers of the type @, but the parameter needs @.", file,
                                  array->scalar->type, scalar.type);
  return NumberFile{std::move(bytes), std::move(*array)};
}

}  // namespace ostra::tool
