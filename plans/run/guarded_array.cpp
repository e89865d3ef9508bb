#include "plans/run/guarded_array.h"

#include <sys/mman.h>
#include <unistd.h>

#include "ostra/core/format.h"
#include "ostra/core/large_pages.h"
#include "ostra/core/memory_limit.h"

OSTRA_UNIT("guarded_array");

namespace ostra::plans {

namespace {

// Address space only. Kernels that are told a wrong width or count mostly end up within it.
constexpr Int kGuardSize = Int(256) << 20;
constexpr Int kAlignment = 64;

Int RoundUp(Int size, Int unit) { return (size + unit - 1) / unit * unit; }

// Bytes that no likely element repeats.
Byte GetMarginByte(Int i) { return static_cast<Byte>(0xA5 ^ (i * 167)); }

}  // namespace

template <class Visit>
void GuardedArray::VisitMargins(Visit&& visit) const {
  const auto visitAll = [&](Byte* begin, const Byte* end) {
    for (Byte* at = begin; at < end; ++at) visit(*at, GetMarginByte(at - _memory));
  };
  visitAll(_memory + kGuardSize, _first);
  visitAll(_first + _count * _type.GetSize(), _memory + _memorySize - kGuardSize);
}

Result<StrongRef<ArrayInterface>> GuardedArray::Create(const GenericBaseArray& elements, Bool areZero) {
  const DataType type = elements.GetElementType();
  const Int size = elements.GetCount() * type.GetSize();
  const Int usedSize = RoundUp(size, sysconf(_SC_PAGESIZE)), memorySize = usedSize + 2 * kGuardSize;
  if (!ReserveMemory(usedSize)) return OSTRA_OUT_OF_MEMORY();
  void* memory = mmap(nullptr, static_cast<std::size_t>(memorySize), PROT_NONE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (memory == MAP_FAILED) {
    ReturnMemory(usedSize);
    return OSTRA_OUT_OF_MEMORY();
  }
  Byte* used = static_cast<Byte*>(memory) + kGuardSize;
  GuardedArray* array = nullptr;
  if (mprotect(used, static_cast<std::size_t>(usedSize), PROT_READ | PROT_WRITE) == 0)
    array = NewObj<GuardedArray>(type, elements.GetCount(), static_cast<Byte*>(memory), memorySize);
  if (!array) {
    munmap(memory, static_cast<std::size_t>(memorySize));
    ReturnMemory(usedSize);
    return OSTRA_OUT_OF_MEMORY();
  }
  AdviseLargePages(used, usedSize);
  if (size > 0 && !areZero) MemCopy(array->_first, elements.GetBlock().GetFirst(), size);
  array->VisitMargins([](Byte& byte, Byte expected) { byte = expected; });
  return StrongRef<ArrayInterface>::Adopt(array);
}

GuardedArray::GuardedArray(DataType type, Int count, Byte* memory, Int memorySize)
    : _type(type), _count(count), _memory(memory), _memorySize(memorySize) {
  _first = memory + memorySize - kGuardSize - RoundUp(count * type.GetSize(), kAlignment);
}

GuardedArray::~GuardedArray() {
  munmap(_memory, static_cast<std::size_t>(_memorySize));
  ReturnMemory(_memorySize - 2 * kGuardSize);
}

Block<Generic> GuardedArray::GetBlock(Int index) const {
  return {reinterpret_cast<Generic*>(_first + index * _type.GetSize()), _count - index, _type.GetSize()};
}

Result<void> GuardedArray::Resize(Int, ResizeFlags) {
  return OSTRA_NOT_IMPLEMENTED("A guarded array keeps its @ elements.", _count);
}

Result<StrongRef<ArrayInterface>> GuardedArray::Clone() const {
  const Block<Generic> block = GetBlock(0);
  OSTRA_ASSIGN_OR_RETURN(const Array<Generic> copy,
                         NewBaseArray(_type, {block.GetFirst(), block.GetCount(), block.GetStride()}));
  return copy.GetReference();
}

Bool GuardedArray::AreMarginsWhole() const {
  Bool isWhole = true;
  VisitMargins([&](const Byte& byte, Byte expected) { isWhole = isWhole && byte == expected; });
  return isWhole;
}

}  // namespace ostra::plans
