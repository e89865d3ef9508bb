#include "parallelprogram/program/cpu_buffer_elements.h"

#include <algorithm>
#include <functional>

#include "ostra/core/format.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// Whether a byte of `elements`, which are `elementSize` bytes each, is one of the `byteCount` bytes at `place`.
Bool DoOverlap(const Block<const Generic>& elements, Int elementSize, const Byte* place, Int byteCount) {
  const auto* first = reinterpret_cast<const Byte*>(elements.GetFirst());
  const auto* last = first + (elements.GetCount() - 1) * elements.GetStride();
  const std::less<> isBefore;
  return isBefore(std::min(first, last, isBefore), place + byteCount) &&
         isBefore(place, std::max(first, last, isBefore) + elementSize);
}

}  // namespace

BufferElements::BufferElements(const BufferSlot& slot) : type(slot.GetElementType()) {
  const Block<Generic> block = slot.GetFirstBlock();
  first = reinterpret_cast<Byte*>(block.GetFirst());
  count = block.GetStride() == type.GetSize() ? block.GetCount() : std::min(block.GetCount(), Int{1});
}

Result<void> WriteElements(const BufferElements& target, Int offset, const BufferSource& source) {
  const DataType type = source.elementType;
  const Int size = type.GetSize();
  const Int count = source.elements.GetCount();
  if (type != target.type && !(type.IsPlain() && target.type.IsPlain()))
    return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot be written into a buffer of \"@\".", type, target.type);
  Byte* place = target.first + offset * size;
  const Bool isMemoryMove = source.elements.GetStride() == size;
  if (type.IsPlain() && (isMemoryMove || !DoOverlap(source.elements, size, place, count * size)))
    return type.Copy(place, size, source.elements.GetFirst(), source.elements.GetStride(), count);
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copies, GenericBaseArray::CreateCopy(type, source.elements));
  if (type.IsPlain()) return type.Copy(place, copies.GetFirst(), count);
  type.Move(place, copies.GetFirst(), count);
  return OK;
}

Result<Data> ReadElements(const BufferSlot& slot, Int offset, Int count) {
  const BufferElements elements(slot);
  OSTRA_ASSIGN_OR_RETURN(DataType arrayType, DataType::MakeArray(elements.type));
  if (count == -1) return Data::CreateCopy(arrayType, &slot);
  if (count < 0 || !IsWithin(elements.count, offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Requested data range is out of bounds");
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> part, NewBaseArray(elements.type));
  OSTRA_RETURN_IF_ERROR(part.Resize(count));
  if (count > 0) OSTRA_RETURN_IF_ERROR(elements.type.Copy(BufferElements(part).first, elements.At(offset), count));
  return Data::CreateMoved(arrayType, &part);
}

Result<void> ResizeArray(BufferSlot& slot, Int count) {
  if (slot.GetReference()->IsUnique()) return slot.Resize(count, ResizeFlags::Exact);
  OSTRA_ASSIGN_OR_RETURN(StrongRef<ArrayInterface> copy, slot.GetReference()->Clone());
  OSTRA_RETURN_IF_ERROR(copy->Resize(count, ResizeFlags::Exact));
  slot = BufferSlot(std::move(copy));
  return OK;
}

}  // namespace ostra
