#include "ostra/core/data.h"

#include <atomic>
#include <cstring>
#include <utility>

#include "ostra/core/format.h"

OSTRA_UNIT("data");

namespace ostra {

// A value, unchanging while it is shared, that does not fit into a Data. The value follows at the next multiple of 32
// bytes.
struct alignas(32) Data::Box {
  std::atomic<Int32> references{1};
  DataType type;
  void* GetValue() { return this + 1; }
};

Bool Data::IsInline() const { return _type.IsPlain() && _type.GetSize() <= 8; }

Data::Data(const Data& other) noexcept : _type(other._type), _box(other._box) {
  if (IsPopulated() && !IsInline()) _box->references.fetch_add(1, std::memory_order_relaxed);
}

Data::Data(Data&& other) noexcept
    : _type(std::exchange(other._type, DataType())), _box(std::exchange(other._box, nullptr)) {}

Data& Data::operator=(Data other) noexcept {
  std::swap(_type, other._type);
  std::swap(_box, other._box);
  return *this;
}

Data::~Data() {
  if (IsEmpty() || IsInline() || _box->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  _type.Destruct(_box->GetValue());
  DeleteObj(_box);
}

// `make` constructs the value in raw memory.
template <class Make>
Result<Data> Data::CreateBoxed(DataType type, const Make& make) {
  void* memory = AllocMem(static_cast<Int>(sizeof(Box)) + type.GetSize());
  if (!memory) return OSTRA_OUT_OF_MEMORY();
  Box* box = ::new (memory) Box{.type = type};
  if (auto made = make(box->GetValue()); !made) {
    DeleteObj(box);
    return made.TakeError();
  }
  Data data;
  data._type = type;
  data._box = box;
  return data;
}

Result<Data> Data::CreateCopy(DataType type, const void* value) {
  if (!type.IsPopulated()) return OSTRA_ILLEGAL_ARGUMENT("A value needs a type.");
  if (!type.IsPlain() || type.GetSize() > 8)
    return CreateBoxed(type, [&](void* target) { return type.ConstructCopy(target, value); });
  Data data;
  data._type = type;
  MemCopy(data._inline, value, type.GetSize());
  return data;
}

Result<Data> Data::CreateMoved(DataType type, void* value) {
  if (!type.IsPopulated() || type.IsPlain()) return CreateCopy(type, value);
  return CreateBoxed(type, [&](void* target) { return type.ConstructMoved(target, value); });
}

const void* Data::GetPointer() const {
  if (IsEmpty()) return nullptr;
  return IsInline() ? static_cast<const void*>(_inline) : _box->GetValue();
}

Bool Data::TryOverwrite(DataType type, const void* value) {
  if (IsEmpty() || _type != type || !_type.IsPlain()) return false;
  if (!IsInline() && _box->references.load(std::memory_order_acquire) != 1) return false;
  // The value may be the own one.
  std::memmove(const_cast<void*>(GetPointer()), value, static_cast<std::size_t>(_type.GetSize()));
  return true;
}

Bool Data::HoldsCompatible(DataType type) const {
  if (_type == type) return true;
  return type == GetDataType<Array<Generic>>() && _type.IsMadeWith(kCowParametricType) &&
         _type.GetInnerType().IsMadeWith(kArrayParametricType);
}

Bool Data::ReadInteger(Int64& value) const {
  auto read = [this, &value]<class T>(const T*) {
    const T* integer = GetIf<T>();
    if (!integer || !std::in_range<Int64>(*integer)) return false;
    value = static_cast<Int64>(*integer);
    return true;
  };
  auto readAny = [&read]<class... Types>(const Types*... types) { return (read(types) || ...); };
  return readAny(static_cast<const Int8*>(nullptr), static_cast<const UInt8*>(nullptr),
                 static_cast<const Int16*>(nullptr), static_cast<const UInt16*>(nullptr),
                 static_cast<const Int32*>(nullptr), static_cast<const UInt32*>(nullptr),
                 static_cast<const Int64*>(nullptr), static_cast<const UInt64*>(nullptr));
}

Error Data::MakeTypeError(DataType wanted) const {
  return OSTRA_ILLEGAL_ARGUMENT("A value of type \"@\" was expected, but \"@\" was found.", wanted, _type);
}

Result<String> Data::ToText() const { return IsEmpty() ? Result<String>(String()) : _type.ToText(GetPointer()); }

ForwardingDataPtr& ForwardingDataPtr::operator=(ForwardingDataPtr&& other) noexcept {
  _type = std::exchange(other._type, DataType());
  _value = std::exchange(other._value, nullptr);
  _data = std::exchange(other._data, nullptr);
  _isMovable = std::exchange(other._isMovable, false);
  return *this;
}

void* ForwardingDataPtr::Release() {
  void* value = _value;
  *this = ForwardingDataPtr();
  return value;
}

Result<Data> ForwardingDataPtr::Take() {
  if (IsEmpty()) return Data();
  auto data = _data        ? Result<Data>(*_data)
              : _isMovable ? Data::CreateMoved(_type, _value)
                           : Data::CreateCopy(_type, _value);
  if (data) Release();
  return data;
}

namespace {

// Described by the host, so that it outlives all modules.
[[maybe_unused]] const Bool g_registered = GetDataType<Data>().IsPopulated();

}  // namespace
}  // namespace ostra
