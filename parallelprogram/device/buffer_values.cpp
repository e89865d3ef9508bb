#include "parallelprogram/device/buffer_values.h"

#include "ostra/core/format.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Error MakeNoSourceError() { return OSTRA_ILLEGAL_ARGUMENT("data is not an base array, block or array ref"); }

Result<void> CheckSource(const DataType& type, Int count) {
  if (!type.IsPopulated() || type.GetSize() < 1) return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  if (count < 1)
    return OSTRA_ILLEGAL_ARGUMENT(
        "Empty buffers are not allowed to be added. Please resize to the required size before storing.");
  return CheckDeviceType(type);
}

Result<UploadSource> FromBlock(const DataType& type, const Block<const Generic>& block) {
  OSTRA_RETURN_IF_ERROR(CheckSource(type, block.GetCount()));
  if (!block.GetFirst()) return MakeNoSourceError();
  UploadSource source{type, block.GetCount(), reinterpret_cast<const Byte*>(block.GetFirst()), {}};
  if (block.GetStride() != type.GetSize()) {
    OSTRA_ASSIGN_OR_RETURN(source.packed, GenericBaseArray::CreateCopy(type, block));
    source.bytes = static_cast<const Byte*>(source.packed.GetFirst());
  }
  return source;
}

Result<UploadSource> FromArray(const Array<Generic>& array) {
  if (!array.IsPopulated()) return MakeNoSourceError();
  const DataType type = array.GetElementType();
  const Block<const Generic> first = array.GetFirstBlock();
  if (first.GetCount() == array.GetCount()) return FromBlock(type, first);
  OSTRA_RETURN_IF_ERROR(CheckSource(type, array.GetCount()));
  UploadSource source{type, array.GetCount(), nullptr, {}};
  OSTRA_ASSIGN_OR_RETURN(source.packed, GenericBaseArray::Create(type, source.count));
  source.bytes = static_cast<const Byte*>(source.packed.GetFirst());
  Byte* target = static_cast<Byte*>(source.packed.GetFirst());
  for (Int done = 0; done < source.count;) {
    const Block<Generic> piece = array.GetReference()->GetBlock(done);
    if (piece.GetCount() < 1) return MakeNoSourceError();
    OSTRA_RETURN_IF_ERROR(type.Copy(target + done * type.GetSize(), type.GetSize(), piece.GetFirst(), piece.GetStride(),
                                    piece.GetCount()));
    done += piece.GetCount();
  }
  return source;
}

}  // namespace

Result<void> CheckDeviceType(const DataType& type) {
  if (type.IsPlain() || type.IsMadeWith(kAtomicParametricType)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot lie on a device.", type);
}

Result<UploadSource> UploadSource::FromValue(const ForwardingDataPtr& data) {
  const DataType type = data.GetType();
  const void* value = data.GetPointer();
  if (type == GetDataType<GenericBaseArray>()) {
    const auto& array = *static_cast<const GenericBaseArray*>(value);
    return FromBlock(array.GetElementType(), array.GetBlock());
  }
  if (type.IsMadeWith(kBaseArrayParametricType))
    return FromBlock(type.GetInnerType(), GenericBaseArray::ViewBaseArray(type.GetInnerType(), value));
  if (type.IsMadeWith(kBlockParametricType))
    return FromBlock(type.GetInnerType(), *static_cast<const Block<Generic>*>(value));
  if (type.IsMadeWith(kCowParametricType)) {
    if (!type.GetInnerType().IsMadeWith(kArrayParametricType))
      return OSTRA_ILLEGAL_ARGUMENT("only array container references are supported");
    return FromArray(*static_cast<const Array<Generic>*>(value));
  }
  if (type.IsPointer() && type.GetInnerType().IsMadeWith(kCowParametricType) &&
      type.GetInnerType().GetInnerType().IsMadeWith(kArrayParametricType)) {
    const auto* array = *static_cast<const Array<Generic>* const*>(value);
    if (array) return FromArray(*array);
  }
  return MakeNoSourceError();
}

Result<UploadSource> UploadSource::FromBytes(const DataType& elementType, const GenericBaseArray& data) {
  const DataType own = data.GetElementType();
  OSTRA_RETURN_IF_ERROR(CheckSource(elementType, data.GetCount()));
  OSTRA_RETURN_IF_ERROR(CheckSource(own, data.GetCount()));
  const Int bytes = data.GetCount() * own.GetSize();
  if (bytes % elementType.GetSize() != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@ bytes are no whole number of elements of type \"@\".", bytes, elementType);
  return UploadSource{elementType, bytes / elementType.GetSize(), static_cast<const Byte*>(data.GetFirst()), {}};
}

}  // namespace ostra
