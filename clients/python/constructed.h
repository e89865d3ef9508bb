// Constructed: objects of the package's classes come to C++ only if their constructor has run.
#pragma once

#include <pybind11/pybind11.h>

#include <type_traits>

namespace ostra::python {

class PythonBuffer;
class PythonKernel;
class PythonTexture;
struct PythonCounter;

template <class T>
inline constexpr bool kIsOfPackage = std::is_same_v<T, PythonBuffer> || std::is_same_v<T, PythonKernel> ||
                                     std::is_same_v<T, PythonTexture> || std::is_same_v<T, PythonCounter>;

// `value`: of a class that pybind11 has made. Throws TypeError for one that Class.__new__ alone has made.
inline void CheckConstructed(const pybind11::handle& value) {
  auto* const instance = reinterpret_cast<pybind11::detail::instance*>(value.ptr());
  if (instance->get_value_and_holder().holder_constructed()) return;
  const auto name = pybind11::str(pybind11::type::handle_of(value).attr("__name__")).cast<std::string>();
  throw pybind11::type_error("the constructor of this ostra." + name + " has not run: ostra." + name +
                             ".__new__ alone makes no object that can be used");
}

}  // namespace ostra::python

namespace pybind11::detail {

// Every way from Python to C++ leads through here: methods, properties and arguments.
template <class T>
class type_caster<T, std::enable_if_t<ostra::python::kIsOfPackage<T>>> : public type_caster_base<T> {
 public:
  bool load(handle source, bool mayConvert) {
    if (pybind11::isinstance<T>(source)) ostra::python::CheckConstructed(source);
    return type_caster_base<T>::load(source, mayConvert);
  }
};

}  // namespace pybind11::detail
