// Buffer<T>: elements that kernels read and write, in the memory of the CPU or of a GPU.
//
//   ostra::Buffer<Float32> values = session.MakeBuffer(numbers);      // a std::span<const Float32>: copied
//   scale({.count = values.GetCount(), .factor = 2, .values = values});
//   for (const Float32 value : values.Read()) ...
//   std::swap(source, target);                                        // exchanges the buffers, moves no element
#pragma once

#include <algorithm>
#include <span>

#include "clients/cpp/resource.h"
#include "ostra/arrays/array_file.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"

namespace ostra {

namespace client {

template <class T>
Result<BaseArray<T>> CopyElements(std::span<const T> elements) {
  BaseArray<T> copy;
  OSTRA_RETURN_IF_ERROR(copy.Resize(static_cast<Int>(elements.size())));
  std::copy(elements.begin(), elements.end(), copy.begin());
  return copy;
}

// Elements in memory of the client.
class ClientArray final : public ArrayInterface {
 public:
  ClientArray(DataType type, void* first, Int count) : _type(type), _first(static_cast<Byte*>(first)), _count(count) {}

  DataType GetElementType() const override { return _type; }
  Int GetCount() const override { return _count; }
  Block<Generic> GetBlock(Int index) const override {
    return {reinterpret_cast<Generic*>(_first + index * _type.GetSize()), _count - index, _type.GetSize()};
  }
  Result<void> Resize(Int, ResizeFlags) override {
    return MakeError(kNotImplementedError, kUnit, __LINE__, "An array of the client keeps its @ elements.", _count);
  }
  Result<StrongRef<ArrayInterface>> Clone() const override {
    const Block<Generic> block = GetBlock(0);
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> copy,
                           NewBaseArray(_type, {block.GetFirst(), block.GetCount(), block.GetStride()}));
    return copy.GetReference();
  }

 private:
  const DataType _type;
  Byte* const _first;
  const Int _count;
};

}  // namespace client

// Owns the elements: they are freed with the last object that stands for them and the last kernel that was called with
// them. Movable. Used by the session's thread.
template <class T>
class Buffer : public client::Resource {
 public:
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  Buffer(Buffer&& other) noexcept
      : Resource(std::move(other._session), other._name),
        _count(other._count),
        _extent(other._extent),
        _shared(std::move(other._shared)),
        _read(std::move(other._read)) {}
  Buffer& operator=(Buffer&& other) noexcept {
    std::swap(_session, other._session);
    std::swap(_name, other._name);
    std::swap(_count, other._count);
    std::swap(_extent, other._extent);
    std::swap(_shared, other._shared);
    std::swap(_read, other._read);
    return *this;
  }
  ~Buffer() {
    _read = Data();
    // An unknown name is no error: nothing else can fail.
    if (_session) static_cast<void>(_session->GetProgram().DeleteUniformBuffer(_name));
    if (_session && _shared) _session->Retire(std::move(_shared));
  }

  // Elements, not bytes.
  Int GetCount() const { return _count; }
  // The sides of the picture or array that the buffer was loaded from; else the count alone.
  const ArrayExtent& GetExtent() const { return _extent; }

  // The elements, when all dispatches have ended. On the CPU they are where kernels write them, without a copy, and
  // change with the next dispatch; on a GPU they are a copy. Valid until the next call of Read and as long as this
  // object. Errors: those of the device; out of memory.
  Result<std::span<const T>> TryRead(CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<std::span<const T>> {
      OSTRA_ASSIGN_OR_RETURN(_read, _session->GetProgram().GetGlobalBufferData(_name));
      OSTRA_ASSIGN_OR_RETURN(const Array<Generic>& array, _read.template Get<Array<Generic>>());
      const Block<T> block = array.template GetFirstBlock<T>();
      return std::span<const T>(block.GetFirst(), static_cast<std::size_t>(block.GetCount()));
    });
  }
  std::span<const T> Read(CallSite where = CallSite::Here()) { return OrThrow(TryRead(where)); }

  // Overwrites elements from `offset` on. Errors: illegal argument when they do not fit; those of the device.
  Result<void> TryWrite(std::span<const T> elements, Int offset = 0, CallSite where = CallSite::Here()) {
    return client::CallAt(where, [&]() -> Result<void> {
      if (offset < 0 || offset > _count - static_cast<Int>(elements.size()))
        return MakeError(kIllegalArgumentError, client::kUnit, __LINE__,
                         "@ elements from @ on do not fit into a buffer of @.", static_cast<Int>(elements.size()),
                         offset, _count);
      if (elements.empty()) return OK;
      OSTRA_ASSIGN_OR_RETURN(BaseArray<T> copy, client::CopyElements(elements));
      return _session->GetProgram().UpdateUniformBufferData(_name, offset, std::move(copy));
    });
  }
  void Write(std::span<const T> elements, Int offset = 0, CallSite where = CallSite::Here()) {
    OrThrow(TryWrite(elements, offset, where));
  }

  // Writes all elements to a file, whole or not at all; ostra/arrays/array_file.h says what the suffixes mean. `extent`
  // gives pictures and arrays their sides. Errors: those of reading, and of WriteArrayFile.
  Result<void> TrySave(std::string_view file, const ArrayExtent& extent, CallSite where = CallSite::Here()) {
    OSTRA_ASSIGN_OR_RETURN(const std::span<const T> elements, TryRead(where));
    return client::CallAt(where, [&]() -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
      const Block<const Generic> block(reinterpret_cast<const Generic*>(elements.data()), _count, sizeof(T));
      return WriteArrayFile(url, GetDataType<T>(), block, extent);
    });
  }
  void Save(std::string_view file, const ArrayExtent& extent, CallSite where = CallSite::Here()) {
    OrThrow(TrySave(file, extent, where));
  }
  // With the sides of the file that the buffer was loaded from.
  Result<void> TrySave(std::string_view file, CallSite where = CallSite::Here()) {
    return TrySave(file, _extent, where);
  }
  void Save(std::string_view file, CallSite where = CallSite::Here()) { OrThrow(TrySave(file, _extent, where)); }

 private:
  friend class Session;
  Buffer(client::SessionRef session, InternedId name, Int count)
      : Resource(std::move(session), name), _count(count), _extent{count, 1, 1} {}

  Int _count;
  ArrayExtent _extent;
  std::unique_ptr<Array<Generic>> _shared;  // the client's memory, which the program only links
  Data _read;
};

}  // namespace ostra
