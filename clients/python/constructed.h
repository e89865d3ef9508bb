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

// `value`: an instance of the class of T, or of a class that is derived from it and from others too. Throws TypeError
// if the constructor of T has not run for it, as after Class.__new__ alone.
template <class T>
void CheckConstructed(const pybind11::handle& value) {
  const auto* const type = pybind11::detail::get_type_info(typeid(T), true);
  auto* const instance = reinterpret_cast<pybind11::detail::instance*>(value.ptr());
  if (instance->get_value_and_holder(type).holder_constructed()) return;
  const pybind11::handle registered(reinterpret_cast<PyObject*>(type->type));
  const auto name = pybind11::str(registered.attr("__name__")).cast<std::string>();
  throw pybind11::type_error("the constructor of this ostra." + name + " has not run: ostra." + name +
                             ".__new__ alone makes no object that can be used");
}

}  // namespace ostra::python

namespace pybind11::detail {

// Methods, properties, arguments and casts to references lead through here. Casts to a shared_ptr have a caster of
// their own: call CheckConstructed before them.
template <class T>
class type_caster<T, std::enable_if_t<ostra::python::kIsOfPackage<T>>> : public type_caster_base<T> {
 public:
  bool load(handle source, bool mayConvert) {
    if (pybind11::isinstance<T>(source)) ostra::python::CheckConstructed<T>(source);
    return type_caster_base<T>::load(source, mayConvert);
  }
};

}  // namespace pybind11::detail
