#include "clients/python/dlpack.h"

#include <cstdint>
#include <string>

#include "clients/python/arguments.h"

namespace ostra::python {

namespace py = pybind11;

namespace {

// The structs of DLPack's binary interface: that before version 1, and that of version 1.
struct Device {
  std::int32_t kind;
  std::int32_t number;
};

struct ElementType {
  std::uint8_t code;
  std::uint8_t bits;
  std::uint16_t lanes;
};

struct Tensor {
  void* data;
  Device device;
  std::int32_t axisCount;
  ElementType type;
  std::int64_t* shape;
  std::int64_t* strides;  // in elements; null: C order
  std::uint64_t byteOffset;
};

struct ManagedTensor {
  Tensor tensor;
  void* manager;
  void (*release)(ManagedTensor* self);
};

struct VersionedTensor {
  std::uint32_t major, minor;
  void* manager;
  void (*release)(VersionedTensor* self);
  std::uint64_t flags;
  Tensor tensor;
};

constexpr std::int32_t kCpu = 1;
constexpr std::uint64_t kReadOnly = 1;
constexpr std::uint32_t kMajor = 1;

template <class Managed>
void Release(void* managed) {
  auto* const own = static_cast<Managed*>(managed);
  if (own->release) own->release(own);
}

[[noreturn]] void ThrowBufferError(const std::string& text) {
  PyErr_SetString(PyExc_BufferError, text.c_str());
  throw py::error_already_set();
}

py::dtype MakeElementDtype(const ElementType& type) {
  constexpr const char* kKinds[] = {"i", "u", "f"};
  if (type.lanes == 1 && type.bits % 8 == 0) {
    if (type.code == 6 && type.bits == 8) return py::dtype("bool");
    if (type.code < 3) return py::dtype(kKinds[type.code] + std::to_string(type.bits / 8));
  }
  throw py::type_error("a buffer has numbers that numpy has, not the type " + std::to_string(type.code) + " of " +
                       std::to_string(type.bits) + " bits and " + std::to_string(type.lanes) + " lanes of DLPack");
}

py::array MakeArray(const Tensor& tensor, bool isReadOnly, const py::capsule& memory) {
  if (tensor.device.kind != kCpu) ThrowBufferError("the array lies on another device than the CPU: copy it there");
  const py::dtype dtype = MakeElementDtype(tensor.type);
  const std::vector<py::ssize_t> shape(tensor.shape, tensor.shape + tensor.axisCount);
  std::vector<py::ssize_t> strides;
  if (tensor.strides)
    for (std::int32_t axis = 0; axis < tensor.axisCount; ++axis)
      strides.push_back(tensor.strides[axis] * dtype.itemsize());
  py::array array(dtype, shape, strides, static_cast<const char*>(tensor.data) + tensor.byteOffset, memory);
  if (isReadOnly) array.attr("setflags")(py::arg("write") = false);
  return array;
}

// Takes over what the capsule has: it is called `used` from now on, and the memory is released with the result.
template <class Managed>
Managed* TakeOver(const py::object& capsule, const char* name, const char* used) {
  auto* const managed = static_cast<Managed*>(PyCapsule_GetPointer(capsule.ptr(), name));
  if (!managed || PyCapsule_SetName(capsule.ptr(), used) != 0) throw py::error_already_set();
  return managed;
}

// Packages of before version 1 do not know the argument.
py::object AskForCapsule(const py::object& owner) {
  const py::object method = owner.attr("__dlpack__");
  try {
    return method(py::arg("max_version") = py::make_tuple(kMajor, 0));
  } catch (py::error_already_set& error) {
    if (!error.matches(PyExc_TypeError)) throw;
  }
  return method();
}

}  // namespace

py::array ReadDlpack(const py::object& owner) {
  if (!py::hasattr(owner, "__dlpack__") || !py::hasattr(owner, "__dlpack_device__"))
    throw py::type_error("\"array\" is an array with DLPack's methods, not " + ShowValue(owner));
  const py::object device = owner.attr("__dlpack_device__")();
  if (!py::object(device[py::int_(0)]).equal(py::int_(kCpu)))
    ThrowBufferError("the array lies on the device " + ShowValue(device) + " of DLPack, not on the CPU: copy it there");
  const py::object capsule = AskForCapsule(owner);
  if (PyCapsule_IsValid(capsule.ptr(), "dltensor_versioned")) {
    auto* const managed = TakeOver<VersionedTensor>(capsule, "dltensor_versioned", "used_dltensor_versioned");
    const py::capsule memory(managed, Release<VersionedTensor>);
    if (managed->major != kMajor)
      ThrowBufferError("the array has the version " + std::to_string(managed->major) + " of DLPack, not 1");
    return MakeArray(managed->tensor, (managed->flags & kReadOnly) != 0, memory);
  }
  if (!PyCapsule_IsValid(capsule.ptr(), "dltensor"))
    throw py::type_error("__dlpack__ of \"array\" gives " + ShowValue(capsule) + ", which is no array of DLPack");
  auto* const managed = TakeOver<ManagedTensor>(capsule, "dltensor", "used_dltensor");
  return MakeArray(managed->tensor, false, py::capsule(managed, Release<ManagedTensor>));
}

}  // namespace ostra::python
