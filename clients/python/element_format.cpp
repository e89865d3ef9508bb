#include "clients/python/element_format.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "clients/python/arguments.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"

namespace ostra::python {

namespace py = pybind11;

namespace {

// Of the name of a type.
std::string GetArticle(const char* type) { return type[0] == 'i' ? "an " : "a "; }

[[noreturn]] void RefuseNumber(const std::string& parameter, const char* type, const py::handle& value) {
  RefuseArgument(parameter, GetArticle(type) + type, value);
}

[[noreturn]] void RefuseRange(const std::string& parameter, const char* type, const py::handle& value) {
  PyErr_SetString(
      PyExc_OverflowError,
      (Quote(parameter) + " is " + GetArticle(type) + type + ", and " + ShowValue(value) + " does not fit").c_str());
  throw py::error_already_set();
}

// Of a conversion that Python has refused. What is no error in the value itself goes on: an interrupt.
[[noreturn]] void RefuseConversion(const std::string& parameter, const char* type, const py::handle& value) {
  const bool isRange = PyErr_ExceptionMatches(PyExc_OverflowError) != 0;
  if (!PyErr_ExceptionMatches(PyExc_Exception)) throw py::error_already_set();
  PyErr_Clear();
  if (isRange) RefuseRange(parameter, type, value);
  RefuseNumber(parameter, type, value);
}

template <class T>
T ReadInteger(const std::string& parameter, const char* type, const py::handle& value) {
  if (!PyIndex_Check(value.ptr()) || PyBool_Check(value.ptr())) RefuseNumber(parameter, type, value);
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!number) RefuseConversion(parameter, type, value);  // an array of several numbers
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
  if (PyBool_Check(value.ptr())) RefuseNumber(parameter, type, value);
  const double number = PyFloat_AsDouble(value.ptr());
  if (PyErr_Occurred()) RefuseConversion(parameter, type, value);
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

// The axes of a member behind its elements: of the array that it may be, then columns and components.
py::dtype MakeMemberDtype(const StructMember& member) {
  py::list axes;
  if (member.count > 0) axes.append(member.count);
  DataType type = member.type;
  if (GetStructMembers(type).IsEmpty()) {
    const Scalar* scalar = FindComponent(type);
    if (!scalar)
      throw py::type_error("the member \"" + std::string(member.name.GetView()) + "\" is not made of numbers");
    while (type != scalar->type) {
      axes.append(type.GetElementCount());
      type = type.GetInnerType();
    }
  }
  const py::dtype element = MakeDtype(type);
  if (py::len(axes) == 0) return element;
  return py::dtype::from_args(py::make_tuple(element, py::tuple(axes)));
}

std::string ExplainMembers(DataType type, const py::dtype& dtype, const std::string& path) {
  const std::string structName = "the struct " + std::string(type.GetView());
  const py::object fields = dtype.attr("fields");
  if (fields.is_none()) return structName + " takes a structured array, not one of " + TextOf(dtype);
  const Block<const StructMember> members = GetStructMembers(type);
  for (Int i = 0; i < members.GetCount(); ++i) {
    const std::string name(members[i].name.GetView());
    const std::string quoted = "\"" + path + name + "\"";
    if (!py::bool_(fields.attr("__contains__")(name))) return "the array has no member " + quoted + " of " + structName;
    const py::tuple field = fields[py::str(name)];
    const py::dtype given = field[0];
    const py::dtype wanted = MakeMemberDtype(members[i]);
    if (!given.equal(wanted)) {
      const bool isStruct = members[i].count == 0 && !GetStructMembers(members[i].type).IsEmpty();
      if (isStruct && !given.attr("fields").is_none()) return ExplainMembers(members[i].type, given, path + name + ".");
      return "the member " + quoted + " of " + structName + " is " + TextOf(wanted) + ", not " + TextOf(given);
    }
    if (const Int offset = py::cast<Int>(field[1]); offset != members[i].offset)
      return "the member " + quoted + " of " + structName + " begins at byte " + std::to_string(members[i].offset) +
             ", not " + std::to_string(offset);
  }
  for (const auto& field : py::list(fields)) {
    const auto isMember = [&](const StructMember& member) {
      return member.name.GetView() == py::cast<std::string>(field);
    };
    if (std::none_of(members.GetFirst(), members.GetFirst() + members.GetCount(), isMember))
      return "the array's member \"" + path + py::cast<std::string>(field) + "\" is not a member of " + structName;
  }
  if (dtype.itemsize() != type.GetSize())
    return structName + " has " + std::to_string(type.GetSize()) + " bytes, not " + std::to_string(dtype.itemsize());
  return std::string();
}

}  // namespace

std::optional<ElementFormat> FindElementFormat(DataType type) {
  if (!GetStructMembers(type).IsEmpty()) return ElementFormat{std::string(type.GetView()), 1, true};
  const Scalar* scalar = FindComponent(type);
  if (!scalar) return std::nullopt;
  return ElementFormat{scalar->dtype, type.GetSize() / scalar->type.GetSize()};
}

std::string DescribeElement(DataType type) {
  const auto format = FindElementFormat(type);
  if (!format) return std::string(type.GetView());
  if (format->isStruct) return "struct " + format->dtype;
  const std::string count = "[" + std::to_string(format->componentCount) + "]";
  return format->dtype + (format->componentCount == 1 ? std::string() : count);
}

py::dtype MakeDtype(DataType type) {
  const Block<const StructMember> members = GetStructMembers(type);
  if (members.IsEmpty()) return py::dtype(FindComponent(type)->dtype);
  py::list names, formats, offsets;
  for (Int i = 0; i < members.GetCount(); ++i) {
    names.append(std::string(members[i].name.GetView()));
    formats.append(MakeMemberDtype(members[i]));
    offsets.append(members[i].offset);
  }
  py::dict fields;
  fields["names"] = names;
  fields["formats"] = formats;
  fields["offsets"] = offsets;
  fields["itemsize"] = type.GetSize();
  return py::dtype::from_args(fields);
}

std::string ExplainStructDifference(DataType type, const py::dtype& dtype) {
  return ExplainMembers(type, dtype, std::string());
}

std::vector<char> MakeValue(const std::string& parameter, DataType type, const py::handle& value) {
  const Scalar* scalar = FindComponent(type);
  if (!scalar) throw py::type_error(Quote(parameter) + " is a " + DescribeElement(type) + ", which Python cannot give");
  std::vector<char> bytes(static_cast<std::size_t>(type.GetSize()));
  const auto size = static_cast<std::size_t>(scalar->type.GetSize());
  const std::size_t count = bytes.size() / size;
  if (count == 1) {
    scalar->write(parameter, scalar->dtype, value, bytes.data());
    return bytes;
  }
  const py::object numbers = py::module_::import("numpy").attr("asarray")(value, "object").attr("ravel")();
  if (py::len(numbers) != count)
    throw py::type_error(Quote(parameter) + " has " + std::to_string(count) + " numbers, not " +
                         std::to_string(py::len(numbers)) + ": " + ShowValue(value));
  for (std::size_t i = 0; i < count; ++i)
    scalar->write(parameter, scalar->dtype, py::object(numbers[py::int_(i)]), bytes.data() + i * size);
  return bytes;
}

}  // namespace ostra::python
