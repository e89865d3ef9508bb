#include "ostra/core/array.h"

#include <algorithm>

#include "ostra/core/format.h"

OSTRA_UNIT("array");

namespace ostra {

GenericBaseArray::~GenericBaseArray() {
  if (_first && _count > 0) _type.Destruct(_first, _count);
  FreeMem(_first);
}

void GenericBaseArray::Swap(GenericBaseArray& other) {
  std::swap(_type, other._type);
  std::swap(_first, other._first);
  std::swap(_count, other._count);
  std::swap(_capacity, other._capacity);
}

Result<GenericBaseArray> GenericBaseArray::Create(DataType type, Int count) {
  if (!type.IsPopulated()) return OSTRA_ILLEGAL_ARGUMENT("An array needs an element type.");
  GenericBaseArray array;
  array._type = type;
  OSTRA_RETURN_IF_ERROR(array.Resize(count));
  return array;
}

Result<void*> GenericBaseArray::Allocate(Int count, Bool isZeroed) const {
  if (count < 0) return OSTRA_ILLEGAL_ARGUMENT("An array cannot have @ elements.", count);
  const Int size = _type.GetSize();
  if (size > 0 && count > INT64_MAX / size) return OSTRA_OUT_OF_MEMORY();
  void* memory = isZeroed ? AllocZeroed(count * size) : AllocMem(count * size);
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  return memory;
}

Result<GenericBaseArray> GenericBaseArray::CreateCopy(DataType type, Block<const Generic> elements) {
  if (!type.IsPopulated()) return OSTRA_ILLEGAL_ARGUMENT("An array needs an element type.");
  GenericBaseArray array;
  array._type = type;
  OSTRA_ASSIGN_OR_RETURN(array._first, array.Allocate(elements.GetCount(), false));
  OSTRA_RETURN_IF_ERROR(
      type.ConstructCopy(array._first, elements.GetFirst(), elements.GetStride(), elements.GetCount()));
  array._count = elements.GetCount();
  array._capacity = array._count;
  return array;
}

Result<void> GenericBaseArray::CopyFrom(const GenericBaseArray& other) {
  if (!other._type.IsPopulated()) {
    *this = GenericBaseArray();
    return OK;
  }
  const Block<Generic> block = other.GetBlock();
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copy,
                         CreateCopy(other._type, {block.GetFirst(), block.GetCount(), block.GetStride()}));
  *this = std::move(copy);
  return OK;
}

// Every BaseArray has the layout of a BaseArray of bytes.
Block<Generic> GenericBaseArray::ViewBaseArray(DataType elementType, const void* baseArray) {
  const auto& array = *static_cast<const BaseArray<Byte>*>(baseArray);
  return Block<Generic>(reinterpret_cast<Generic*>(array._first), array._count, elementType.GetSize());
}

GenericBaseArray GenericBaseArray::AdoptBaseArray(DataType elementType, void* baseArray) {
  auto& source = *static_cast<BaseArray<Byte>*>(baseArray);
  GenericBaseArray array;
  array._type = elementType;
  array._first = std::exchange(source._first, nullptr);
  array._count = std::exchange(source._count, 0);
  array._capacity = std::exchange(source._capacity, 0);
  return array;
}

namespace {

// New elements in raw memory, which is zeroed for plain types: most of those have a default of zeros, and the first
// element shows whether they do. A pass over large memory by the type is then spared.
void ConstructDefaults(DataType type, Byte* first, Int count) {
  if (!type.IsPlain()) return type.Construct(first, count);
  const Int size = type.GetSize();
  type.Construct(first);
  const Bool isZero = std::all_of(first, first + size, [](Byte byte) { return byte == Byte{}; });
  if (!isZero && count > 1) type.Construct(first + size, count - 1);
}

}  // namespace

