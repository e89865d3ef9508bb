#include "parallelprogram/program/buffer_source.h"

#include "ostra/core/format.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

Bool IsArrayReference(DataType type) {
  return type.IsMadeWith(kCowParametricType) && type.GetInnerType().IsMadeWith(kArrayParametricType);
}

Result<BufferSource> FromArray(const Array<Generic>& array) {
  if (!array.IsPopulated()) return OSTRA_ILLEGAL_ARGUMENT("data is not an base array or block");
  const Block<Generic> block = array.GetFirstBlock();
  if (block.GetCount() != array.GetCount())
    return OSTRA_ILLEGAL_ARGUMENT("only arrays with one continuous memory block are supported");
  return BufferSource{array.GetElementType(), block};
}

Bool IsBaseArray(DataType type) {
  return type.IsMadeWith(kBaseArrayParametricType) || type == GetDataType<GenericBaseArray>();
}

}  // namespace

Result<BufferSource> BufferSource::FromValue(const ForwardingDataPtr& data) {
  const DataType type = data.GetType();
  const void* value = data.GetPointer();
  BufferSource source;
  if (type == GetDataType<GenericBaseArray>()) {
    const auto& array = *static_cast<const GenericBaseArray*>(value);
    source = {array.GetElementType(), array.GetBlock()};
  } else if (type.IsMadeWith(kBaseArrayParametricType)) {
    source = {type.GetInnerType(), GenericBaseArray::ViewBaseArray(type.GetInnerType(), value)};
  } else if (type.IsMadeWith(kBlockParametricType)) {
    source = {type.GetInnerType(), *static_cast<const Block<Generic>*>(value)};
  } else if (IsArrayReference(type)) {
    OSTRA_ASSIGN_OR_RETURN(source, FromArray(*static_cast<const Array<Generic>*>(value)));
  } else if (type.IsPointer() && IsArrayReference(type.GetInnerType())) {
    const auto* array = *static_cast<const Array<Generic>* const*>(value);
    if (array) {
      OSTRA_ASSIGN_OR_RETURN(source, FromArray(*array));
    }
  }
  const Bool hasElements = source.elementType.IsPopulated() && source.elementType.GetSize() > 0;
  if (!hasElements || (source.elements.GetCount() > 0 && !source.elements.GetFirst()))
    return OSTRA_ILLEGAL_ARGUMENT("data is not an base array or block");
  return source;
}

Result<void> CheckNotEmpty(Int count) {
  if (count < 1)
    return OSTRA_ILLEGAL_ARGUMENT(
        "Empty buffers are not allowed to be added. Please resize to the required size before storing.");
  return OK;
}

Result<Array<Generic>> MakeBufferArray(ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(BufferSource source, BufferSource::FromValue(data));
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(source.elements.GetCount()));
  if (!data.IsMovable() || !IsBaseArray(data.GetType())) return NewBaseArray(source.elementType, source.elements);
  if (data.GetType() == GetDataType<GenericBaseArray>())
    return NewBaseArray(std::move(*static_cast<GenericBaseArray*>(data.Release())));
  return NewBaseArray(GenericBaseArray::AdoptBaseArray(source.elementType, data.Release()));
}

}  // namespace ostra
