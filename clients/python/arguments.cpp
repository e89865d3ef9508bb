#include "clients/python/arguments.h"

#include <algorithm>
#include <cstring>

#include "clients/python/element_format.h"
#include "ostra/core/nearest_word.h"
#include "ostra/math/data_types.h"

namespace ostra::python {

namespace py = pybind11;

namespace {

constexpr py::ssize_t kShown = 80;

std::string List(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string ExplainUnknown(const std::string& call, const std::vector<std::string>& names, const py::handle& given) {
  const std::string name = TextOf(given.attr("encode")("utf-8", "replace").attr("decode")("utf-8"));
  NearestWord nearest(name, 3);
  for (const std::string& known : names) nearest.Try(known);
  return call + " has no parameter " + ShowValue(given) +
         (nearest.Get().empty() ? std::string() : "; did you mean " + Quote(std::string(nearest.Get())) + "?");
}

template <class T>
std::vector<T> TakeNumbers(const std::string& name, const py::object& value) {
  std::vector<T> numbers;
  for (const py::handle& element : FindElements(value).value_or(py::make_tuple(value))) {
    const std::vector<char> bytes = MakeValue(name, GetDataType<T>(), element);
    std::memcpy(&numbers.emplace_back(), bytes.data(), sizeof(T));
  }
  return numbers;
}

py::str JoinLines(const py::str& text) {
  py::list lines;
  for (const py::handle& line : text.attr("splitlines")()) lines.append(line.attr("strip")());
  return py::str(" ").attr("join")(lines);
}

}  // namespace

std::string Quote(const std::string& name) { return "\"" + name + "\""; }

std::string NameType(const py::handle& value) { return TextOf(py::type::handle_of(value).attr("__name__")); }

std::string ShowValue(const py::handle& value) {
  try {
    const py::str text = JoinLines(py::repr(value));
    const bool isShort = py::len(text) <= kShown;
    const py::object shown = isShort ? py::object(text) : text[py::slice(0, kShown, 1)];
    return TextOf(shown.attr("encode")("utf-8", "backslashreplace").attr("decode")("utf-8")) + (isShort ? "" : "...");
  } catch (py::error_already_set& error) {
    // Python shows no integers of more than 4300 digits.
    if (!error.matches(PyExc_Exception)) throw;
    return "a value of the type " + NameType(value);
  }
}

void RefuseArgument(const std::string& name, const std::string& wanted, const py::handle& value) {
  throw py::type_error(Quote(name) + " is " + wanted + ", not " + ShowValue(value));
}

std::vector<py::object> TakeArguments(const std::string& function, const std::vector<std::string>& names,
                                      std::size_t requiredCount, const py::args& positional, const py::kwargs& named) {
  const std::string call = function + "(" + List(names) + ")";
  if (positional.size() > names.size())
    throw py::type_error(call + " takes " + std::to_string(names.size()) + " arguments, not " +
                         std::to_string(positional.size()));
  std::vector<py::object> given(names.size());
  for (std::size_t i = 0; i < positional.size(); ++i) given[i] = positional[i];
  for (const auto& [key, value] : named) {
    const auto isNamed = [&key = key](const std::string& name) { return key.equal(py::str(name)); };
    const auto found = std::find_if(names.begin(), names.end(), isNamed);
    if (found == names.end()) throw py::type_error(ExplainUnknown(call, names, key));
    py::object& place = given[static_cast<std::size_t>(found - names.begin())];
    if (place) throw py::type_error(call + " was given " + Quote(*found) + " twice");
    place = py::reinterpret_borrow<py::object>(value);
  }
  for (std::size_t i = 0; i < requiredCount; ++i)
    if (!given[i]) throw py::type_error(call + " needs " + Quote(names[i]));
  return given;
}

std::string TakeText(const std::string& name, const py::handle& value) {
  if (!PyUnicode_Check(value.ptr())) RefuseArgument(name, "a str", value);
  Py_ssize_t size = 0;
  const char* const text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (!text) {
    PyErr_Clear();
    throw py::value_error(Quote(name) + " has characters that UTF-8 does not have: " + ShowValue(value));
  }
  if (std::memchr(text, 0, static_cast<std::size_t>(size)))
    throw py::value_error(Quote(name) + " has a null character: " + ShowValue(value));
  return std::string(text, static_cast<std::size_t>(size));
}

void CheckUnmasked(const std::string& name, const py::handle& array) {
  if (Py_TYPE(array.ptr()) == py::detail::npy_api::get().PyArray_Type_) return;
  if (!py::isinstance(array, py::module_::import("numpy.ma").attr("MaskedArray"))) return;
  throw py::type_error(Quote(name) +
                       " has a mask, which kernels do not know; array.filled(value) replaces what is masked");
}

py::array TakeArray(const std::string& name, const py::handle& value) {
  if (py::isinstance<py::array>(value)) {
    CheckUnmasked(name, value);
    return py::reinterpret_borrow<py::array>(value);
  }
  throw py::type_error(Quote(name) + " is a numpy array, not " + NameType(value) +
                       "; numpy.asarray(value, dtype) makes one");
}

UInt32 TakeUInt32(const std::string& name, const py::handle& value) {
  const std::vector<char> bytes = MakeValue(name, GetDataType<UInt32>(), value);
  UInt32 number = 0;
  std::memcpy(&number, bytes.data(), sizeof(number));
  return number;
}

std::vector<float> TakeFloats(const std::string& name, const py::object& value) {
  return TakeNumbers<float>(name, value);
}

std::vector<double> TakeDoubles(const std::string& name, const py::object& value) {
  return TakeNumbers<double>(name, value);
}

std::optional<py::tuple> FindElements(const py::handle& value) {
  if (PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr()) || !PySequence_Check(value.ptr())) return std::nullopt;
  if (PySequence_Size(value.ptr()) < 0) {
    if (!PyErr_ExceptionMatches(PyExc_TypeError)) throw py::error_already_set();
    PyErr_Clear();  // an array without axes
    return std::nullopt;
  }
  return py::tuple(py::reinterpret_borrow<py::object>(value));
}

}  // namespace ostra::python