Result<void> GenericBaseArray::Resize(Int count) {
  if (!_type.IsPopulated()) return OSTRA_ILLEGAL_STATE("An array without an element type cannot be resized.");
  if (count == _count && _first) return OK;
  const Int kept = count < _count ? count : _count;
  if (count > kept && !_type.IsDefaultConstructible())
    return OSTRA_NOT_IMPLEMENTED("Values of type \"@\" have no default.", _type);
  OSTRA_ASSIGN_OR_RETURN(void* memory, Allocate(count, _type.IsPlain()));
  if (auto moved = _type.ConstructMoved(memory, _first, kept); !moved) {
    FreeMem(memory);
    return moved;
  }
  if (count > kept) ConstructDefaults(_type, static_cast<Byte*>(memory) + kept * _type.GetSize(), count - kept);
  if (_first) _type.Destruct(_first, _count);
  FreeMem(_first);
  _first = memory;
  _count = count;
  _capacity = count;
  return OK;
}

ArrayInterface::~ArrayInterface() = default;

namespace {

class BaseArrayObject final : public ArrayInterface {
 public:
  explicit BaseArrayObject(GenericBaseArray&& elements) : _elements(std::move(elements)) {}

  DataType GetElementType() const override { return _elements.GetElementType(); }
  Int GetCount() const override { return _elements.GetCount(); }

  Block<Generic> GetBlock(Int index) const override {
    const Block<Generic> block = _elements.GetBlock();
    auto* first = reinterpret_cast<Byte*>(block.GetFirst()) + index * block.GetStride();
    return Block<Generic>(reinterpret_cast<Generic*>(first), block.GetCount() - index, block.GetStride());
  }

  Result<void> Resize(Int count, ResizeFlags) override { return _elements.Resize(count); }

  Result<StrongRef<ArrayInterface>> Clone() const override {
    GenericBaseArray copy;
    OSTRA_RETURN_IF_ERROR(copy.CopyFrom(_elements));
    auto* object = NewObj<BaseArrayObject>(std::move(copy));
    if (!object) return OSTRA_OUT_OF_MEMORY();
    return StrongRef<ArrayInterface>::Adopt(object);
  }

 private:
  GenericBaseArray _elements;
};

}  // namespace

Result<Array<Generic>> NewBaseArray(GenericBaseArray&& elements) {
  ArrayInterface* object = NewObj<BaseArrayObject>(std::move(elements));
  if (!object) return OSTRA_OUT_OF_MEMORY();
  return Array<Generic>(StrongRef<ArrayInterface>::Adopt(object));
}

Result<Array<Generic>> NewBaseArray(DataType type) {
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray elements, GenericBaseArray::Create(type, 0));
  return NewBaseArray(std::move(elements));
}

Result<Array<Generic>> NewBaseArray(DataType type, Block<const Generic> elements) {
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copy, GenericBaseArray::CreateCopy(type, elements));
  return NewBaseArray(std::move(copy));
}

namespace {

// Not comparable: two references are told apart by the Data that holds them.
DataTypeDescription DescribeReference() { return DescribeType<Array<Generic>>(Id(), String()); }

DataTypeDescription DescribeArray() {
  DataTypeDescription description;
  return description;
}

}  // namespace

DataType FindOrRegisterArrayType(DataType inner) {
  const DataType array = FindOrRegisterParametric(DescribeArray(), kArrayParametricType, inner, 1);
  return FindOrRegisterParametric(DescribeReference(), kCowParametricType, array, 1);
}

Result<DataType> DataType::MakeArray(DataType inner) {
  OSTRA_ASSIGN_OR_RETURN(DataType array, MakeParametricType(DescribeArray(), kArrayParametricType, inner));
  return MakeParametricType(DescribeReference(), kCowParametricType, array);
}

namespace {

template <class... Types>
void RegisterArrayTypes() {
  (static_cast<void>(GetDataType<Array<Types>>()), ...);
  (static_cast<void>(GetDataType<Array<Types>*>()), ...);
}

[[maybe_unused]] const Bool g_registered = [] {
  RegisterArrayTypes<Generic, UInt8, Char, UInt16, Int16, UInt32, Int32, Int64, Float32, Float64>();
  GetDataType<GenericBaseArray>();
  return true;
}();

}  // namespace
}  // namespace ostra
