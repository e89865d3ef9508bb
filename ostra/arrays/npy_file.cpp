#include "ostra/arrays/npy_file.h"

#include "ostra/core/format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("npy_file");

namespace ostra {

Result<NumberFile> ReadNumberFile(const Url& file, const NumberType& number) {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
  auto array = DecodeNpy(bytes.GetBlock());
  if (!array) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @.", file, array.GetError());
  if (array->number->npyCode != number.npyCode)
    return OSTRA_ILLEGAL_ARGUMENT("@ holds numbers of the type @, but @ is needed.", file, array->number->type,
                                  number.type);
  return NumberFile{std::move(bytes), std::move(*array)};
}

}  // namespace ostra
