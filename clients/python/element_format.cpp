#include "clients/python/element_format.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "ostra/math/data_types.h"

namespace ostra::python {

namespace py = pybind11;

namespace {

[[noreturn]] void RefuseNumber(const std::string& parameter, const char* type, const py::handle& value) {
  throw py::type_error("\"" + parameter + "\" is a " + type + ", not " + std::string(py::repr(value)));
}

[[noreturn]] void RefuseRange(const std::string& parameter, const char* type, const py::handle& value) {
  PyErr_SetString(
      PyExc_OverflowError,
      ("\"" + parameter + "\" is a " + type + ", and " + std::string(py::repr(value)) + " does not fit").c_str());
  throw py::error_already_set();
}

template <class T>
T ReadInteger(const std::string& parameter, const char* type, const py::handle& value) {
  if (!PyIndex_Check(value.ptr()) || PyBool_Check(value.ptr())) RefuseNumber(parameter, type, value);
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!number) throw py::error_already_set();
  if constexpr (std::is_same_v<T, UInt64>) {
    const UInt64 wide = PyLong_AsUnsignedLongLong(number.ptr());
    if (!PyErr_Occurred()) return wide;
  } else {
    const Int64 wide = PyLong_AsLongLong(number.ptr());
    if (!PyErr_Occurred() && std::in_range<T>(wide)) return static_cast<T>(wide);
  }
  PyErr_Clear();
  RefuseRange(parameter, type, value);
}

double ReadFloat(const std::string& parameter, const char* type, const py::handle& value) {
  const double number = PyBool_Check(value.ptr()) ? -1 : PyFloat_AsDouble(value.ptr());
  if (PyBool_Check(value.ptr()) || PyErr_Occurred()) {
    PyErr_Clear();
    RefuseNumber(parameter, type, value);
  }
  return number;
}

template <class T>
void Write(const std::string& parameter, const char* type, const py::handle& value, char* target) {
  T number;
  if constexpr (std::is_same_v<T, Bool>) {
    if (!PyBool_Check(value.ptr())) RefuseNumber(parameter, type, value);
    number = value.ptr() == Py_True;
  } else if constexpr (std::is_integral_v<T>) {
    number = ReadInteger<T>(parameter, type, value);
  } else {
    const double wide = ReadFloat(parameter, type, value);
    if constexpr (std::is_same_v<T, Float64>) {
      number = wide;
    } else {
      const auto narrow = static_cast<Float32>(wide);
      number = T(narrow);
      if (std::isfinite(wide) && !std::isfinite(static_cast<Float32>(number))) RefuseRange(parameter, type, value);
    }
  }
  std::memcpy(target, &number, sizeof(number));
}

struct Scalar {
  DataType type;
  const char* dtype;
  void (*write)(const std::string& parameter, const char* type, const py::handle& value, char* target);
};

const Scalar* FindScalar(DataType type) {
  static const Scalar scalars[] = {
      {GetDataType<Float32>(), "float32", Write<Float32>}, {GetDataType<UInt32>(), "uint32", Write<UInt32>},
      {GetDataType<Int32>(), "int32", Write<Int32>},       {GetDataType<HalfFloat>(), "float16", Write<HalfFloat>},
      {GetDataType<UInt8>(), "uint8", Write<UInt8>},       {GetDataType<Int8>(), "int8", Write<Int8>},
      {GetDataType<UInt16>(), "uint16", Write<UInt16>},    {GetDataType<Int16>(), "int16", Write<Int16>},
      {GetDataType<Float64>(), "float64", Write<Float64>}, {GetDataType<Int64>(), "int64", Write<Int64>},
      {GetDataType<UInt64>(), "uint64", Write<UInt64>},    {GetDataType<Bool>(), "bool", Write<Bool>},
  };
  for (const Scalar& scalar : scalars)
    if (scalar.type == type) return &scalar;
  return nullptr;
}

const Scalar* FindComponent(DataType type) {
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType) ||
         type.IsMadeWith(kMatrixParametricType))
    type = type.GetInnerType();
  return type.IsPopulated() ? FindScalar(type) : nullptr;
}

}  // namespace

std::optional<ElementFormat> FindElementFormat(DataType type) {
  const Scalar* scalar = FindComponent(type);
  if (!scalar) return std::nullopt;
  return ElementFormat{scalar->dtype, type.GetSize() / scalar->type.GetSize()};
}

std::string DescribeElement(DataType type) {
  const auto format = FindElementFormat(type);
  if (!format) return std::string(type.GetView());
  const std::string count = "[" + std::to_string(format->componentCount) + "]";
  return format->dtype + (format->componentCount == 1 ? std::string() : count);
}

std::vector<char> MakeValue(const std::string& parameter, DataType type, const py::handle& value) {
  const Scalar* scalar = FindComponent(type);
  if (!scalar)
    throw py::type_error("\"" + parameter + "\" is a " + DescribeElement(type) + ", which Python cannot give");
  std::vector<char> bytes(static_cast<std::size_t>(type.GetSize()));
  const auto size = static_cast<std::size_t>(scalar->type.GetSize());
  const std::size_t count = bytes.size() / size;
  if (count == 1) {
    scalar->write(parameter, scalar->dtype, value, bytes.data());
    return bytes;
  }
  const py::object numbers = py::module_::import("numpy").attr("asarray")(value, "object").attr("ravel")();
  if (py::len(numbers) != count)
    throw py::type_error("\"" + parameter + "\" has " + std::to_string(count) + " numbers, not " +
                         std::to_string(py::len(numbers)));
  for (std::size_t i = 0; i < count; ++i)
    scalar->write(parameter, scalar->dtype, py::object(numbers[py::int_(i)]), bytes.data() + i * size);
  return bytes;
}

}  // namespace ostra::python
